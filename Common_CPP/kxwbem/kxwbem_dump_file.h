#pragma once

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/util/unique_handle.h"

/// The text file that a dump goes to: UTF-8, replaced when it exists, others may read it meanwhile. Throws
/// only CAtlException(E_OUTOFMEMORY).
class CkxWbemDumpFile {
  public:
    /// Creates the file.
    [[nodiscard]] HRESULT Create(const wchar_t* path);

    /// Adds text; halves of surrogate pairs that stand alone become U+FFFD. After a failure nothing more is
    /// written.
    void Write(const CString& text);

    /// S_OK, or why a Write failed.
    [[nodiscard]] HRESULT Status() const noexcept { return _m_status; }

  private:
    CkxFileHandle _m_file;
    HRESULT _m_status = S_OK;
};
