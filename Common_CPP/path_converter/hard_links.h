// The names of one file.
#pragma once

#include "Common_CPP/atl/kx_atl.h"

#include <windows.h>

#include <vector>

/// Finds all names, hard links, that a file has on its volume.
class CkxHardLinks {
  public:
    CkxHardLinks() = delete;

    /// Puts the full paths of all names of the file into `names`, with "\\?\" where `path` is long.
    /// ERROR_NOT_SUPPORTED where the system or the file system cannot list them; `names` then holds the one
    /// name given. Any other error leaves `names` as it was. Failures are traced. May throw std::bad_alloc
    /// and CAtlException.
    [[nodiscard]] static DWORD Find(const CString& path, std::vector<CString>& names);
};
