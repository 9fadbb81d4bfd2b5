// Owners of Windows resources: one template, told by a traits class what "empty" is and how to close.
#pragma once

#include "Common_CPP/util/last_error.h"

#include <windows.h>

#include <cassert>
#include <utility>

/// Owns one resource, or none. Closing never changes the last error, since it often follows a failure whose
/// code is still to be read. Not for use by several threads at once.
template <class Traits>
class CkxUniqueHandle {
  public:
    using Value = typename Traits::Value;

    /// Empty.
    CkxUniqueHandle() noexcept = default;

    /// Takes over `value`, which may be the empty one.
    explicit CkxUniqueHandle(Value value) noexcept : _m_value(value) {}

    /// Takes over what `other` holds.
    CkxUniqueHandle(CkxUniqueHandle&& other) noexcept : _m_value(other.Release()) {}

    CkxUniqueHandle(const CkxUniqueHandle&) = delete;
    CkxUniqueHandle& operator=(const CkxUniqueHandle&) = delete;

    ~CkxUniqueHandle() { Reset(); }

    /// Closes what is held and takes over what `other` holds.
    CkxUniqueHandle& operator=(CkxUniqueHandle&& other) noexcept
    {
        if (this != &other)
            Reset(other.Release());
        return *this;
    }

    /// The resource; it stays owned here.
    [[nodiscard]] Value Get() const noexcept { return _m_value; }

    /// Whether a resource is held.
    explicit operator bool() const noexcept { return _m_value != Traits::Empty(); }

    /// Where a call may put a new resource; what is held is closed first.
    [[nodiscard]] Value* Put() noexcept
    {
        Reset();
        return &_m_value;
    }

    /// Closes what is held and takes over `value`.
    void Reset(Value value = Traits::Empty()) noexcept
    {
        const Value old = std::exchange(_m_value, value);
        if (old == Traits::Empty() || old == value)
            return;
        const CkxLastErrorKeeper keeper;
        Traits::Close(old);
    }

    /// Hands the resource to the caller.
    [[nodiscard]] Value Release() noexcept { return std::exchange(_m_value, Traits::Empty()); }

  private:
    Value _m_value = Traits::Empty();
};

namespace kx {

/// Kernel objects whose absence is null: events, mutexes, tokens, processes.
struct HandleTraits {
    using Value = HANDLE;

    static Value Empty() noexcept { return nullptr; }

    static void Close(Value value) noexcept { ::CloseHandle(value); }
};

/// What CreateFile and CreateNamedPipe return.
struct FileHandleTraits {
    using Value = HANDLE;

    static Value Empty() noexcept { return INVALID_HANDLE_VALUE; }

    static void Close(Value value) noexcept { ::CloseHandle(value); }
};

/// What FindFirstFile returns.
struct FindHandleTraits {
    using Value = HANDLE;

    static Value Empty() noexcept { return INVALID_HANDLE_VALUE; }

    static void Close(Value value) noexcept { ::FindClose(value); }
};

/// An open registry key.
struct RegKeyTraits {
    using Value = HKEY;

    static Value Empty() noexcept { return nullptr; }

    static void Close(Value value) noexcept { ::RegCloseKey(value); }
};

/// A reference to a loaded module.
struct ModuleTraits {
    using Value = HMODULE;

    static Value Empty() noexcept { return nullptr; }

    static void Close(Value value) noexcept { ::FreeLibrary(value); }
};

/// Memory that the system allocated and LocalFree gives back.
template <class T>
struct LocalMemoryTraits {
    using Value = T*;

    static Value Empty() noexcept { return nullptr; }

    static void Close(Value value) noexcept { ::LocalFree(value); }
};

} // namespace kx

using CkxHandle = CkxUniqueHandle<kx::HandleTraits>;
using CkxFileHandle = CkxUniqueHandle<kx::FileHandleTraits>;
using CkxFindHandle = CkxUniqueHandle<kx::FindHandleTraits>;
using CkxRegKeyHandle = CkxUniqueHandle<kx::RegKeyTraits>;
using CkxModule = CkxUniqueHandle<kx::ModuleTraits>;

template <class T>
using CkxLocalMemory = CkxUniqueHandle<kx::LocalMemoryTraits<T>>;
