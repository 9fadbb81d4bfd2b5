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

} // namespace

DWORD filebuf::Open(const CString& path, bool truncate)
{
    CString kept = path; // before anything that cannot be undone
    if (truncate && !::DeleteFileW(path)) {
        const DWORD error = ::GetLastError();
        if (error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND)
            return error;
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
    return ERROR_SUCCESS;
}

bool filebuf::Write(std::string_view text) noexcept
{
    DWORD written = 0;
    if (!::WriteFile(_m_file.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr))
        return false;
    _m_size += written;
    return written == text.size();
}
