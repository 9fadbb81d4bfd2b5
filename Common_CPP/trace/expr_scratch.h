#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

namespace kx {

/// An array for the length of a search that needs the heap only when it is large: searches stand in the way
/// of trace statements. Its elements begin with any value.
template <class T, std::size_t kInline>
class Scratch {
  public:
    /// Makes room for `size` elements; false when the memory cannot be had. To be called once, before use.
    [[nodiscard]] bool Allocate(std::size_t size) noexcept { return size <= kInline || _ToHeap(size); }

    /// Makes room for `size` elements, more than kInline, and keeps the kInline first ones. Does nothing the
    /// second time. False when the memory cannot be had.
    [[nodiscard]] bool Grow(std::size_t size) noexcept
    {
        if (_m_heap)
            return true;
        if (!_ToHeap(size))
            return false;
        std::copy_n(_m_inline, kInline, _m_heap.get());
        return true;
    }

    [[nodiscard]] T* Data() noexcept { return _m_heap ? _m_heap.get() : _m_inline; }

  private:
    [[nodiscard]] bool _ToHeap(std::size_t size) noexcept
    {
        _m_heap.reset(new (std::nothrow) T[size]);
        return _m_heap != nullptr;
    }

    T _m_inline[kInline];
    std::unique_ptr<T[]> _m_heap;
};

} // namespace kx
