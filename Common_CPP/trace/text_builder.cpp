#include "Common_CPP/trace/text_builder.h"

#include <algorithm>
#include <cstring>

namespace kx {

void Decimal::_Write(std::uint64_t value, std::size_t width, bool negative) noexcept
{
    do {
        _m_digits[--_m_start] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    const std::size_t wanted = std::min(width, kCapacity - 1);
    while (kCapacity - _m_start < wanted)
        _m_digits[--_m_start] = '0';
    if (negative)
        _m_digits[--_m_start] = '-';
}

TextBuilder& TextBuilder::Append(std::string_view text) noexcept
{
    const std::size_t fitting = std::min(text.size(), _m_capacity - _m_size);
    if (fitting != 0)
        std::memcpy(_m_buffer + _m_size, text.data(), fitting);
    _m_size += fitting;
    _m_truncated = _m_truncated || fitting != text.size();
    return *this;
}

} // namespace kx
