#include "Common_CPP/path_converter/hard_links.h"

#include "Common_CPP/ntapi/ntapi.h"
#include "Common_CPP/path_converter/path_converter.h"
#include "Common_CPP/trace/trace.h"
#include "Common_CPP/util/unique_handle.h"
#include "Common_CPP/util/util.h"

#include <utility>

KXT_CLASS("CkxHardLinks");

namespace {

using FindFirstFileNameFunction = HANDLE(WINAPI*)(LPCWSTR, DWORD, LPDWORD, PWSTR);
using FindNextFileNameFunction = BOOL(WINAPI*)(HANDLE, LPDWORD, PWSTR);

// Not every system has these, and importing them would keep the module from loading there.
constexpr const wchar_t* c_module = L"kernel32.dll";

/// A name on a volume is at most this long, NUL included.
constexpr DWORD c_longestName = 32768;

DWORD ReportFailed(const char* call, const CString& path, DWORD error)
{
    KXT_SCOPE("Find");
    KXT_OUT(KXT_ERROR, "ERROR: " << call << "(" << path << ") failed. LastError=" << error);
    return error;
}

/// The path that the names of the file's volume, which begin with "\", are to be put behind.
DWORD FindVolume(const CString& path, CString& volume)
{
    const int room = path.GetLength() + MAX_PATH;
    CString found;
    if (!::GetVolumePathNameW(path, found.GetBuffer(room), static_cast<DWORD>(room)))
        return ::GetLastError();
    found.ReleaseBuffer();
    volume = found.TrimRight(L'\\');
    return ERROR_SUCCESS;
}

bool IsUnsupported(DWORD error) noexcept
{
    return error == ERROR_NOT_SUPPORTED || error == ERROR_INVALID_FUNCTION ||
           error == ERROR_CALL_NOT_IMPLEMENTED;
}

/// Lists the names as the volume has them.
DWORD ListNames(const CString& path, std::vector<CString>& names)
{
    const auto first = CkxNTAPI::Find<FindFirstFileNameFunction>(c_module, "FindFirstFileNameW");
    const auto next = CkxNTAPI::Find<FindNextFileNameFunction>(c_module, "FindNextFileNameW");
    if (first == nullptr || next == nullptr)
        return ERROR_NOT_SUPPORTED;
    std::vector<wchar_t> name(c_longestName); // room for any, so that no name needs asking twice
    DWORD length = c_longestName;
    const CkxFindHandle search(first(path, 0, &length, name.data()));
    if (!search)
        return ::GetLastError();
    do {
        names.emplace_back(name.data());
        length = c_longestName;
    } while (next(search.Get(), &length, name.data()));
    const DWORD error = ::GetLastError();
    return error == ERROR_HANDLE_EOF ? ERROR_SUCCESS : error;
}

} // namespace

DWORD CkxHardLinks::Find(const CString& path, std::vector<CString>& names)
{
    CString full;
    if (const DWORD error = CkxPathConverter::ToFull(path, full); error != ERROR_SUCCESS)
        return error;
    const CString system = CkxPathConverter::ToSystem(full);
    if (!CkxUtil::FileExists(system))
        return ReportFailed("GetFileAttributes", path, ::GetLastError());
    std::vector<CString> found;
    DWORD error = ListNames(system, found);
    if (IsUnsupported(error)) {
        found.assign(1, full);
        names = std::move(found);
        return ReportFailed("FindFirstFileName", path, ERROR_NOT_SUPPORTED);
    }
    if (error != ERROR_SUCCESS)
        return ReportFailed("FindFirstFileName", path, error);
    CString volume;
    if (error = FindVolume(system, volume); error != ERROR_SUCCESS)
        return ReportFailed("GetVolumePathName", path, error);
    for (CString& name : found)
        name = volume + name;
    names = std::move(found);
    return ERROR_SUCCESS;
}
