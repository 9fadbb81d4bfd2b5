#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace kx {

/// A file's version, most significant part first; versions compare as they should.
using FileVersion = std::array<std::uint16_t, 4>;

/// Reads "10.0.19041.1": four decimal numbers of 0 to 65535. nullopt for anything else.
[[nodiscard]] std::optional<FileVersion> ParseFileVersion(std::wstring_view text);

/// A range of versions, each end inclusive or not.
struct VersionRange {
    FileVersion lowest{};
    FileVersion highest{};
    bool withLowest = true;
    bool withHighest = true;

    /// Whether `version` lies in the range.
    [[nodiscard]] bool Holds(const FileVersion& version) const
    {
        return (withLowest ? version >= lowest : version > lowest) &&
               (withHighest ? version <= highest : version < highest);
    }
};

} // namespace kx
