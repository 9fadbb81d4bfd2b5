// What lies in a folder, and in the folders in it.
#pragma once

#include "Common_CPP/file/fs_entry.h"

#include <functional>

/// One thing found in a tree.
struct CkxTreeEntry {
    CString path; ///< the folder as given, then what leads to the entry
    CkxFSInfo info;
};

/// How far an enumeration goes.
enum class CkxTreeDepth {
    Folder, ///< what lies in the folder itself
    Tree,   ///< and in all folders below it
};

/// Called for each entry found; false ends the enumeration, without error.
using CkxTreeVisitor = std::function<bool(const CkxTreeEntry& entry)>;

/// Operations on a folder with everything in it. None enters a link, junction or mount point below the folder
/// given. Each goes on after a failure, which it has traced, and returns the first one's Windows error. May
/// throw std::bad_alloc, CAtlException and what the visitor throws.
class CkxDirectoryTree {
  public:
    CkxDirectoryTree() = delete;

    /// Visits the files and folders whose names match `pattern`, each folder before what lies in it. In a
    /// pattern "*" stands for any text and "?" for one character, without regard to case; "*" and "*.*" match
    /// every name; 8.3 names never match. Folders are entered whether they match or not.
    [[nodiscard]] static DWORD Enumerate(const CString& folder, const CString& pattern, CkxTreeDepth depth,
                                         const CkxTreeVisitor& visit);

    /// Copies what lies in `source`, as it is at the beginning, into `target`, which is made if missing.
    /// Existing files are in the way unless `replace`. Links are left out, and count as ERROR_NOT_SUPPORTED.
    [[nodiscard]] static DWORD Copy(const CString& source, const CString& target, bool replace = false);

    /// Deletes the folder and everything in it, read-only files included. Links are deleted, never what they
    /// lead to, even if somebody exchanges folders for links meanwhile: each entry is opened by name inside
    /// the open folder, and deleted by that handle.
    [[nodiscard]] static DWORD Remove(const CString& folder);
};
