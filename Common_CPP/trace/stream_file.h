#pragma once

#include <windows.h>

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/trace/stream.h"
#include "Common_CPP/util/unique_handle.h"

#include <cstdint>

/// The trace file. Every write is appended at the file's end by the system itself, so that two processes
/// that write one file do not overwrite each other's lines.
///
/// Everybody may create files in a trace folder, so a planted file must not lead elsewhere: a reparse
/// point, or a file that has other names as well, is never written to.
class filebuf final : public D_StreamBuf_c {
  public:
    /// Opens or creates `path`. `truncate` deletes an old file and creates it anew, instead of emptying
    /// whatever stands there. Returns a Windows error; on failure the file that was open before stays open.
    [[nodiscard]] DWORD Open(const CString& path, bool truncate);

    /// False also when no file is open, or the disk did not take all of the text.
    bool Write(std::string_view text) noexcept override;

    void Close() noexcept { _m_file.Reset(); }

    [[nodiscard]] bool IsOpen() const noexcept { return static_cast<bool>(_m_file); }

    [[nodiscard]] const CString& Path() const noexcept { return _m_path; }

    /// Opens the file at the same path anew, emptied if so asked; for emptying, it is closed first.
    [[nodiscard]] DWORD Reopen(bool truncate);

    /// False when the path leads to another file by now, or to none: somebody has renamed or deleted ours.
    [[nodiscard]] bool IsStillAtItsPath() const noexcept;

    /// The file's size in bytes: when it was opened, and all that was written here since. The system, which
    /// knows of other writers, is asked only now and then: a question costs as much as a line.
    [[nodiscard]] std::uint64_t EstimatedSize() noexcept;

  private:
    CkxFileHandle _m_file;
    CString _m_path;
    std::uint64_t _m_size = 0;
    std::uint64_t _m_askedAt = 0; ///< the size when the system was asked last
};

using ofstream = D_OutStream_c<filebuf>;
