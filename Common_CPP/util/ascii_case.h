// The case of the letters A to Z, which names are compared without regard to, whatever the locale.
#pragma once

#include <algorithm>
#include <concepts>
#include <string>
#include <string_view>

namespace kx {

/// The character, if it is one of A to Z its small form. Char is any character type.
template <std::integral Char>
[[nodiscard]] constexpr Char LowerAscii(Char character) noexcept
{
    return character >= Char{'A'} && character <= Char{'Z'} ? static_cast<Char>(character + ('a' - 'A'))
                                                            : character;
}

/// The text with its letters A to Z made small. Throws what the string throws without memory.
[[nodiscard]] inline std::string LowerAscii(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char unit) { return LowerAscii(unit); });
    return lower;
}

/// The same for wide text.
[[nodiscard]] inline std::wstring LowerAscii(std::wstring_view text)
{
    std::wstring lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](wchar_t unit) { return LowerAscii(unit); });
    return lower;
}

} // namespace kx
