// One refresh whose update a program of others receives: makes the agent's event, which announces that an
// agent is there, but not its pipe, and calls the extension as the engine would.
//
//     kx_refresh_once.exe <kx_gpext.dll> machine|user <folder of a GPO>...
//
// Prints what the call returned and whether the update was announced. A GPO's folder is named by its GUID,
// the folder above it by its display name.

#include "Tools/host/engine_lists.h"
#include "Tools/host/extension_module.h"

#include <objbase.h>

#include <cstdio>
#include <span>
#include <string>
#include <string_view>

namespace {

enum ExitCode { kDone = 0, kRefreshFailed = 1, kUsage = 2, kNoEvent = 3 };

struct Scope {
    const wchar_t* folder;
    DWORD flags;
};

std::wstring_view LastPart(std::wstring_view path)
{
    return path.substr(path.find_last_of(L'\\') + 1);
}

CkxListedGpo ListedGpo(std::wstring_view folder, const Scope& scope)
{
    CkxListedGpo gpo;
    gpo.name = LastPart(folder);
    gpo.displayName = LastPart(folder.substr(0, folder.size() - gpo.name.size() - 1));
    gpo.folder = std::wstring(folder).append(L"\\").append(scope.folder);
    return gpo;
}

DWORD Refresh(const CkxExtensionModule& extension, const Scope& scope, std::span<wchar_t*> folders)
{
    CkxEngineList changed;
    for (const wchar_t* folder : folders)
        changed.Add(ListedGpo(folder, scope));
    const CkxHandle token = MakeUserToken();
    BOOL abort = FALSE;
    return extension.ProcessGroupPolicyEx()(scope.flags, token.Get(), HKEY_LOCAL_MACHINE, nullptr,
                                            changed.Head(), 0, &abort, nullptr, nullptr, nullptr);
}

int Run(std::span<wchar_t*> arguments, HANDLE event)
{
    const bool isMachine = std::wstring_view(arguments[1]) == L"machine";
    const Scope scope = isMachine ? Scope{L"Machine", GPO_INFO_FLAG_MACHINE} : Scope{L"User", 0};
    CkxExtensionModule extension;
    if (const DWORD error = extension.Load(arguments[0]); error != ERROR_SUCCESS) {
        std::fprintf(stderr, "kx_refresh_once: cannot load the extension, error %lu\n", error);
        return kRefreshFailed;
    }
    const DWORD result = Refresh(extension, scope, arguments.subspan(2));
    const bool announced = ::WaitForSingleObject(event, 0) == WAIT_OBJECT_0;
    std::printf("result %lu, announced %s\n", result, announced ? "yes" : "no");
    return result == ERROR_SUCCESS && announced ? kDone : kRefreshFailed;
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count < 4) {
        std::fprintf(stderr, "usage: kx_refresh_once <kx_gpext.dll> machine|user <folder of a GPO>...\n");
        return kUsage;
    }
    const CkxHandle event(::CreateEventW(nullptr, FALSE, FALSE, L"Global\\KxGroupPolicyUpdate"));
    if (!event || ::GetLastError() == ERROR_ALREADY_EXISTS) {
        std::fprintf(stderr, "kx_refresh_once: an agent is there already, or its event cannot be made\n");
        return kNoEvent;
    }
    if (FAILED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)))
        return kRefreshFailed;
    const int exitCode = Run({arguments + 1, static_cast<std::size_t>(count - 1)}, event.Get());
    ::CoUninitialize();
    return exitCode;
}
