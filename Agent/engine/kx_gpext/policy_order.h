#pragma once

#include <cstdint>

namespace kx {

/// The order of a policy whose own is missing or is no plain number.
inline constexpr std::int32_t kDefaultOrder = 500000000;

/// The band that each GPO of the changed list gets, counted from the list's end.
inline constexpr std::uint32_t kGpoStep = 100000;

/// Lifts all machine policies above all user policies.
inline constexpr std::uint32_t kMachineOffset = 1000000000;

/// One policy's place in the sequence of all GPOs and both scopes: its own order, shifted into the band of
/// its GPO and scope. `precedence` is the GPO's 1-based place among `gpoCount`; the last one's band is 0.
/// Sums wrap in 32 bits, as the agent's comparison expects.
[[nodiscard]] constexpr std::int32_t GlobalOrder(std::int32_t order, std::uint32_t gpoCount,
                                                 std::uint32_t precedence, bool machineScope) noexcept
{
    const std::uint32_t band = (gpoCount - precedence) * kGpoStep + (machineScope ? kMachineOffset : 0U);
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(order) + band);
}

} // namespace kx
