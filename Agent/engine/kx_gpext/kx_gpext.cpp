#include "Agent/engine/kx_gpext/kx_gpext.h"

#include "Agent/engine/kx_gpext/language_runtime.h"
#include "Agent/engine/kx_gpext/trace_setup.h"
#include "Common_CPP/trace/trace.h"
#include "Common_CPP/trace/trace_control.h"

KXT_NO_CLASS;

namespace {

HMODULE g_module = nullptr;

void OnProcessAttach(HMODULE module)
{
    KXT_SCOPE("DllMain");
    g_module = module;
    SetUpTrace();
    KXT_OUT(KXT_INFO, "INFO: *************************> DLL_PROCESS_ATTACH");
    // The static language library's storage for threads makes the system refuse this; thread notifications
    // may then keep arriving.
    ::DisableThreadLibraryCalls(module);
}

// With `processEnds` the other threads are gone, one of them perhaps with the trace lock in its hands, and
// the system takes back everything anyway.
void OnProcessDetach(bool processEnds)
{
    if (processEnds && !D_CanTrace())
        return;
    {
        KXT_SCOPE("DllMain");
        KXT_OUT(KXT_INFO, "INFO: <************************* DLL_PROCESS_DETACH");
    }
    if (processEnds)
        return;
    D_ModuleUnloads();
    LanguageModuleUnloads();
}

} // namespace

HMODULE KxModule() noexcept
{
    return g_module;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved)
{
    switch (reason) {
    case DLL_PROCESS_ATTACH:
        OnProcessAttach(module);
        break;
    case DLL_PROCESS_DETACH:
        OnProcessDetach(reserved != nullptr);
        break;
    case DLL_THREAD_DETACH:
        D_ThreadEnds();
        LanguageThreadEnds();
        break;
    default:
        break;
    }
    return TRUE;
}
