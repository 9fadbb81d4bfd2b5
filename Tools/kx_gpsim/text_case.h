// Comparing text without regard to the case of ASCII letters, as names in the directory and of files are.
#pragma once

#include "Common_CPP/util/ascii_case.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace kx {

[[nodiscard]] inline bool EqualNoCase(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return LowerAscii(x) == LowerAscii(y); });
}

[[nodiscard]] inline bool StartsWithNoCase(std::string_view text, std::string_view start)
{
    return EqualNoCase(text.substr(0, start.size()), start);
}

[[nodiscard]] inline bool ContainsNoCase(std::string_view text, std::string_view part)
{
    return LowerAscii(text).find(LowerAscii(part)) != std::string::npos;
}

} // namespace kx
