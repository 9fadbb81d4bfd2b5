#pragma once

#include <string_view>

namespace kx {

/// Whether the whole of `name` is what `pattern` describes: `*` stands for any number of characters, also
/// none, `?` for exactly one (a UTF-16 unit on Windows). Everything else stands for itself, case included.
/// Takes at most the product of both lengths in steps.
[[nodiscard]] bool MatchesPattern(std::wstring_view name, std::wstring_view pattern);

} // namespace kx
