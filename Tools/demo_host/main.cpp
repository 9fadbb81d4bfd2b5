// One refresh, machine and user, of the sample GPOs: loads the shipped extension, plays the Group Policy
// engine, the agent and WMI around it, and shows what the agent receives and what is recorded. Item-level
// targeting is answered by the stand-in beside the extension, where the platform has nothing of its own.
//
//     kx_demo.exe <kx_gpext.dll> <folder of sample GPOs>

#include "Common_CPP/util/utf8.h"
#include "Tools/demo_host/sample_gpos.h"
#include "Tools/host/agent_listener.h"
#include "Tools/host/extension_module.h"
#include "Tools/host/update_message.h"
#include "Tools/rsop_store/rsop_store.h"
#include "Tools/rsop_store/swbem_date_time.h"
#include "Tools/targeting/targeting_registration.h"

#include <objbase.h>

#include <cstdio>
#include <string>

namespace {

constexpr DWORD kMessageTimeoutMs = 10000;

enum ExitCode { kDone = 0, kRefreshFailed = 1, kUsage = 2, kNoAgent = 3 };

std::string Utf8(std::wstring_view wide)
{
    std::string text;
    return kx::WideToUtf8(wide, text) ? text : "?";
}

// The text of a recorded value; long ones are cut.
std::string Shown(const CComVariant& value)
{
    constexpr std::size_t most = 60;
    CComVariant text;
    if (value.vt == VT_NULL || FAILED(text.ChangeType(VT_BSTR, &value)))
        return "<null>";
    const std::wstring_view whole(text.bstrVal, ::SysStringLen(text.bstrVal));
    return Utf8(whole.substr(0, most)) + (whole.size() > most ? "..." : "");
}

void PrintRecorded(const CkxRsopStore& store)
{
    std::printf("\n   Recorded in WMI:\n");
    for (const CkxRsopStore::Instance& instance : store.Instances()) {
        std::printf("\n   %s\n", Utf8(instance.className).c_str());
        for (const auto& [name, value] : instance.properties)
            std::printf("     %-12s %s\n", Utf8(name).c_str(), Shown(value).c_str());
    }
}

struct Scope {
    const char* name;
    const wchar_t* folder;
    DWORD flags;
};

constexpr Scope kScopes[] = {{"machine", L"Machine", GPO_INFO_FLAG_MACHINE}, {"user", L"User", 0}};

// One call of the engine, which records into a namespace of its own; true when the agent got a whole
// document.
bool Refresh(const Scope& scope, const std::wstring& samples, const CkxExtensionModule& extension,
             CkxAgentListener& agent)
{
    CkxEngineList changed;
    for (const CkxListedGpo& gpo : FindSampleGpos(samples, scope.folder))
        changed.Add(gpo);
    const CkxHandle token = MakeUserToken();
    CkxRsopStore store;
    const CComPtr<IWbemServices> services = store.Services();
    BOOL abort = FALSE;
    const DWORD result =
        extension.ProcessGroupPolicyEx()(scope.flags, token.Get(), HKEY_LOCAL_MACHINE, nullptr,
                                         changed.Head(), 0, &abort, nullptr, services, nullptr);
    std::printf("\n== Refresh, %s scope: ProcessGroupPolicyEx returned %lu\n", scope.name, result);
    const auto message = agent.WaitForMessage(kMessageTimeoutMs);
    const auto document = message ? kx::DecodeUpdateMessage(*message) : std::nullopt;
    if (!document) {
        std::printf("   The agent received no whole document.\n");
        return false;
    }
    std::printf("   The agent received %zu bytes:\n\n", message->size());
    std::printf("%s\n", Utf8(std::wstring(document->begin(), document->end())).c_str());
    PrintRecorded(store);
    return result == ERROR_SUCCESS;
}

bool RefreshAll(const std::wstring& extensionPath, const std::wstring& samples,
                const CkxExtensionModule& extension, CkxAgentListener& agent)
{
    const CkxDateTimeClass dateTimes;
    CkxTargetingRegistration targeting;
    const std::wstring folder = extensionPath.substr(0, extensionPath.find_last_of(L"\\/") + 1);
    if (targeting.Register(folder + L"kx_targeting.dll") != ERROR_SUCCESS)
        std::printf("   Targeting: %s\n", Utf8(targeting.Reason()).c_str());
    bool good = true;
    for (const Scope& scope : kScopes)
        good = Refresh(scope, samples, extension, agent) && good;
    return good;
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count != 3) {
        std::fprintf(stderr, "usage: kx_demo <kx_gpext.dll> <folder of sample GPOs>\n");
        return kUsage;
    }
    if (FAILED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)))
        return kRefreshFailed;
    CkxAgentListener agent;
    if (const DWORD error = agent.Start(); error != ERROR_SUCCESS) {
        std::fprintf(stderr, "kx_demo: cannot listen as the agent, error %lu\n", error);
        return kNoAgent;
    }
    int exitCode = kRefreshFailed;
    {
        CkxExtensionModule extension;
        if (const DWORD error = extension.Load(arguments[1]); error != ERROR_SUCCESS)
            std::fprintf(stderr, "kx_demo: cannot load the extension, error %lu\n", error);
        else if (RefreshAll(arguments[1], arguments[2], extension, agent))
            exitCode = kDone;
    }
    agent.Stop();
    ::CoUninitialize();
    return exitCode;
}
