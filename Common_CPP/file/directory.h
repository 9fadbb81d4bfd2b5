// Folders.
#pragma once

#include "Common_CPP/file/fs_entry.h"

/// A folder, which need not exist. The promises of CkxFSEntry hold here too. What lies in it is the matter of
/// CkxDirectoryTree.
class CkxDirectory : public CkxFSEntry {
  public:
    using CkxFSEntry::CkxFSEntry;

    /// Creates the folder in one that exists. ERROR_ALREADY_EXISTS where the name is taken. Without
    /// `security`, which may hold owner and access lists, the inheritable entries of the folder above apply.
    [[nodiscard]] DWORD Create(PSECURITY_DESCRIPTOR security = nullptr) const noexcept;

    /// Creates every missing folder on the path, this one included, each with `security`. Success where all
    /// of them are there; those that were there stay as they are.
    [[nodiscard]] DWORD CreateAll(PSECURITY_DESCRIPTOR security = nullptr) const;

    /// Creates every missing folder on the path of a file that is about to be written.
    [[nodiscard]] static DWORD CreateContainingDirectory(const CString& filePath,
                                                         PSECURITY_DESCRIPTOR security = nullptr);
};
