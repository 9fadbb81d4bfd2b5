#include "Agent/engine/kx_gpext/stable_folder.h"

#include "Common_CPP/util/unique_handle.h"
#include "Common_CPP/util/util.h"

namespace {

constexpr const wchar_t* kGlobalRoot = L"\\\\?\\GLOBALROOT";

bool BeginsWithDriveLetter(const CString& path)
{
    return path.GetLength() >= 2 && path[1] == L':';
}

// "\Device\HarddiskVolume1\..." for an open folder; empty when the system does not say.
CString DevicePath(HANDLE folder)
{
    const DWORD size = ::GetFinalPathNameByHandleW(folder, nullptr, 0, VOLUME_NAME_NT);
    if (size == 0)
        return {};
    CString path;
    const DWORD length =
        ::GetFinalPathNameByHandleW(folder, path.GetBuffer(static_cast<int>(size)), size, VOLUME_NAME_NT);
    path.ReleaseBuffer(length < size ? static_cast<int>(length) : 0);
    return path;
}

} // namespace

CString StableFolder(const CString& folder)
{
    if (!BeginsWithDriveLetter(folder))
        return folder;
    const CkxFileHandle handle(::CreateFileW(folder, FILE_READ_ATTRIBUTES,
                                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                             OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!handle)
        return folder;
    const CString device = DevicePath(handle.Get());
    const CString stable = kGlobalRoot + device;
    return !device.IsEmpty() && CkxUtil::FileExists(stable) ? stable : folder;
}
