#pragma once

#include "Tools/targeting/filters.h"

#include <optional>
#include <string_view>

// Attributes that several filters share.
namespace kx {

/// userContext: "1" asks about the user, "0" about the computer.
[[nodiscard]] std::optional<Principal> PrincipalOf(const FilterElement& filter);

/// min, max, gte, lte: a range of versions, and whether its ends belong to it.
[[nodiscard]] std::optional<VersionRange> VersionRangeOf(const FilterElement& filter);

/// A switch that may be absent, which is "0". nullopt where it is neither 0 nor 1.
[[nodiscard]] std::optional<bool> OptionalSwitch(const FilterElement& filter, std::wstring_view attribute);

/// The answer where there is a fact, and that the fact is not known where there is none.
[[nodiscard]] inline FilterAnswer MatchesKnown(const std::optional<bool>& matches, std::wstring_view what)
{
    return matches ? Matches(*matches) : CannotTell(std::wstring(what) + L" is not known");
}

} // namespace kx
