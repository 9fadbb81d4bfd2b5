// A registry extension of Group Policy Preferences that does as the settings say: see scripted_targeting.h.

#include "Tests/support/scripted_targeting.h"

#include <windows.h>

#include <userenv.h>

#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>

namespace {

constexpr const wchar_t* kMarkerKey = L"software\\korvex\\agent\\temp";
constexpr DWORD kLateMs = 20;

TargetingCalls g_calls;

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

DWORD Answer(HANDLE token)
{
    if (Says("answer=\"stay\""))
        ::SetThreadToken(nullptr, token);
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
    g_calls.staleMarkers += ScriptedTargeting::IsMarkerThere();
    (void)::_snwprintf(g_calls.call, std::size(g_calls.call) - 1, c_targetingCall, flags, token, keyRoot,
                       deleted, static_cast<unsigned long long>(handle), *abort, callback, *status,
                       changed->dwOptions, changed->dwVersion, changed->lpDSPath, changed->lpFileSysPath,
                       changed->lpDisplayName, changed->szGPOName, changed->GPOLink, changed->pNext,
                       changed->pPrev, changed->lpExtensions, changed->lpLink);
    ReadSettings(changed->lpFileSysPath);
    const DWORD answer = Answer(token);
    --g_calls.running;
    return answer;
}
