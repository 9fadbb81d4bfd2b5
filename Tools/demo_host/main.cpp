// One refresh, machine and user, of the sample GPOs: loads the shipped extension, plays the Group Policy
// engine and the agent around it, and shows what the agent receives.
//
//     kx_demo.exe <kx_gpext.dll> <folder of sample GPOs>

#include "Common_CPP/util/utf8.h"
#include "Tools/demo_host/sample_gpos.h"
#include "Tools/host/agent_listener.h"
#include "Tools/host/extension_module.h"
#include "Tools/host/update_message.h"

#include <objbase.h>

#include <cstdio>
#include <string>

namespace {

constexpr DWORD kMessageTimeoutMs = 10000;

enum ExitCode { kDone = 0, kRefreshFailed = 1, kUsage = 2, kNoAgent = 3 };

void PrintDocument(const std::u16string& document)
{
    std::string text;
    const std::wstring wide(document.begin(), document.end());
    if (kx::WideToUtf8(wide, text))
        std::printf("%s\n", text.c_str());
}

struct Scope {
    const char* name;
    const wchar_t* folder;
    DWORD flags;
};

constexpr Scope kScopes[] = {{"machine", L"Machine", GPO_INFO_FLAG_MACHINE}, {"user", L"User", 0}};

// One call of the engine; true when the agent got a whole document.
bool Refresh(const Scope& scope, const std::wstring& samples, const CkxExtensionModule& extension,
             CkxAgentListener& agent)
{
    CkxEngineList changed;
    for (const CkxListedGpo& gpo : FindSampleGpos(samples, scope.folder))
        changed.Add(gpo);
    const CkxHandle token = MakeUserToken();
    BOOL abort = FALSE;
    const DWORD result =
        extension.ProcessGroupPolicyEx()(scope.flags, token.Get(), HKEY_LOCAL_MACHINE, nullptr,
                                         changed.Head(), 0, &abort, nullptr, nullptr, nullptr);
    std::printf("\n== Refresh, %s scope: ProcessGroupPolicyEx returned %lu\n", scope.name, result);
    const auto message = agent.WaitForMessage(kMessageTimeoutMs);
    const auto document = message ? kx::DecodeUpdateMessage(*message) : std::nullopt;
    if (!document) {
        std::printf("   The agent received no whole document.\n");
        return false;
    }
    std::printf("   The agent received %zu bytes:\n\n", message->size());
    PrintDocument(*document);
    return result == ERROR_SUCCESS;
}

bool RefreshAll(const std::wstring& samples, const CkxExtensionModule& extension, CkxAgentListener& agent)
{
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
        else if (RefreshAll(arguments[2], extension, agent))
            exitCode = kDone;
    }
    agent.Stop();
    ::CoUninitialize();
    return exitCode;
}
