#include "Agent/engine/kx_gpext/stable_folder.h"

#include "Agent/engine/kx_gpext/kx_gpext.h"
#include "Common_CPP/util/unique_handle.h"
#include "Common_CPP/util/util.h"

#include <atomic>

namespace {

constexpr const wchar_t* kGlobalRoot = L"\\\\?\\GLOBALROOT";

bool BeginsWithDriveLetter(const CString& path)
{
    return path.GetLength() >= 2 && path[1] == L':';
}

// "\Device\HarddiskVolume1\..." for an open folder; empty when the system does not say.
CString DevicePath(HANDLE folder)
{
    CString path;
    DWORD room = 0;
    DWORD length = MAX_PATH; // nearly always enough, so that the system is asked once
    while (length > room) {
        room = length;
        length =
            ::GetFinalPathNameByHandleW(folder, path.GetBuffer(static_cast<int>(room)), room, VOLUME_NAME_NT);
    }
    path.ReleaseBuffer(static_cast<int>(length));
    return path;
}

// The folder by its device; empty where it has no such name.
CString DeviceFolder(const CString& folder)
{
    const CkxFileHandle handle(::CreateFileW(folder, FILE_READ_ATTRIBUTES,
                                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                             OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    const CString device = handle ? DevicePath(handle.Get()) : CString();
    return device.IsEmpty() ? CString() : kGlobalRoot + device;
}

// Whether paths by device can be opened at all; some systems only tell them. What is asked about is this
// module's folder, which is there: that no path leads to it by its device is then the system's answer. Any
// other failure may pass, and does not count.
bool LacksDeviceNames()
{
    CString module;
    if (!CkxUtil::GetModuleDir(module, KxModule()))
        return false;
    const CString stable = DeviceFolder(module);
    if (stable.IsEmpty() || CkxUtil::FileExists(stable))
        return false;
    const DWORD error = ::GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND || error == ERROR_INVALID_NAME ||
           error == ERROR_BAD_DEV_TYPE;
}

// Asked once a process; two threads that ask at once get the same answer.
bool HasDeviceNames()
{
    enum Answer : int { kUnknown, kYes, kNo };

    static constinit std::atomic<int> answer{kUnknown}; // no guard, which would keep an event for itself
    if (answer == kUnknown)
        answer = LacksDeviceNames() ? kNo : kYes;
    return answer == kYes;
}

} // namespace

CString StableFolder(const CString& folder)
{
    if (!BeginsWithDriveLetter(folder) || !HasDeviceNames())
        return folder;
    const CString stable = DeviceFolder(folder);
    return !stable.IsEmpty() && CkxUtil::FileExists(stable) ? stable : folder;
}
