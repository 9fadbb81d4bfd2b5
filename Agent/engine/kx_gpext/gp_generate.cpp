#include "Agent/engine/kx_gpext/export_barrier.h"
#include "Agent/engine/kx_gpext/gp_utils.h"
#include "Agent/engine/kx_gpext/rsop_log.h"

KXT_NO_CLASS;

namespace {

const wchar_t* OrNull(const wchar_t* text)
{
    return text ? text : L"NULL";
}

const char* Presence(const void* object)
{
    return object ? "not NULL" : "NULL";
}

void TraceTarget(const char* label, const RSOP_TARGET* target)
{
    KXT_OUT(KXT_INFO, "INFO: " << label << " Target is " << Presence(target));
    if (!target)
        return;
    KXT_OUT(KXT_INFO, "    AccountName: " << OrNull(target->pwszAccountName));
    KXT_OUT(KXT_INFO, "    NewSOM: " << OrNull(target->pwszNewSOM));
    KXT_OUT(KXT_INFO, "    SecurityGroups: " << Presence(target->psaSecurityGroups));
}

// The outcome of one target that is to be reported: only a negative one is.
LONG GenerateFor(const RSOP_TARGET* target, bool machineScope, const BOOL* abort)
{
    if (!target)
        return S_OK;
    const auto result =
        static_cast<LONG>(CkxRsopLog(target->pWbemServices, machineScope).Generate(target, abort));
    return result < 0 ? result : S_OK;
}

} // namespace

/// The engine's planning callback: writes what would apply to a computer and a user into the namespaces that
/// the targets name. Either target may be missing. Only a schema that cannot be defined is reported.
extern "C" __declspec(dllexport) DWORD WINAPI
    GenerateGroupPolicy(DWORD dwFlags, BOOL* pbAbort, WCHAR* pwszSite, PRSOP_TARGET pComputerTarget,
                        PRSOP_TARGET pUserTarget)
{
    return GuardExport([&] {
        KXT_SCOPE("GenerateGroupPolicy");
        KXT_OUT(KXT_INFO, "INFO: Flags = " << CkxGpUtils::FlagsToText(dwFlags));
        KXT_OUT(KXT_INFO, "INFO: Site: " << OrNull(pwszSite));
        TraceTarget("Comp", pComputerTarget);
        TraceTarget("User", pUserTarget);
        const BOOL neverAbort = FALSE;
        const BOOL* const abort = pbAbort ? pbAbort : &neverAbort;
        LONG result = GenerateFor(pComputerTarget, true, abort);
        if (result == S_OK)
            result = GenerateFor(pUserTarget, false, abort);
        return static_cast<DWORD>(result);
    });
}
