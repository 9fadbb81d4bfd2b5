#pragma once

#include "Common_CPP/atl/kx_atl.h"

#include <windows.h>

/// Stands in for the system's class SWbemDateTime: while the object lives, creating CLSID_SWbemDateTime in
/// this process makes ours. REQUIRES: COM on this thread, until destruction too.
///
/// A registration from the multi-threaded apartment serves all its threads and no other; one from a
/// single-threaded apartment serves that thread alone. Throws nothing.
class CkxDateTimeClass {
  public:
    CkxDateTimeClass() noexcept;
    CkxDateTimeClass(const CkxDateTimeClass&) = delete;
    CkxDateTimeClass& operator=(const CkxDateTimeClass&) = delete;
    ~CkxDateTimeClass();

    /// Whether the class is registered: S_OK, else what failed.
    [[nodiscard]] HRESULT Status() const noexcept { return _m_status; }

    /// Date-time objects made by any registration of this process that are still referenced.
    [[nodiscard]] static long LiveObjects() noexcept;

  private:
    DWORD _m_cookie = 0;
    HRESULT _m_status;
};
