#pragma once

#include "Tools/targeting/file_version.h"

#include <optional>
#include <string>
#include <string_view>

namespace kx {

/// The two names of a computer.
enum class ComputerName { NetBios, Dns };

/// What is found at a path. CannotTell: something forbids to look.
enum class FileState { Absent, File, Folder, CannotTell };

/// What the version resource of a file says.
struct FileVersionFact {
    enum class State { Known, None, CannotTell };

    State state = State::CannotTell;
    FileVersion version{}; ///< where it is known
};

/// What filters ask about the machine and the user. Texts come as the system has them; nullopt means that
/// the system did not say, unless a contract says otherwise. Everything may throw std::bad_alloc.
class TargetingFacts {
  public:
    TargetingFacts() = default;
    TargetingFacts(const TargetingFacts&) = delete;
    TargetingFacts& operator=(const TargetingFacts&) = delete;
    virtual ~TargetingFacts() = default;

    /// The user whom the call is about, as DOMAIN\name.
    [[nodiscard]] virtual std::optional<std::wstring> UserName() const = 0;

    /// The same user as S-1-...
    [[nodiscard]] virtual std::optional<std::wstring> UserSid() const = 0;

    /// A name of this computer.
    [[nodiscard]] virtual std::optional<std::wstring> NameOf(ComputerName kind) const = 0;

    /// The value of an environment variable; nullopt means that it is not set.
    [[nodiscard]] virtual std::optional<std::wstring> Variable(const std::wstring& name) const = 0;

    /// What stands at an absolute path.
    [[nodiscard]] virtual FileState StateOf(const std::wstring& path) const = 0;

    /// The version of a file that is there.
    [[nodiscard]] virtual FileVersionFact VersionOf(const std::wstring& path) const = 0;

    /// The text in the case in which the system compares names.
    [[nodiscard]] virtual std::wstring Folded(std::wstring_view text) const = 0;
};

} // namespace kx
