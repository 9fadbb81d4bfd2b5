// Whole numbers as decimal text, read as the platform's wide scanner reads them, without its cost.
//
// A text is a number when it holds exactly one field and nothing after it: what scanning with "%d%c"
// converts as one field, not two. In order:
//   - white space may precede: blank, \t \n \v \f \r and, in wide text, the space characters U+00A0, U+1680,
//     U+2000 to U+200A, U+2028, U+2029, U+202F, U+205F and U+3000;
//   - one sign may follow, for the unsigned types too: "-1" is then the highest value;
//   - at least one digit 0 to 9 must follow directly, and the text must end after the last one.
// Any number of digits is taken; the value wraps around at the type's width, that is the low 32 or 64 bits
// of the true value are kept: "99999999999" reads as 1215752191 in 32 bits.
// The AnyBase forms do the same for "%i%c": after the sign, "0x" or "0X" and at least one digit of base 16 is
// read in that base, any other leading "0" makes it base 8, in which 8 and 9 are no digits.
#pragma once

#include <concepts>
#include <cstdint>
#include <string_view>
#include <utility>

namespace kx {

// Reads one number as described above. False when the text is none, and `value` stays as it was.
// Allocates nothing, ignores the locale. Char is char, char16_t or wchar_t.

template <class Char>
[[nodiscard]] bool ScanInt32(std::basic_string_view<Char> text, std::int32_t& value) noexcept;

template <class Char>
[[nodiscard]] bool ScanUInt32(std::basic_string_view<Char> text, std::uint32_t& value) noexcept;

template <class Char>
[[nodiscard]] bool ScanInt64(std::basic_string_view<Char> text, std::int64_t& value) noexcept;

template <class Char>
[[nodiscard]] bool ScanUInt64(std::basic_string_view<Char> text, std::uint64_t& value) noexcept;

template <class Char>
[[nodiscard]] bool ScanAnyBaseInt32(std::basic_string_view<Char> text, std::int32_t& value) noexcept;

template <class Char>
[[nodiscard]] bool ScanAnyBaseInt64(std::basic_string_view<Char> text, std::int64_t& value) noexcept;

/// A number written in decimal, ending in NUL, inside the object itself: as "%d", "%u", "%I64d" or "%I64u"
/// would write it.
template <class Char>
class DecimalText {
  public:
    /// `value` with leading zeros up to `width` digits (20 at most); a wider number is written in full, and
    /// a negative one gets no zeros.
    template <std::integral Int>
    explicit DecimalText(Int value, std::size_t width = 1) noexcept
    {
        const bool negative = std::cmp_less(value, 0);
        // Negated as unsigned, since the lowest number has no positive counterpart.
        _Write(negative ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value),
               negative ? 1 : width);
        if (negative)
            _m_text[--_m_start] = static_cast<Char>('-');
    }

    /// The text, ending in NUL; valid as long as this object.
    [[nodiscard]] const Char* Get() const noexcept { return _m_text + _m_start; }

    /// The text; valid as long as this object.
    [[nodiscard]] std::basic_string_view<Char> View() const noexcept { return {Get(), c_end - _m_start}; }

    /// As View(), so that a number can stand in a list of text pieces.
    operator std::basic_string_view<Char>() const noexcept { return View(); }

  private:
    void _Write(std::uint64_t value, std::size_t width) noexcept
    {
        _m_text[c_end] = Char{};
        do {
            _m_text[--_m_start] = static_cast<Char>('0' + value % 10);
            value /= 10;
        } while (value != 0 || (c_end - _m_start < width && c_end - _m_start < c_maxDigits));
    }

    static constexpr std::size_t c_maxDigits = 20; // of 2^64 - 1
    static constexpr std::size_t c_end = c_maxDigits + 1;

    Char _m_text[c_end + 1];
    std::size_t _m_start = c_end;
};

/// `value` in decimal, for a character type that is to be named.
template <class Char, std::integral Int>
[[nodiscard]] DecimalText<Char> FormatInt(Int value) noexcept
{
    return DecimalText<Char>(value);
}

} // namespace kx
