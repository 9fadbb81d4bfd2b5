#include "Agent/engine/kx_gpext/appended_update.h"
#include "Agent/engine/kx_gpext/export_barrier.h"
#include "Agent/engine/kx_gpext/gp_pipe.h"
#include "Agent/engine/kx_gpext/gp_utils.h"
#include "Agent/engine/kx_gpext/gp_xml.h"

KXT_NO_CLASS;

namespace {

constexpr DWORD kUserScope = 0;

bool IsLocalSystem(const CSid& sid)
{
    return ::IsWellKnownSid(const_cast<SID*>(sid.GetPSID()), WinLocalSystemSid) != FALSE; // only reads
}

// The token in effect for the caller, who must be LocalSystem: nobody else may push policy. False, traced,
// for anyone else, and for a caller who cannot be told.
bool GetTrustedCaller(CAccessToken& caller)
{
    if (!caller.GetEffectiveToken(TOKEN_IMPERSONATE | TOKEN_QUERY)) {
        KXT_OUT(KXT_ERROR, "ERROR: Failed to get effective token LastError=" << D_LastError);
        return false;
    }
    CSid user;
    if (!caller.GetUser(&user) || !user.IsValid()) {
        KXT_OUT(KXT_ERROR, "ERROR: Failed to get token user LastError=" << D_LastError);
        return false;
    }
    if (IsLocalSystem(user))
        return true;
    KXT_OUT(KXT_ERROR, "ERROR: Invalid user " << user.Sid() << " LastError=" << D_LastError);
    return false;
}

// Gives the caller's code: nobody but the caller will try again.
DWORD Send(const CkxGpXml& xml)
{
    CComBSTR document;
    const bool isWhole = xml.SaveToString(document);
    const CkxGpPipe pipe;
    if (!pipe.HasEvent()) {
        KXT_OUT(KXT_ERROR, "ERROR: Failed to send appended update to the agent. Agent is not ready.");
        return ERROR_NOT_READY;
    }
    if (!isWhole || !pipe.Send(document)) {
        KXT_OUT(KXT_ERROR, "ERROR: Failed to send appended update to the agent.");
        return ERROR_WRITE_FAULT;
    }
    KXT_OUT(KXT_INFO, "INFO: GP appended update sent to agent.");
    return ERROR_SUCCESS;
}

DWORD Run(const kx::AppendedUpdate* request)
{
    if (!request) {
        KXT_OUT(KXT_ERROR, "ERROR: NULL pointer LastError=" << D_LastError);
        return ERROR_INVALID_PARAMETER;
    }
    CAccessToken caller; // outlives the builder, which borrows it for machine policy
    if (!GetTrustedCaller(caller))
        return ERROR_ACCESS_DENIED;
    const HANDLE user = request->userToken;
    CkxGpXml xml(user ? user : caller.GetHandle(), user ? kUserScope : GPO_INFO_FLAG_MACHINE, nullptr,
                 nullptr, nullptr);
    if (!xml.IsInitialized()) {
        KXT_OUT(KXT_ERROR, "ERROR: Failed to initialize CkxGpXml");
        return ERROR_XML_PARSE_ERROR;
    }
    if (const DWORD error = xml.ProcessAppendedUpdate(request); error != ERROR_SUCCESS)
        return error;
    if (CkxGpUtils::TraceDumpEnabled())
        xml.Dump();
    return Send(xml);
}

} // namespace

/// Applies policy sets that a component of the agent, running as LocalSystem, pushes outside of Group Policy.
/// Its thread has initialised COM. Synchronous; 0 once the agent has the update, else a Windows error, and
/// the agent has no whole document. Once a set has been read the thread is without impersonation, whatever it
/// came with.
extern "C" __declspec(dllexport) DWORD WINAPI ProcessAppendedUpdate(const kx::AppendedUpdate* request)
{
    return GuardExport([&] {
        KXT_SCOPE("ProcessAppendedUpdate");
        return Run(request);
    });
}

/// Kept for testing: does nothing and returns 0.
extern "C" __declspec(dllexport) DWORD WINAPI ProcessAppendedUpdateTestW()
{
    return ERROR_SUCCESS;
}
