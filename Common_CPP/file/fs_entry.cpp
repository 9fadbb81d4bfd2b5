#include "Common_CPP/file/fs_entry.h"

#include "Common_CPP/file/file_call.h"
#include "Common_CPP/path_converter/path_converter.h"
#include "Common_CPP/util/unique_handle.h"

#include <utility>

KXT_CLASS("CkxFSEntry");

namespace {

CkxFSInfo InfoOf(const WIN32_FILE_ATTRIBUTE_DATA& data) noexcept
{
    CkxFSInfo info;
    info.attributes = data.dwFileAttributes;
    info.size = std::uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow;
    info.times = {CkxTime(data.ftCreationTime), CkxTime(data.ftLastAccessTime),
                  CkxTime(data.ftLastWriteTime)};
    return info;
}

/// Errors that just mean that nothing of the name is there.
bool IsAbsence(DWORD error) noexcept
{
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND || error == ERROR_INVALID_NAME;
}

} // namespace

CkxFSEntry::CkxFSEntry(const CString& path) : _m_path(path), _m_systemPath(CkxPathConverter::ToSystem(path))
{
}

bool CkxFSEntry::Exists() const noexcept
{
    if (::GetFileAttributesW(_m_systemPath) != INVALID_FILE_ATTRIBUTES)
        return true;
    if (!IsAbsence(::GetLastError())) {
        KXT_SCOPE("Exists");
        (void)KX_FILE_CALL(false, "GetFileAttributes", _m_path);
    }
    return false;
}

DWORD CkxFSEntry::GetInfo(CkxFSInfo& info) const noexcept
{
    KXT_SCOPE("GetInfo");
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    const DWORD error =
        KX_FILE_CALL(::GetFileAttributesExW(_m_systemPath, GetFileExInfoStandard, &data) != FALSE,
                     "GetFileAttributesEx", _m_path);
    if (error == ERROR_SUCCESS)
        info = InfoOf(data);
    return error;
}

DWORD CkxFSEntry::GetAttributes(DWORD& attributes) const noexcept
{
    CkxFSInfo info;
    const DWORD error = GetInfo(info);
    if (error == ERROR_SUCCESS)
        attributes = info.attributes;
    return error;
}

DWORD CkxFSEntry::SetAttributes(DWORD attributes) const noexcept
{
    KXT_SCOPE("SetAttributes");
    return KX_FILE_CALL(::SetFileAttributesW(_m_systemPath, attributes) != FALSE, "SetFileAttributes",
                        _m_path);
}

DWORD CkxFSEntry::GetSize(std::uint64_t& size) const noexcept
{
    CkxFSInfo info;
    const DWORD error = GetInfo(info);
    if (error == ERROR_SUCCESS)
        size = info.size;
    return error;
}

DWORD CkxFSEntry::GetTimes(CkxFSTimes& times) const noexcept
{
    CkxFSInfo info;
    const DWORD error = GetInfo(info);
    if (error == ERROR_SUCCESS)
        times = info.times;
    return error;
}

DWORD CkxFSEntry::SetTimes(const CkxFSTimes& times) const noexcept
{
    KXT_SCOPE("SetTimes");
    // Backup semantics open folders too.
    const CkxFileHandle entry(::CreateFileW(
        _m_systemPath, FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!entry)
        return KX_FILE_CALL(false, "CreateFile", _m_path);
    const FILETIME created = times.created.ToFileTime();
    const FILETIME accessed = times.accessed.ToFileTime();
    const FILETIME written = times.written.ToFileTime();
    return KX_FILE_CALL(::SetFileTime(entry.Get(), &created, &accessed, &written) != FALSE, "SetFileTime",
                        _m_path);
}

DWORD CkxFSEntry::Rename(const CString& newPath, bool replace)
{
    KXT_SCOPE("Rename");
    CkxFSEntry renamed(newPath);
    // A file may change volumes, which is a copy that must have reached the disk before the original goes.
    const DWORD flags =
        MOVEFILE_COPY_ALLOWED | MOVEFILE_WRITE_THROUGH | (replace ? MOVEFILE_REPLACE_EXISTING : 0u);
    const DWORD error = KX_FILE_CALL(::MoveFileExW(_m_systemPath, renamed._m_systemPath, flags) != FALSE,
                                     "MoveFileEx", _m_path, newPath);
    if (error == ERROR_SUCCESS) {
        _m_path = std::move(renamed._m_path);
        _m_systemPath = std::move(renamed._m_systemPath);
    }
    return error;
}

DWORD CkxFSEntry::Delete() const noexcept
{
    KXT_SCOPE("Delete");
    const DWORD attributes = ::GetFileAttributesW(_m_systemPath);
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return KX_FILE_CALL(false, "GetFileAttributes", _m_path);
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return KX_FILE_CALL(::RemoveDirectoryW(_m_systemPath) != FALSE, "RemoveDirectory", _m_path);
    return KX_FILE_CALL(::DeleteFileW(_m_systemPath) != FALSE, "DeleteFile", _m_path);
}
