// Steps over XML text, for the files beside this one that read it without a parser.
#pragma once

#include "Common_CPP/xml/xml_text.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

// Char is char16_t or wchar_t.
namespace kx {

/// An object, so that the searches that it is handed to take it in.
inline constexpr auto IsXmlSpace = [](auto character) {
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
};

template <class Char>
[[nodiscard]] bool EqualsAscii(std::basic_string_view<Char> text, std::string_view ascii)
{
    return std::equal(text.begin(), text.end(), ascii.begin(), ascii.end(),
                      [](Char left, char right) { return left == static_cast<Char>(right); });
}

/// The character that "65" or, with the base 16, "41" stands for; 0 for none.
template <class Char>
[[nodiscard]] std::uint32_t NumberedCharacter(std::basic_string_view<Char> digits, std::uint32_t base)
{
    std::uint32_t code = 0;
    for (const Char digit : digits) {
        std::uint32_t value = base;
        if (digit >= '0' && digit <= '9')
            value = static_cast<std::uint32_t>(digit - '0');
        else if (digit >= 'a' && digit <= 'f')
            value = static_cast<std::uint32_t>(digit - 'a') + 10;
        else if (digit >= 'A' && digit <= 'F')
            value = static_cast<std::uint32_t>(digit - 'A') + 10;
        if (value >= base || code > 0x10FFFF)
            return 0;
        code = code * base + value;
    }
    return IsXmlCharacter(code) ? code : 0;
}

/// The character that a reference names, without its "&" and ";"; 0 for none.
template <class Char>
[[nodiscard]] std::uint32_t ReferencedCharacter(std::basic_string_view<Char> reference)
{
    constexpr struct {
        std::string_view name;
        char character;
    } named[] = {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};

    for (const auto& entry : named)
        if (EqualsAscii(reference, entry.name))
            return static_cast<std::uint32_t>(entry.character);
    if (reference.size() > 2 && reference[0] == '#' && reference[1] == 'x')
        return NumberedCharacter(reference.substr(2), 16);
    return reference.size() > 1 && reference[0] == '#' ? NumberedCharacter(reference.substr(1), 10) : 0;
}

} // namespace kx
