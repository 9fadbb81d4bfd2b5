// Wide text to UTF-8 and back.
#pragma once

#include "Common_CPP/atl/kx_atl.h"

#include <string>
#include <string_view>

namespace kx {

/// Writes `text` as UTF-8. False, and `utf8` untouched, for ill-formed text (a lone surrogate) or without
/// memory.
[[nodiscard]] bool WideToUtf8(std::wstring_view text, std::string& utf8) noexcept;

/// Reads UTF-8, or text of the system's ANSI code page where the bytes are no UTF-8. False, and `text`
/// untouched, when that fails too or without memory.
[[nodiscard]] bool Utf8ToWide(std::string_view bytes, CString& text) noexcept;

} // namespace kx
