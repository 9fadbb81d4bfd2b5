#pragma once

#include <cstdint>

namespace kx {

/// What an evaluation of item-level targeting came to.
enum class TargetingVerdict {
    Allowed,    ///< it matches
    Excluded,   ///< it clearly does not
    LetThrough, ///< nobody can tell, so nothing is kept from the agent
};

/// What it means that the marker was removed with this Windows error (0: it was there). The filter that
/// evaluates the targeting writes the marker where it matches; it was removed before that as well.
[[nodiscard]] constexpr TargetingVerdict TargetingVerdictOf(std::uint32_t removalError) noexcept
{
    constexpr std::uint32_t markerWasThere = 0;
    constexpr std::uint32_t noSuchMarker = 2; // ERROR_FILE_NOT_FOUND
    if (removalError == markerWasThere)
        return TargetingVerdict::Allowed;
    return removalError == noSuchMarker ? TargetingVerdict::Excluded : TargetingVerdict::LetThrough;
}

} // namespace kx
