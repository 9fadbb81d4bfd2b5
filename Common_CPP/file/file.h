// Whole files.
#pragma once

#include "Common_CPP/file/fs_entry.h"

#include <string>
#include <string_view>

/// A file, which need not exist. The promises of CkxFSEntry hold here too.
class CkxFile : public CkxFSEntry {
  public:
    /// The most that is read unless the caller allows another size.
    static constexpr std::uint64_t c_mostBytes = 0x7FFFFFFF;

    using CkxFSEntry::CkxFSEntry;

    /// Creates the file, empty. ERROR_FILE_EXISTS where the name is taken. Without `security`, which may hold
    /// owner and access lists, the folder's inheritable entries apply.
    [[nodiscard]] DWORD Create(PSECURITY_DESCRIPTOR security = nullptr) const noexcept;

    /// Reads the whole file, as large as it is when it is opened, also one that others hold open.
    /// ERROR_FILE_TOO_LARGE beyond `mostBytes`, ERROR_HANDLE_EOF for one that shrinks meanwhile.
    [[nodiscard]] DWORD Read(std::string& bytes, std::uint64_t mostBytes = c_mostBytes) const;

    /// Makes `bytes` the whole file. An existing file keeps its access list and other names; `security` is
    /// for a new one. After a failure the file may hold a part only.
    [[nodiscard]] DWORD Write(std::string_view bytes, PSECURITY_DESCRIPTOR security = nullptr) const noexcept;

    /// Copies the file with its attributes and times of writing. ERROR_FILE_EXISTS where the name is taken,
    /// unless `replace` allows that.
    [[nodiscard]] DWORD Copy(const CString& target, bool replace = false) const;
};
