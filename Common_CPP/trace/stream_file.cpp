#include "Common_CPP/trace/stream_file.h"

#include <utility>

namespace {

// What the file behind the handle is; an error when it is no plain file with a single name.
DWORD CheckPlainFile(HANDLE file, std::uint64_t& size) noexcept
{
    BY_HANDLE_FILE_INFORMATION facts{};
    if (!::GetFileInformationByHandle(file, &facts))
        return ::GetLastError();
    if ((facts.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 || facts.nNumberOfLinks > 1)
        return ERROR_CANT_ACCESS_FILE;
    size = (std::uint64_t{facts.nFileSizeHigh} << 32) | facts.nFileSizeLow;
    return ERROR_SUCCESS;
}

// Deletes the file, under another name if possible: one that somebody holds open keeps its name, on some
// systems, until he lets go.
void Remove(const CString& path)
{
    CString aside;
    aside.Format(L"%ls.%lu-%llu", path.GetString(), ::GetCurrentProcessId(), ::GetTickCount64());
    (void)::DeleteFileW(::MoveFileW(path, aside) ? aside : path);
}

} // namespace

DWORD filebuf::Open(const CString& path, bool truncate)
{
    CString kept = path; // before anything that cannot be undone
    if (truncate) {
        if (path == _m_path)
            Close();
        Remove(path); // where that fails, the old lines stay and the new ones follow them
    }
    CkxFileHandle file(::CreateFileW(path, FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                     OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT,
                                     nullptr));
    if (!file)
        return ::GetLastError();
    std::uint64_t size = 0;
    if (const DWORD error = CheckPlainFile(file.Get(), size); error != ERROR_SUCCESS)
        return error;
    _m_file = std::move(file);
    _m_path = std::move(kept);
    _m_size = size;
    _m_askedAt = size;
    return ERROR_SUCCESS;
}

DWORD filebuf::Reopen(bool truncate)
{
    return Open(CString(_m_path), truncate);
}

bool filebuf::IsStillAtItsPath() const noexcept
{
    const CkxFileHandle there(::CreateFileW(_m_path, FILE_READ_ATTRIBUTES,
                                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                            OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    BY_HANDLE_FILE_INFORMATION ours{};
    BY_HANDLE_FILE_INFORMATION theirs{};
    return there && ::GetFileInformationByHandle(_m_file.Get(), &ours) &&
           ::GetFileInformationByHandle(there.Get(), &theirs) && ours.nFileIndexLow == theirs.nFileIndexLow &&
           ours.nFileIndexHigh == theirs.nFileIndexHigh &&
           ours.dwVolumeSerialNumber == theirs.dwVolumeSerialNumber;
}

std::uint64_t filebuf::EstimatedSize() noexcept
{
    constexpr std::uint64_t askEvery = std::uint64_t{16} * 1024;
    LARGE_INTEGER size{};
    if (_m_size - _m_askedAt >= askEvery && ::GetFileSizeEx(_m_file.Get(), &size)) {
        _m_size = static_cast<std::uint64_t>(size.QuadPart);
        _m_askedAt = _m_size;
    }
    return _m_size;
}

bool filebuf::Write(std::string_view text) noexcept
{
    DWORD written = 0;
    if (!::WriteFile(_m_file.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr))
        return false;
    _m_size += written;
    return written == text.size();
}
