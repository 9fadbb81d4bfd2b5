// Text without streams and without a locale, in fixed memory.
#pragma once

#include "Common_CPP/util/number_text.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kx {

/// The decimal text of one number: usable as a piece of a message in one expression.
using Decimal = DecimalText<char>;

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
