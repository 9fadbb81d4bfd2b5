// Comparing text without regard to the case of ASCII letters, as names in the directory and of files are.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace kx {

[[nodiscard]] constexpr char LowerAscii(char unit)
{
    return unit >= 'A' && unit <= 'Z' ? static_cast<char>(unit - 'A' + 'a') : unit;
}

/// The text with its letters A to Z made small.
[[nodiscard]] inline std::string LowerAscii(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char unit) { return LowerAscii(unit); });
    return lower;
}

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
