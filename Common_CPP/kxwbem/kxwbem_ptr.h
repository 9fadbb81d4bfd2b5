#pragma once

#include "Common_CPP/atl/kx_atl.h"

#include <windows.h> // before wbemcli.h: one of its macros renames IWbemServices::GetObject

#include <wbemcli.h>

/// What all wrappers of WMI interfaces share: they own one reference, or none. Operations return HRESULTs
/// and trace each failure with the interface call that failed; without a reference they return E_POINTER.
/// Out parameters change on success only. Not for use by several threads at once. Throws only
/// CAtlException(E_OUTOFMEMORY), where a text cannot be allocated.
template <class Interface>
class CkxWbemPtr {
  public:
    CkxWbemPtr() = default;

    /// Shares `object`, which may be null.
    explicit CkxWbemPtr(Interface* object) : _m_object(object) {}

    [[nodiscard]] bool IsNull() const { return !_m_object; }

    /// The interface; the reference stays here.
    [[nodiscard]] Interface* Get() const { return _m_object; }

    /// Where a call may put a new reference; what is held is released first.
    [[nodiscard]] Interface** Put()
    {
        _m_object.Release();
        return &_m_object;
    }

    void Release() { _m_object.Release(); }

  protected:
    CComPtr<Interface> _m_object;
};
