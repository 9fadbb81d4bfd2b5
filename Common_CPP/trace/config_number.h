// Numbers as the configuration writes them.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kx {

/// Reads the decimal number that `text` begins with: white space and a "+" may precede it, and what follows
/// its digits does not matter. Nothing when that yields 0 and the text does not start with "0", when it is
/// negative, or when it exceeds `max` (2^63 - 1 at most).
[[nodiscard]] std::optional<std::uint64_t> ReadConfigNumber(std::string_view text,
                                                            std::uint64_t max) noexcept;

} // namespace kx
