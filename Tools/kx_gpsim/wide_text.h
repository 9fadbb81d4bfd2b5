#pragma once

#include "Common_CPP/util/utf8.h"
#include "Common_CPP/util/util.h"

#include <string>
#include <string_view>

namespace kx {

/// The model's UTF-8 as the system's text.
[[nodiscard]] inline std::wstring Wide(std::string_view text)
{
    CString wide;
    (void)Utf8ToWide(text, wide);
    return std::wstring(View(wide));
}

/// The system's text as UTF-8; half a surrogate pair, which a file's name may hold, becomes U+FFFD.
[[nodiscard]] inline std::string Narrow(std::wstring_view text)
{
    std::string utf8;
    if (WideToUtf8(text, utf8))
        return utf8;
    for (const wchar_t unit : text)
        if (std::string part; WideToUtf8(std::wstring_view(&unit, 1), part))
            utf8 += part;
        else
            utf8 += "\xEF\xBF\xBD";
    return utf8;
}

} // namespace kx
