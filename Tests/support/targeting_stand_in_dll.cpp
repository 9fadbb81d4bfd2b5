// A registry extension of Group Policy Preferences that does as the settings say: see targeting_stand_in.h.

#include "Tests/support/targeting_stand_in.h"

#include <windows.h>

#include <userenv.h>

#include <cstring>
#include <cwchar>
#include <string>

namespace {

constexpr const wchar_t* kMarkerKey = L"software\\korvex\\agent\\temp";
constexpr DWORD kLateMs = 20;

TargetingCalls g_calls;

template <std::size_t Room>
void Keep(wchar_t (&place)[Room], const wchar_t* text)
{
    std::wcsncpy(place, text ? text : L"<NULL>", Room - 1);
}

// The settings file, as the extension would read it: with others still able to.
void ReadSettings(const wchar_t* folder)
{
    const std::wstring path = std::wstring(folder) + L"\\Preferences\\Registry\\Registry.xml";
    const CkxFileHandle file(
        ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    DWORD read = 0;
    std::memset(g_calls.settings, 0, sizeof g_calls.settings);
    (void)::ReadFile(file.Get(), g_calls.settings, sizeof g_calls.settings - 1, &read, nullptr);
}

bool Says(const char* answer)
{
    return std::strstr(g_calls.settings, answer) != nullptr;
}

void WriteMarker()
{
    ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, kMarkerKey, L"ILTTest", REG_SZ, L"ILTTest", 8 * sizeof(wchar_t));
}

DWORD Answer()
{
    if (Says("answer=\"break\""))
        ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kMarkerKey);
    if (!Says("answer=\"match\"") && !Says("answer=\"fail\""))
        return ERROR_SUCCESS;
    WriteMarker();
    ::Sleep(kLateMs);
    return Says("answer=\"fail\"") ? ERROR_GEN_FAILURE : ERROR_SUCCESS;
}

} // namespace

extern "C" __declspec(dllexport) TargetingCalls* Calls()
{
    return &g_calls;
}

extern "C" __declspec(dllexport) DWORD CALLBACK
    ProcessGroupPolicyEx(DWORD flags, HANDLE token, HKEY keyRoot, PGROUP_POLICY_OBJECTW deleted,
                         PGROUP_POLICY_OBJECTW changed, ASYNCCOMPLETIONHANDLE handle, BOOL* abort,
                         PFNSTATUSMESSAGECALLBACK callback, IWbemServices* /*services*/, HRESULT* status)
{
    ++g_calls.calls;
    g_calls.overlaps += g_calls.running++ != 0;
    g_calls.staleMarkers += TargetingStandIn::IsMarkerThere();
    g_calls.flags = flags;
    g_calls.token = token;
    g_calls.keyRoot = keyRoot;
    g_calls.deletedList = deleted != nullptr;
    g_calls.restIsEmpty = !changed->pNext && !changed->pPrev && handle == 0 && abort && !*abort &&
                          !callback && status && changed->dwOptions == 0;
    g_calls.version = changed->dwVersion;
    g_calls.link = changed->GPOLink;
    Keep(g_calls.gpoName, changed->szGPOName);
    Keep(g_calls.displayName, changed->lpDisplayName);
    Keep(g_calls.directoryPath, changed->lpDSPath);
    Keep(g_calls.linkPath, changed->lpLink);
    Keep(g_calls.extensions, changed->lpExtensions);
    Keep(g_calls.folder, changed->lpFileSysPath);
    ReadSettings(changed->lpFileSysPath);
    const DWORD answer = Answer();
    --g_calls.running;
    return answer;
}
