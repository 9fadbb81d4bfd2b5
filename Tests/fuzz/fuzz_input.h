// What the fuzz targets share: a failed property ends the run, and bytes become numbers and texts.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace fuzz {

/// Ends the run, with the input kept as a finding, when a property does not hold.
inline void Require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "wrong: %s\n", what);
    std::abort();
}

/// Text from bytes, which mostly stand for ASCII, so that keywords come about; 0x80 and above reach every
/// unit of 16 bits.
template <class Char>
[[nodiscard]] std::basic_string<Char> TextOf(const std::uint8_t* data, std::size_t size)
{
    std::basic_string<Char> text;
    for (std::size_t i = 0; i < size; ++i)
        if (data[i] < 0x80 || i + 1 == size)
            text += static_cast<Char>(data[i]);
        else {
            text += static_cast<Char>(data[i] << 8 | data[i + 1]);
            ++i;
        }
    return text;
}

/// The input taken piece by piece from the front; after its end come zeros and empty texts.
class Input {
  public:
    Input(const std::uint8_t* data, std::size_t size) : _m_data(data), _m_size(size) {}

    [[nodiscard]] bool IsEmpty() const { return _m_size == 0; }

    std::uint8_t Byte()
    {
        if (_m_size == 0)
            return 0;
        --_m_size;
        return *_m_data++;
    }

    /// Little-endian, from as many bytes as the type has.
    template <class Int>
    Int Number()
    {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < sizeof(Int); ++i)
            value |= static_cast<std::uint64_t>(Byte()) << 8 * i;
        return static_cast<Int>(value);
    }

    /// What stands before the next line end, which is taken too: dictionaries and people can write it.
    template <class Char>
    std::basic_string<Char> Line()
    {
        const std::uint8_t* const end = std::find(_m_data, _m_data + _m_size, '\n');
        return _Take<Char>(static_cast<std::size_t>(end - _m_data), true);
    }

    /// Everything that is left.
    template <class Char>
    std::basic_string<Char> Rest()
    {
        return _Take<Char>(_m_size, false);
    }

  private:
    template <class Char>
    std::basic_string<Char> _Take(std::size_t size, bool withEnd)
    {
        std::basic_string<Char> text;
        if constexpr (sizeof(Char) == 1)
            text.assign(_m_data, _m_data + size);
        else
            text = TextOf<Char>(_m_data, size);
        size += withEnd && size < _m_size ? 1U : 0U;
        _m_data += size;
        _m_size -= size;
        return text;
    }

    const std::uint8_t* _m_data;
    std::size_t _m_size;
};

} // namespace fuzz
