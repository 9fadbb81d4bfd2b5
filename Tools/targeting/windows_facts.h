#pragma once

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/util/unique_handle.h"
#include "Tools/targeting/targeting_facts.h"

#include <windows.h>

namespace kx {

/// A block of environment variables that the system made for a user.
struct EnvironmentTraits {
    using Value = void*;

    static Value Empty() noexcept { return nullptr; }

    static void Close(Value value) noexcept;
};

} // namespace kx

/// The machine as the system describes it, and the user of one token.
class CkxWindowsFacts final : public kx::TargetingFacts {
  public:
    /// `token` stays the caller's and may be null; it needs TOKEN_QUERY, and TOKEN_DUPLICATE for the user's
    /// variables. With `machineScope` variables are those of the process; else those of the user come first.
    CkxWindowsFacts(HANDLE token, bool machineScope);

    [[nodiscard]] std::optional<std::wstring> UserName() const override;
    [[nodiscard]] std::optional<std::wstring> UserSid() const override;
    [[nodiscard]] std::optional<std::wstring> NameOf(kx::ComputerName kind) const override;
    [[nodiscard]] std::optional<std::wstring> Variable(const std::wstring& name) const override;
    [[nodiscard]] kx::FileState StateOf(const std::wstring& path) const override;
    [[nodiscard]] kx::FileVersionFact VersionOf(const std::wstring& path) const override;
    [[nodiscard]] std::wstring Folded(std::wstring_view text) const override;

  private:
    [[nodiscard]] std::optional<std::wstring> _UserVariable(const std::wstring& name) const;

    CSid _m_user;
    CkxUniqueHandle<kx::EnvironmentTraits> _m_variables; ///< empty in machine scope, or where there are none
};
