// Text without streams and without a locale: numbers as decimal text, and a builder over fixed memory.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

namespace kx {

/// The decimal text of one number, held in the object: usable as a piece of a message in one expression.
class Decimal {
  public:
    /// `value` with leading zeros up to `width` digits (20 at most); a wider number is written in full, and
    /// a negative one gets no zeros.
    template <std::integral Number>
    explicit Decimal(Number value, std::size_t width = 1) noexcept
    {
        if (std::cmp_less(value, 0))
            // Negated as unsigned, since the lowest number has no positive counterpart.
            _Write(0 - static_cast<std::uint64_t>(value), 1, true);
        else
            _Write(static_cast<std::uint64_t>(value), width, false);
    }

    /// The text; valid as long as the object.
    [[nodiscard]] std::string_view View() const noexcept
    {
        return {_m_digits + _m_start, kCapacity - _m_start};
    }

    /// As View(), so that a number can stand in a list of text pieces.
    operator std::string_view() const noexcept { return View(); }

  private:
    void _Write(std::uint64_t value, std::size_t width, bool negative) noexcept;

    static constexpr std::size_t kCapacity = 21; // a sign and the twenty digits of 2^64 - 1

    char _m_digits[kCapacity];
    std::size_t _m_start = kCapacity;
};

/// Appends text to memory of the caller and drops what does not fit. Never allocates, never throws.
class TextBuilder {
  public:
    /// `buffer` must outlive the builder.
    TextBuilder(char* buffer, std::size_t capacity) noexcept : _m_buffer(buffer), _m_capacity(capacity) {}

    TextBuilder(const TextBuilder&) = delete;
    TextBuilder& operator=(const TextBuilder&) = delete;

    /// Appends as much of `text` as fits.
    TextBuilder& Append(std::string_view text) noexcept;

    /// Appends a number in decimal; a number that does not fit is cut like text.
    TextBuilder& AppendUnsigned(std::uint64_t value) noexcept { return Append(Decimal(value)); }

    /// As AppendUnsigned, with "-" in front of a negative value.
    TextBuilder& AppendSigned(std::int64_t value) noexcept { return Append(Decimal(value)); }

    /// Appends a number with leading zeros up to `width` digits.
    TextBuilder& AppendPadded(std::uint64_t value, std::size_t width) noexcept
    {
        return Append(Decimal(value, width));
    }

    /// What has been appended so far.
    [[nodiscard]] std::string_view View() const noexcept { return {_m_buffer, _m_size}; }

    /// True once something did not fit.
    [[nodiscard]] bool IsTruncated() const noexcept { return _m_truncated; }

    /// Empties the text; the memory stays.
    void Clear() noexcept
    {
        _m_size = 0;
        _m_truncated = false;
    }

  private:
    char* _m_buffer;
    std::size_t _m_capacity;
    std::size_t _m_size = 0;
    bool _m_truncated = false;
};

/// A TextBuilder that brings its own memory of N characters.
template <std::size_t N>
class FixedText : public TextBuilder {
  public:
    // cppcheck-suppress uninitMemberVar
    FixedText() noexcept : TextBuilder(_m_storage, N) {}

  private:
    char _m_storage[N];
};

} // namespace kx
