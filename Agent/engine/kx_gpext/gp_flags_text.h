#pragma once

#include <cstdint>
#include <string>

namespace kx {

/// The engine's processing flags as text for the trace: the names of the known bits, the others together
/// as a hexadecimal number, with ", " between; "0" when none is set.
[[nodiscard]] std::wstring GpFlagsText(std::uint32_t flags);

} // namespace kx
