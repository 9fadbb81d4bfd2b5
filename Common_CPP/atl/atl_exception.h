// The one exception type of the value classes.
#pragma once

#include <windows.h>

namespace ATL {

/// Carries the HRESULT of a failed operation of a value class, E_OUTOFMEMORY above all.
class CAtlException {
  public:
    /// An unspecified failure (E_FAIL).
    CAtlException() noexcept = default;

    /// The failure `hr`.
    explicit CAtlException(HRESULT hr) noexcept : m_hr(hr) {}

    /// The failure's code.
    operator HRESULT() const noexcept { return m_hr; }

    /// The failure's code, by its documented name.
    HRESULT m_hr = E_FAIL;
};

/// Throws CAtlException(hr).
[[noreturn]] inline void AtlThrow(HRESULT hr)
{
    throw CAtlException(hr);
}

} // namespace ATL

#ifndef _ATL_NO_AUTOMATIC_NAMESPACE
using namespace ATL;
#endif
