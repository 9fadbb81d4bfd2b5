#include "Common_CPP/file/directory_tree.h"

#include "Common_CPP/file/directory.h"
#include "Common_CPP/file/file.h"
#include "Common_CPP/file/file_call.h"
#include "Common_CPP/ntapi/ntapi.h"
#include "Common_CPP/path_converter/path_converter.h"
#include "Common_CPP/util/unique_handle.h"
#include "Common_CPP/util/util.h"

#include <utility>
#include <vector>

KXT_CLASS("CkxDirectoryTree");

namespace {

CString Join(const CString& folder, const wchar_t* name)
{
    const bool separated = !folder.IsEmpty() && folder[folder.GetLength() - 1] == L'\\';
    return separated ? folder + name : folder + L"\\" + name;
}

bool IsDots(std::wstring_view name) noexcept
{
    return name == L"." || name == L"..";
}

bool EqualIgnoringCase(wchar_t a, wchar_t b) noexcept
{
    return a == b || ::CompareStringOrdinal(&a, 1, &b, 1, TRUE) == CSTR_EQUAL;
}

/// Steps through both texts; at a mismatch the last "*" takes one character more. At worst that costs the
/// product of the lengths.
bool MatchesPattern(std::wstring_view name, std::wstring_view pattern) noexcept
{
    std::size_t atName = 0;
    std::size_t atPattern = 0;
    std::size_t star = pattern.npos;
    std::size_t starName = 0;
    while (atName < name.size()) {
        if (atPattern < pattern.size() && pattern[atPattern] == L'*') {
            star = atPattern++;
            starName = atName;
        } else if (atPattern < pattern.size() &&
                   (pattern[atPattern] == L'?' || EqualIgnoringCase(pattern[atPattern], name[atName]))) {
            ++atPattern;
            ++atName;
        } else if (star != pattern.npos) {
            atPattern = star + 1;
            atName = ++starName;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(L'*', atPattern) == pattern.npos;
}

CkxTreeEntry EntryOf(const CString& folder, const WIN32_FIND_DATAW& data)
{
    CkxTreeEntry entry;
    entry.path = Join(folder, data.cFileName);
    entry.info.attributes = data.dwFileAttributes;
    entry.info.size = std::uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow;
    entry.info.times = {CkxTime(data.ftCreationTime), CkxTime(data.ftLastAccessTime),
                        CkxTime(data.ftLastWriteTime)};
    return entry;
}

/// Remembers the first of several errors.
class FirstError {
  public:
    void Note(DWORD error) noexcept
    {
        if (_m_error == ERROR_SUCCESS)
            _m_error = error;
    }

    [[nodiscard]] DWORD Get() const noexcept { return _m_error; }

  private:
    DWORD _m_error = ERROR_SUCCESS;
};

/// Lists one folder and hands each entry to `take`, until that returns false. Returns a Windows error.
template <class Take>
DWORD ListFolder(const CString& folder, Take take)
{
    WIN32_FIND_DATAW data = {};
    const CString all = CkxPathConverter::ToSystem(Join(folder, L"*"));
    const CkxFindHandle search(::FindFirstFileExW(all, FindExInfoBasic, &data, FindExSearchNameMatch, nullptr,
                                                  FIND_FIRST_EX_LARGE_FETCH));
    if (const DWORD error = KX_FILE_CALL(static_cast<bool>(search), "FindFirstFileEx", folder);
        error != ERROR_SUCCESS)
        return error;
    do {
        if (!IsDots(data.cFileName) && !take(EntryOf(folder, data)))
            return ERROR_SUCCESS;
    } while (::FindNextFileW(search.Get(), &data));
    return ::GetLastError() == ERROR_NO_MORE_FILES ? static_cast<DWORD>(ERROR_SUCCESS)
                                                   : KX_FILE_CALL(false, "FindNextFile", folder);
}

/// What a folder holds, as its open handle lists it.
struct HeldEntry {
    CString name;
    DWORD attributes;
};

constexpr DWORD c_listRoom = 64 * 1024;

bool ListHandle(HANDLE folder, std::vector<HeldEntry>& entries)
{
    std::vector<LONGLONG> room(c_listRoom / sizeof(LONGLONG)); // aligned for the records
    while (::GetFileInformationByHandleEx(folder, FileIdBothDirectoryInfo, room.data(), c_listRoom)) {
        const auto* record = reinterpret_cast<const BYTE*>(room.data());
        for (DWORD next = 1; next != 0; record += next) {
            const auto& info = *reinterpret_cast<const FILE_ID_BOTH_DIR_INFO*>(record);
            next = info.NextEntryOffset;
            CString name(info.FileName, static_cast<int>(info.FileNameLength / sizeof(wchar_t)));
            if (!IsDots(kx::View(name)))
                entries.push_back({std::move(name), info.FileAttributes});
        }
    }
    return ::GetLastError() == ERROR_NO_MORE_FILES;
}

/// Marks what is open for deletion, which happens when the handle closes.
bool DeleteByHandle(HANDLE entry, DWORD attributes) noexcept
{
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        FILE_BASIC_INFO basic = {}; // times of zero stay as they are
        basic.FileAttributes =
            (attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY)) | FILE_ATTRIBUTE_NORMAL;
        if (!::SetFileInformationByHandle(entry, FileBasicInfo, &basic, sizeof basic))
            return false;
    }
    FILE_DISPOSITION_INFO disposition = {};
    disposition.DeleteFile = TRUE;
    return ::SetFileInformationByHandle(entry, FileDispositionInfo, &disposition, sizeof disposition) !=
           FALSE;
}

ACCESS_MASK AccessToRemove(DWORD attributes) noexcept
{
    ACCESS_MASK access = DELETE | SYNCHRONIZE | FILE_READ_ATTRIBUTES;
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0)
        access |= FILE_LIST_DIRECTORY;
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0)
        access |= FILE_WRITE_ATTRIBUTES;
    return access;
}

