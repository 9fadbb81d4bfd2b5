#pragma once

#include <cstddef>

/// The bytes of memory that are this process's alone, in whole pages.
[[nodiscard]] std::size_t PrivateBytes();

/// The bytes in this process's heaps that somebody has allocated and not given back: exact, but what was
/// allocated otherwise does not count.
[[nodiscard]] std::size_t HeapBytes();
