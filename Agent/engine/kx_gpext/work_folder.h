#pragma once

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/util/unique_handle.h"

#include <string_view>
#include <vector>

/// A folder of the service's own, for files that others read and nobody else may change or redirect. Only
/// SYSTEM and Administrators may write into what it makes; everyone who has logged on may read. Folders that
/// are there already must be real ones, not links, of a trusted owner. All of them stay held open, so that
/// none can be renamed or exchanged, until this object ends. Operations return a Windows error, and trace
/// nothing.
class CkxWorkFolder {
  public:
    /// Enters the folder at `path`, made if it is missing; the one above it must exist. ERROR_DIRECTORY for a
    /// file or a link in its place, ERROR_INVALID_OWNER for a stranger's.
    [[nodiscard]] DWORD Enter(const CString& path);

    /// Whether a folder is held.
    [[nodiscard]] bool IsEntered() const { return !_m_held.empty(); }

    /// Goes on into a folder inside the one that was entered last.
    [[nodiscard]] DWORD EnterBelow(const wchar_t* name) { return Enter(FilePath(name)); }

    /// Writes a file into the folder entered last, in place of one of that name: never into the old file,
    /// which may have other names.
    [[nodiscard]] DWORD Save(const wchar_t* name, std::string_view bytes) const;

    /// The path of a file in the folder entered last.
    [[nodiscard]] CString FilePath(const wchar_t* name) const { return _m_path + L"\\" + name; }

  private:
    CString _m_path;
    std::vector<CkxFileHandle> _m_held;
};
