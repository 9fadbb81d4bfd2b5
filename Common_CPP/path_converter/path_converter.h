// Paths in the form that somebody else wants.
#pragma once

#include "Common_CPP/atl/kx_atl.h"

#include <windows.h>

/// Converts paths between the forms that path_forms.h describes, with the drives that the calling thread's
/// identity sees: mapped and substituted drives belong to a logon session, so a service sees a user's only
/// while it impersonates him. Nothing needs to exist but the device. Relative paths are completed with the
/// current folder first.
///
/// Returns a Windows error, traced, and leaves the out-parameter as it was then: ERROR_BAD_DEVICE for an
/// unknown device, ERROR_NOT_CONNECTED for a path that has no such form, ERROR_BAD_PATHNAME for what is no
/// path, ERROR_CANT_RESOLVE_FILENAME for drives that stand for each other. May throw std::bad_alloc and
/// CAtlException.
class CkxPathConverter {
  public:
    CkxPathConverter() = delete;

    /// "\Device\HarddiskVolume1\folder"; "\Device\Mup\server\share\folder" for a share.
    [[nodiscard]] static DWORD ToNt(const CString& path, CString& ntPath);

    /// "C:\folder"; for a share only where a drive is mapped to it. Never with a prefix, however long.
    [[nodiscard]] static DWORD ToDos(const CString& path, CString& dosPath);

    /// "\\server\share\folder"; ERROR_NOT_CONNECTED for a local path.
    [[nodiscard]] static DWORD ToUnc(const CString& path, CString& uncPath);

    /// The full path, "." and ".." resolved. A path with "\\?\" or an NT path comes back as it is.
    [[nodiscard]] static DWORD ToFull(const CString& path, CString& fullPath);

    /// The path in a form that the system's calls take: a long one and an NT path get "\\?\". When it cannot
    /// be completed it comes back as it is, so that the call itself reports what is wrong with it.
    [[nodiscard]] static CString ToSystem(const CString& path);
};
