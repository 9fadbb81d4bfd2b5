#include "Common_CPP/util/read_file.h"

#include "Common_CPP/util/unique_handle.h"
#include "Common_CPP/util/wipe.h"

#include <limits>

namespace {

DWORD ReadExactly(HANDLE file, void* buffer, DWORD size)
{
    DWORD read = 0;
    if (!::ReadFile(file, buffer, size, &read, nullptr))
        return ::GetLastError();
    return read == size ? ERROR_SUCCESS : ERROR_HANDLE_EOF;
}

// The form of a path beyond MAX_PATH that the system opens; shorter paths stay as they are.
CString OpenablePath(const CString& path)
{
    if (path.GetLength() < MAX_PATH || path.Left(4) == L"\\\\?\\")
        return path;
    // In the long form the system takes every character as it stands: "/", "." and ".." go first.
    const DWORD room = ::GetFullPathNameW(path, 0, nullptr, nullptr);
    if (room == 0 || room > static_cast<DWORD>((std::numeric_limits<SHORT>::max)()))
        return path;
    CString full;
    const DWORD length = ::GetFullPathNameW(path, room, full.GetBuffer(static_cast<int>(room)), nullptr);
    full.ReleaseBuffer(length < room ? static_cast<int>(length) : 0);
    if (full.IsEmpty())
        return path;
    return full.Left(2) == L"\\\\" ? L"\\\\?\\UNC" + full.Mid(1) : L"\\\\?\\" + full;
}

} // namespace

DWORD ReadFileToVariant(const CString& path, CComVariant& bytes, FILETIME* written)
{
    // Shares everything: a file that somebody holds open must not fail a refresh.
    const CkxFileHandle file(::CreateFileW(OpenablePath(path), GENERIC_READ,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                           OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (!file)
        return ::GetLastError();
    LARGE_INTEGER size{};
    if (!::GetFileSizeEx(file.Get(), &size))
        return ::GetLastError();
    if (size.QuadPart > (std::numeric_limits<LONG>::max)())
        return ERROR_FILE_TOO_LARGE;
    const auto count = static_cast<DWORD>(size.QuadPart);
    CComVariant array;
    array.parray = ::SafeArrayCreateVector(VT_UI1, 0, count);
    if (!array.parray)
        return ERROR_OUTOFMEMORY;
    array.vt = VT_ARRAY | VT_UI1;
    if (const DWORD error = ReadExactly(file.Get(), array.parray->pvData, count); error != ERROR_SUCCESS) {
        kx::Wipe(array.parray->pvData, count); // what was read of it may be a secret
        return error;
    }
    if (FILETIME time{}; written && ::GetFileTime(file.Get(), nullptr, nullptr, &time))
        *written = time;
    bytes.Clear();
    bytes.Attach(&array);
    return ERROR_SUCCESS;
}
