// What files and folders have in common.
#pragma once

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/util/kx_time.h"

#include <windows.h>

#include <cstdint>

/// The three times of an entry.
struct CkxFSTimes {
    CkxTime created;
    CkxTime accessed;
    CkxTime written;
};

/// What one look at an entry tells.
struct CkxFSInfo {
    DWORD attributes = 0;   ///< FILE_ATTRIBUTE_...
    std::uint64_t size = 0; ///< bytes of a file; without meaning for a folder
    CkxFSTimes times;

    [[nodiscard]] bool IsDirectory() const noexcept { return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }

    /// A symbolic link, a junction or another name that may lead elsewhere.
    [[nodiscard]] bool IsReparsePoint() const noexcept
    {
        return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    }
};

/// The name of a file or folder, which need not exist. The path may have any form that CkxPathConverter knows
/// and any length. Calls are made with the calling thread's identity.
///
/// Operations return a Windows error; on failure they trace one error line, and the out-parameters stay as
/// they were. Calls that went well are traced at level 610. May throw std::bad_alloc and CAtlException, for
/// want of memory only.
class CkxFSEntry {
  public:
    /// A long path that is relative is completed with the present current folder.
    explicit CkxFSEntry(const CString& path);

    /// The path as it was given.
    [[nodiscard]] const CString& GetPath() const noexcept { return _m_path; }

    /// Whether anything of this name can be seen. Nothing is traced for one that is absent.
    [[nodiscard]] bool Exists() const noexcept;

    /// Attributes, size and times in one call; of a link, the link's own.
    [[nodiscard]] DWORD GetInfo(CkxFSInfo& info) const noexcept;

    [[nodiscard]] DWORD GetAttributes(DWORD& attributes) const noexcept;
    [[nodiscard]] DWORD SetAttributes(DWORD attributes) const noexcept;

    /// Bytes of a file.
    [[nodiscard]] DWORD GetSize(std::uint64_t& size) const noexcept;

    [[nodiscard]] DWORD GetTimes(CkxFSTimes& times) const noexcept;

    /// A time of zero stays as it is. Of a link the link's own are set.
    [[nodiscard]] DWORD SetTimes(const CkxFSTimes& times) const noexcept;

    /// Gives the entry another name or place, and this object the new path. `replace` lets it take the place
    /// of an existing file. A folder cannot go to another volume.
    [[nodiscard]] DWORD Rename(const CString& newPath, bool replace = false);

    /// Deletes a file, an empty folder or a link itself.
    [[nodiscard]] DWORD Delete() const noexcept;

  protected:
    /// The path as the system's calls take it.
    [[nodiscard]] const CString& _SystemPath() const noexcept { return _m_systemPath; }

  private:
    CString _m_path;
    CString _m_systemPath;
};
