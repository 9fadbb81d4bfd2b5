// Overwrites secrets.
#pragma once

#include <cstddef>

namespace kx {

/// Overwrites `size` bytes with zeros, in a way that no compiler takes out although nobody reads them again.
inline void Wipe(void* memory, std::size_t size) noexcept
{
    volatile unsigned char* byte = static_cast<unsigned char*>(memory);
    for (; size > 0; --size)
        *byte++ = 0;
}

} // namespace kx
