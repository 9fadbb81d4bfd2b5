#pragma once

#include <string_view>

namespace kx {

/// The expression that a backslash and `letter` stand for; empty when the letter is no shorthand. It is
/// well formed by itself, names no other shorthand and is to be taken as one group.
[[nodiscard]] std::string_view ShorthandText(char letter) noexcept;

} // namespace kx
