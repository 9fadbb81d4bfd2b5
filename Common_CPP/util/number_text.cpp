#include "Common_CPP/util/number_text.h"

#include <cstddef>

namespace kx {
namespace {

template <class Char>
bool IsSpace(Char character) noexcept
{
    if (character == Char{' '} || (character >= Char{'\t'} && character <= Char{'\r'}))
        return true;
    if constexpr (sizeof(Char) == 1) {
        return false;
    } else {
        const auto code = static_cast<std::uint32_t>(character);
        return code == 0xA0 || code == 0x1680 || (code >= 0x2000 && code <= 0x200A) || code == 0x2028 ||
               code == 0x2029 || code == 0x202F || code == 0x205F || code == 0x3000;
    }
}

constexpr unsigned kNoDigit = 99;

/// The value of a digit of base 16, or kNoDigit.
template <class Char>
unsigned DigitValue(Char character) noexcept
{
    if (character >= Char{'0'} && character <= Char{'9'})
        return static_cast<unsigned>(character - Char{'0'});
    if (character >= Char{'a'} && character <= Char{'f'})
        return static_cast<unsigned>(character - Char{'a'}) + 10;
    if (character >= Char{'A'} && character <= Char{'F'})
        return static_cast<unsigned>(character - Char{'A'}) + 10;
    return kNoDigit;
}

/// Takes the mark of a base off `digits` and returns the base; the "0" of base 8 stays, being a digit too.
template <class Char>
unsigned TakeBase(std::basic_string_view<Char>& digits) noexcept
{
    if (digits.size() < 2 || digits[0] != Char{'0'})
        return 10;
    if (digits[1] != Char{'x'} && digits[1] != Char{'X'})
        return 8;
    digits.remove_prefix(2);
    return 16;
}

enum class Base { Ten, Any };

/// Reads one number, modulo 2 to the 64; every narrower type keeps the low bits of that.
template <Base Bases, class Char, class Int>
bool Scan(std::basic_string_view<Char> text, Int& value) noexcept
{
    std::size_t at = 0;
    while (at < text.size() && IsSpace(text[at]))
        ++at;
    const bool negative = at < text.size() && text[at] == Char{'-'};
    if (negative || (at < text.size() && text[at] == Char{'+'}))
        ++at;
    text.remove_prefix(at);
    unsigned base = 10;
    if constexpr (Bases == Base::Any)
        base = TakeBase(text);
    if (text.empty())
        return false;

    std::uint64_t magnitude = 0;
    for (const Char character : text) {
        const unsigned digit = DigitValue(character);
        if (digit >= base)
            return false;
        magnitude = magnitude * base + digit;
    }
    value = static_cast<Int>(negative ? 0 - magnitude : magnitude);
    return true;
}

} // namespace

template <class Char>
bool ScanInt32(std::basic_string_view<Char> text, std::int32_t& value) noexcept
{
    return Scan<Base::Ten>(text, value);
}

template <class Char>
bool ScanUInt32(std::basic_string_view<Char> text, std::uint32_t& value) noexcept
{
    return Scan<Base::Ten>(text, value);
}

template <class Char>
bool ScanInt64(std::basic_string_view<Char> text, std::int64_t& value) noexcept
{
    return Scan<Base::Ten>(text, value);
}

template <class Char>
bool ScanUInt64(std::basic_string_view<Char> text, std::uint64_t& value) noexcept
{
    return Scan<Base::Ten>(text, value);
}

template <class Char>
bool ScanAnyBaseInt32(std::basic_string_view<Char> text, std::int32_t& value) noexcept
{
    return Scan<Base::Any>(text, value);
}

template <class Char>
bool ScanAnyBaseInt64(std::basic_string_view<Char> text, std::int64_t& value) noexcept
{
    return Scan<Base::Any>(text, value);
}

template bool ScanInt32(std::string_view, std::int32_t&) noexcept;
template bool ScanInt32(std::u16string_view, std::int32_t&) noexcept;
template bool ScanInt32(std::wstring_view, std::int32_t&) noexcept;
template bool ScanUInt32(std::string_view, std::uint32_t&) noexcept;
template bool ScanUInt32(std::u16string_view, std::uint32_t&) noexcept;
template bool ScanUInt32(std::wstring_view, std::uint32_t&) noexcept;
template bool ScanInt64(std::string_view, std::int64_t&) noexcept;
template bool ScanInt64(std::u16string_view, std::int64_t&) noexcept;
template bool ScanInt64(std::wstring_view, std::int64_t&) noexcept;
template bool ScanUInt64(std::string_view, std::uint64_t&) noexcept;
template bool ScanUInt64(std::u16string_view, std::uint64_t&) noexcept;
template bool ScanUInt64(std::wstring_view, std::uint64_t&) noexcept;
template bool ScanAnyBaseInt32(std::string_view, std::int32_t&) noexcept;
template bool ScanAnyBaseInt32(std::u16string_view, std::int32_t&) noexcept;
template bool ScanAnyBaseInt32(std::wstring_view, std::int32_t&) noexcept;
template bool ScanAnyBaseInt64(std::string_view, std::int64_t&) noexcept;
template bool ScanAnyBaseInt64(std::u16string_view, std::int64_t&) noexcept;
template bool ScanAnyBaseInt64(std::wstring_view, std::int64_t&) noexcept;

} // namespace kx
