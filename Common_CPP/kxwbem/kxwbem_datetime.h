#pragma once

#include "Common_CPP/kxwbem/kxwbem_ptr.h"

#include <wbemdisp.h>

/// WMI's own converter of points in time.
class CkxSWbemDateTimePtr : public CkxWbemPtr<ISWbemDateTime> {
  public:
    using CkxWbemPtr::CkxWbemPtr;

    /// Creates the converter. REQUIRES: COM on this thread.
    [[nodiscard]] HRESULT CreateInstance();

    /// Takes the point in time; with `localTime` GetValue() tells it in local time with its offset.
    [[nodiscard]] HRESULT SetFileTime(const FILETIME& time, bool localTime) const;

    /// "yyyymmddHHMMSS.mmmmmmsUUU": the offset UUU in minutes, +000 for UTC.
    [[nodiscard]] HRESULT GetValue(CComBSTR& text) const;

    /// All three in one step.
    [[nodiscard]] static HRESULT FileTime2WmiDateTime(const FILETIME& time, bool localTime, CComBSTR& text);
};
