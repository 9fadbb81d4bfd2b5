// Opening registry keys, and reading them with bounds.
#pragma once

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/util/unique_handle.h"

#include <windows.h>

#include <span>
#include <utility>

/// An open registry key, or none. Every operation returns a Windows error code; on failure the
/// out-parameters and the key held stay as they were. A read is one call to the system into room of fixed
/// size, never a loop, so a value that someone keeps changing cannot hold it up.
class CkxRegKey {
  public:
    /// The most bytes that a string read takes, terminator included.
    static constexpr DWORD c_maxStringBytes = 2048;

    /// Opens `path` under `parent` and closes the key held before.
    [[nodiscard]] LSTATUS Open(HKEY parent, const wchar_t* path, REGSAM access) noexcept;

    /// The same, and makes the key where it is absent, with those on its way.
    [[nodiscard]] LSTATUS Create(HKEY parent, const wchar_t* path, REGSAM access) noexcept;

    /// Takes over a key that was opened in another way, and closes the one held before.
    void Attach(CkxRegKeyHandle key) noexcept { _m_key = std::move(key); }

    /// The key held, or null; it stays owned here.
    [[nodiscard]] HKEY Get() const noexcept { return _m_key.Get(); }

    /// Reads a REG_DWORD; ERROR_INVALID_DATA for any other type or size.
    [[nodiscard]] LSTATUS QueryDword(const wchar_t* name, DWORD& value) const noexcept;

    /// Reads a REG_SZ or REG_EXPAND_SZ (unexpanded) of at most `maxBytes`, terminator included, up to its
    /// first NUL. ERROR_MORE_DATA for a longer one; ERROR_INVALID_DATA for another type, an odd number of
    /// bytes, or no NUL at the end. A value of no bytes at all is an empty text.
    /// REQUIRES: maxBytes <= c_maxStringBytes.
    [[nodiscard]] LSTATUS QueryString(const wchar_t* name, CString& value, DWORD maxBytes) const noexcept;

  private:
    /// One read of at most room.size() bytes; `size` becomes the number of bytes read.
    LSTATUS _Query(const wchar_t* name, DWORD& type, std::span<BYTE> room, DWORD& size) const noexcept;

    CkxRegKeyHandle _m_key;
};
