#include "Common_CPP/trace/text_builder.h"

#include <algorithm>
#include <cstring>

namespace kx {

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