/// The attributes of what is open; of a link, which was opened as such, the link's own.
bool ReadAttributes(HANDLE entry, DWORD& attributes) noexcept
{
    FILE_ATTRIBUTE_TAG_INFO info = {};
    if (!::GetFileInformationByHandleEx(entry, FileAttributeTagInfo, &info, sizeof info))
        return false;
    attributes = info.FileAttributes;
    return true;
}

/// Removes a tree depth first, without recursion in the code, which a deep tree could drive too far. A folder
/// stays open while what lies in it is removed.
class TreeRemover {
  public:
    explicit TreeRemover(const CString& folder) : _m_path(folder) {}

    DWORD Run()
    {
        _EnterRoot();
        while (!_m_levels.empty()) {
            if (_m_levels.back().entries.empty()) {
                _Leave();
                continue;
            }
            const HeldEntry entry = std::move(_m_levels.back().entries.back());
            _m_levels.back().entries.pop_back();
            _Remove(entry);
        }
        return _m_error.Get();
    }

  private:
    struct Level {
        CkxFileHandle folder;
        DWORD attributes;
        std::vector<HeldEntry> entries;
        int parentLength; ///< of _m_path without this level
    };

    void _EnterRoot()
    {
        const CString path = CkxPathConverter::ToSystem(_m_path);
        DWORD attributes = ::GetFileAttributesW(path);
        if (attributes == INVALID_FILE_ATTRIBUTES)
            return _Failed("GetFileAttributes", _m_path);
        CkxFileHandle root(::CreateFileW(
            path, AccessToRemove(attributes), FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
            OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
        if (!root || !_IsStill(root.Get(), attributes))
            return _Failed("CreateFile", _m_path);
        if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            ::SetLastError(ERROR_DIRECTORY);
            return _Failed("CreateFile", _m_path);
        }
        _Take(std::move(root), attributes, _m_path, _m_path.GetLength());
    }

    void _Remove(const HeldEntry& entry)
    {
        const CString path = Join(_m_path, entry.name);
        const bool folder = (entry.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        const ULONG options = FILE_OPEN_REPARSE_POINT | FILE_OPEN_FOR_BACKUP_INTENT |
                              FILE_SYNCHRONOUS_IO_NONALERT |
                              (folder ? FILE_DIRECTORY_FILE : FILE_NON_DIRECTORY_FILE);
        HANDLE opened = INVALID_HANDLE_VALUE;
        const NTSTATUS status = CkxNTAPI::OpenInFolder(_m_levels.back().folder.Get(), kx::View(entry.name),
                                                       AccessToRemove(entry.attributes), options, opened);
        CkxFileHandle held(opened);
        if (!NT_SUCCESS(status)) {
            ::SetLastError(CkxNTAPI::ErrorOf(status));
            return _Failed("NtOpenFile", path);
        }
        if (!_IsStill(held.Get(), entry.attributes))
            return _Failed("NtOpenFile", path);
        _Take(std::move(held), entry.attributes, path, _m_path.GetLength());
    }

    /// Whether what was opened is a link exactly if the list said so; the last error tells that it is not.
    static bool _IsStill(HANDLE entry, DWORD expected) noexcept
    {
        DWORD attributes = 0;
        if (!ReadAttributes(entry, attributes))
            return false;
        ::SetLastError(ERROR_REPARSE_TAG_MISMATCH);
        return ((attributes ^ expected) & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
    }

    /// Deletes a file or link that is open; a folder is entered first.
    void _Take(CkxFileHandle entry, DWORD attributes, const CString& path, int parentLength)
    {
        const bool enters =
            (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
        if (!enters)
            return _Delete(entry.Get(), attributes, path);
        Level level{std::move(entry), attributes, {}, parentLength};
        if (!ListHandle(level.folder.Get(), level.entries))
            _Failed("GetFileInformationByHandleEx", path);
        _m_levels.push_back(std::move(level));
        _m_path = path;
    }

    void _Leave()
    {
        const Level level = std::move(_m_levels.back());
        _m_levels.pop_back();
        _Delete(level.folder.Get(), level.attributes, _m_path);
        _m_path.ReleaseBuffer(level.parentLength); // cutting off needs no memory
    }

    void _Delete(HANDLE entry, DWORD attributes, const CString& path) noexcept
    {
        _m_error.Note(KX_FILE_CALL(DeleteByHandle(entry, attributes), "SetFileInformationByHandle", path));
    }

    void _Failed(const char* call, const CString& path) noexcept
    {
        _m_error.Note(KX_FILE_CALL(false, call, path));
    }

    CString _m_path; ///< of the deepest level
    std::vector<Level> _m_levels;
    FirstError _m_error;
};

} // namespace

DWORD CkxDirectoryTree::Enumerate(const CString& folder, const CString& pattern, CkxTreeDepth depth,
                                  const CkxTreeVisitor& visit)
{
    KXT_SCOPE("Enumerate");
    const CString wanted = pattern == L"*.*" ? CString(L"*") : pattern;
    FirstError errors;
    bool goOn = true;
    std::vector<CString> pending{folder};
    while (goOn && !pending.empty()) {
        const CString current = std::move(pending.back());
        pending.pop_back();
        const int nameStart = Join(current, L"").GetLength();
        errors.Note(ListFolder(current, [&](const CkxTreeEntry& entry) {
            if (MatchesPattern(kx::View(entry.path).substr(static_cast<std::size_t>(nameStart)),
                               kx::View(wanted)))
                goOn = visit(entry);
            if (goOn && depth == CkxTreeDepth::Tree && entry.info.IsDirectory() &&
                !entry.info.IsReparsePoint())
                pending.push_back(entry.path);
            return goOn;
        }));
    }
    return errors.Get();
}

DWORD CkxDirectoryTree::Copy(const CString& source, const CString& target, bool replace)
{
    KXT_SCOPE("Copy");
    FirstError errors;
    std::vector<CkxTreeEntry> entries;
    errors.Note(Enumerate(source, L"*", CkxTreeDepth::Tree, [&](const CkxTreeEntry& entry) {
        entries.push_back(entry);
        return true;
    }));
    errors.Note(CkxDirectory(target).CreateAll());
    const int nameStart = Join(source, L"").GetLength();
    for (const CkxTreeEntry& entry : entries) {
        const CString copy = Join(target, entry.path.Mid(nameStart));
        if (entry.info.IsReparsePoint()) {
            ::SetLastError(ERROR_NOT_SUPPORTED);
            errors.Note(KX_FILE_CALL(false, "CopyFile", entry.path, copy));
        } else if (entry.info.IsDirectory()) {
            errors.Note(CkxDirectory(copy).CreateAll());
        } else {
            errors.Note(CkxFile(entry.path).Copy(copy, replace));
        }
    }
    return errors.Get();
}

DWORD CkxDirectoryTree::Remove(const CString& folder)
{
    KXT_SCOPE("Remove");
    return TreeRemover(folder).Run();
}
