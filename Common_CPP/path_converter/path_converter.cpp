#include "Common_CPP/path_converter/path_converter.h"

#include "Common_CPP/path_converter/path_forms.h"
#include "Common_CPP/trace/trace.h"
#include "Common_CPP/util/util.h"

#include <string>
#include <vector>

KXT_CLASS("CkxPathConverter");

namespace {

/// The shortest limit of a system call, that for a new folder, which must have room for an 8.3 name.
constexpr int c_safeLength = MAX_PATH - 12;

/// Longer than any object name of the system.
constexpr DWORD c_longestTarget = 32768;

/// The DOS devices of the thread's logon session.
class SystemDevices final : public kx::DosDeviceTable<wchar_t> {
  public:
    [[nodiscard]] bool FindTarget(std::wstring_view name, std::wstring& target) const override
    {
        const std::wstring device(name);
        for (DWORD size = 512; size <= c_longestTarget; size *= 8) {
            std::vector<wchar_t> names(size);
            if (::QueryDosDeviceW(device.c_str(), names.data(), size) != 0) {
                target.assign(names.data()); // the first is the one in force
                return true;
            }
            if (::GetLastError() != ERROR_INSUFFICIENT_BUFFER)
                break;
        }
        return false;
    }
};

DWORD ErrorOf(kx::PathResult result) noexcept
{
    switch (result) {
    case kx::PathResult::Done:
        return ERROR_SUCCESS;
    case kx::PathResult::UnknownDevice:
        return ERROR_BAD_DEVICE;
    case kx::PathResult::NoSuchForm:
        return ERROR_NOT_CONNECTED;
    case kx::PathResult::EndlessLinks:
        return ERROR_CANT_RESOLVE_FILENAME;
    default:
        return ERROR_BAD_PATHNAME;
    }
}

using Conversion = kx::PathResult (*)(std::wstring_view, const kx::DosDeviceTable<wchar_t>&, std::wstring&);

DWORD Convert(const char* method, Conversion conversion, const CString& path, CString& converted)
{
    CString full;
    if (const DWORD error = CkxPathConverter::ToFull(path, full); error != ERROR_SUCCESS)
        return error;
    std::wstring result;
    const DWORD error = ErrorOf(conversion(kx::View(full), SystemDevices(), result));
    if (error == ERROR_SUCCESS) {
        converted.SetString(result.c_str(), static_cast<int>(result.size()));
        return ERROR_SUCCESS;
    }
    KXT_SCOPE(method);
    KXT_OUT(KXT_ERROR, "ERROR: " << method << "(" << path << ") failed. LastError=" << error);
    return error;
}

/// Whether the system takes the path as it stands.
bool IsLiteral(const kx::PathParts<wchar_t>& parts) noexcept
{
    return parts.prefix != kx::PathPrefix::None && parts.prefix != kx::PathPrefix::Local;
}

CString Verbatim(const CString& path)
{
    const std::wstring verbatim = kx::VerbatimForm(kx::View(path));
    return {verbatim.c_str(), static_cast<int>(verbatim.size())};
}

/// Asks the system to complete a path. Returns a Windows error.
DWORD Complete(const CString& path, CString& full)
{
    DWORD room = MAX_PATH;
    for (;;) {
        CString attempt;
        const DWORD length =
            ::GetFullPathNameW(path, room, attempt.GetBuffer(static_cast<int>(room)), nullptr);
        if (length == 0)
            return ::GetLastError();
        if (length < room) {
            attempt.ReleaseBuffer(static_cast<int>(length));
            full = std::move(attempt);
            return ERROR_SUCCESS;
        }
        room = length + 1; // the current folder may have changed meanwhile: then once more
    }
}

} // namespace

DWORD CkxPathConverter::ToNt(const CString& path, CString& ntPath)
{
    return Convert("ToNt", kx::PathToNt<wchar_t>, path, ntPath);
}

DWORD CkxPathConverter::ToDos(const CString& path, CString& dosPath)
{
    return Convert("ToDos", kx::PathToDos<wchar_t>, path, dosPath);
}

DWORD CkxPathConverter::ToUnc(const CString& path, CString& uncPath)
{
    return Convert("ToUnc", kx::PathToUnc<wchar_t>, path, uncPath);
}

DWORD CkxPathConverter::ToFull(const CString& path, CString& fullPath)
{
    if (IsLiteral(kx::ParsePath(kx::View(path)))) {
        fullPath = path;
        return ERROR_SUCCESS;
    }
    const DWORD error = path.IsEmpty() ? ERROR_BAD_PATHNAME : Complete(path, fullPath);
    if (error != ERROR_SUCCESS) {
        KXT_SCOPE("ToFull");
        KXT_OUT(KXT_ERROR, "ERROR: GetFullPathName(" << path << ") failed. LastError=" << error);
    }
    return error;
}

CString CkxPathConverter::ToSystem(const CString& path)
{
    if (IsLiteral(kx::ParsePath(kx::View(path))))
        return Verbatim(path);
    CString full;
    if (path.GetLength() < c_safeLength || ToFull(path, full) != ERROR_SUCCESS)
        return path;
    return Verbatim(full);
}
