#include "Agent/engine/kx_gpext/export_barrier.h"
#include "Agent/engine/kx_gpext/gp_pipe.h"
#include "Agent/engine/kx_gpext/gp_utils.h"
#include "Agent/engine/kx_gpext/gp_xml.h"
#include "Agent/engine/kx_gpext/kx_gpext.h"
#include "Common_CPP/util/scope_exit.h"
#include "Common_CPP/util/wipe.h"

KXT_NO_CLASS;

namespace {

// Marks an agent that is managed by Group Policy.
constexpr const wchar_t* kGroupPolicySetId = L"{00000000-0000-0000-C000-000000000046}";

// Why the agent's event is missing, as the code that the engine gets: 0 where policy cannot apply to this
// machine, "call again even if nothing changes" where the agent's service just does not run. The misspelt
// brand word is what administrators' guides quote.
DWORD _NoAgentStateProcess()
{
    KXT_SCOPE("_NoAgentStateProcess");
    if (!CkxGpUtils::IsAgentInstalled()) {
        KXT_OUT(KXT_INFO, "INFO: Kovrex Agent is not installed. Policies not applied.");
        return ERROR_SUCCESS;
    }
    CString setId;
    if (CkxGpUtils::GetAgentSetId(setId) && setId.CompareNoCase(kGroupPolicySetId) != 0) {
        KXT_OUT(KXT_INFO, "INFO: Kovrex Agent is not in Group Policy mode. Policies not applied.");
        return ERROR_SUCCESS;
    }
    KXT_OUT(KXT_INFO, "INFO: Korvex Agent is not running. Policies not applied.");
    return ERROR_OVERRIDE_NOCHANGES;
}

struct Refresh {
    DWORD flags;
    HANDLE token;
    HKEY keyRoot;
    PGROUP_POLICY_OBJECTW deleted;
    PGROUP_POLICY_OBJECTW changed;
    const BOOL* abort;
    PFNSTATUSMESSAGECALLBACK statusCallback;
    IWbemServices* services;
};

DWORD Run(const Refresh& refresh)
{
    const CkxGpPipe pipe;
    if (!pipe.HasEvent())
        return _NoAgentStateProcess();
    CkxGpXml xml(refresh.token, refresh.flags, refresh.services, refresh.keyRoot, refresh.statusCallback);
    if (!xml.IsInitialized()) {
        KXT_OUT(KXT_ERROR, "ERROR: Failed to initialize CkxGpXml");
        return ERROR_XML_PARSE_ERROR;
    }
    DWORD rsopStatus = ERROR_SUCCESS; // the engine's own status stays as the engine placed it
    if (const DWORD error = xml.Process(refresh.deleted, refresh.changed, refresh.abort, rsopStatus);
        error != ERROR_SUCCESS)
        return error;
    if (CkxGpUtils::TraceDumpEnabled())
        xml.Dump();
    CComBSTR document;
    const kx::ScopeExit wipe([&]() noexcept {
        if (xml.HasSecret() && document)
            kx::Wipe(document.m_str, document.ByteLength());
    });
    if (!xml.SaveToString(document) || !pipe.Send(document)) {
        KXT_OUT(KXT_ERROR, "ERROR: Failed to send update to the agent. Update skipped till next time.");
        return ERROR_OVERRIDE_NOCHANGES;
    }
    KXT_OUT(KXT_INFO, "INFO: GP update sent to agent.");
    return ERROR_SUCCESS;
}

} // namespace

/// The engine's callback: applies policy for the machine or a user. Always completes synchronously.
extern "C" __declspec(dllexport) DWORD WINAPI
    ProcessGroupPolicyEx(DWORD dwFlags, HANDLE hToken, HKEY hKeyRoot, PGROUP_POLICY_OBJECTW pDeletedGPOList,
                         PGROUP_POLICY_OBJECTW pChangedGPOList, ASYNCCOMPLETIONHANDLE /*pHandle*/,
                         BOOL* pbAbort, PFNSTATUSMESSAGECALLBACK pStatusCallback,
                         IWbemServices* pWbemServices, HRESULT* /*pRsopStatus*/)
{
    return GuardExport([&] {
        KXT_SCOPE("ProcessGroupPolicyEx");
        const BOOL neverAbort = FALSE;
        return Run({dwFlags, hToken, hKeyRoot, pDeletedGPOList, pChangedGPOList,
                    pbAbort ? pbAbort : &neverAbort, pStatusCallback, pWbemServices});
    });
}
