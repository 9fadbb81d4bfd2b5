// The module: the engine's callback, and the notifications of the loader.
#include "Common_CPP/atl/kx_atl.h"

#include "Common_CPP/trace/trace_control.h"
#include "Tools/targeting/facts_reader.h"
#include "Tools/targeting/settings_file.h"
#include "Tools/targeting/stated_facts.h"
#include "Tools/targeting/windows_facts.h"

#include <windows.h>

#include <objbase.h>
#include <userenv.h>

#include <new>

namespace {

// COM for the thread while a call lasts; a thread that has it in another form has it all the same.
class CkxComScope {
  public:
    CkxComScope() : _m_result(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}

    ~CkxComScope()
    {
        if (SUCCEEDED(_m_result))
            ::CoUninitialize();
    }

    CkxComScope(const CkxComScope&) = delete;
    CkxComScope& operator=(const CkxComScope&) = delete;

  private:
    HRESULT _m_result;
};

DWORD ProcessEntry(const GROUP_POLICY_OBJECTW& entry, const kx::TargetingFacts& machine, const BOOL* abort)
{
    if (entry.lpFileSysPath == nullptr || *entry.lpFileSysPath == L'\0')
        return ERROR_INVALID_PARAMETER;
    CkxTargetingReport report(entry.lpFileSysPath);
    const kx::FactsFile stated = ReadFactsFile(entry.lpFileSysPath);
    if (!stated.problem.empty())
        report.Add(L"the facts file: " + stated.problem);
    const kx::StatedFacts facts(stated, machine);
    const DWORD error = ProcessSettingsFile(entry.lpFileSysPath, facts, abort, report);
    const DWORD saveError = report.Save();
    return error != ERROR_SUCCESS ? error : saveError;
}

DWORD ProcessList(DWORD flags, HANDLE token, const GROUP_POLICY_OBJECTW* changed, const BOOL* abort)
{
    // The XML layer traces what goes wrong in it. The report says it too; a program that shows its output
    // on a console is not to be disturbed.
    (void)D_ToStream("dbg", false);
    const CkxComScope com;
    const CkxWindowsFacts machine(token, flags);
    DWORD result = ERROR_SUCCESS;
    for (; changed != nullptr; changed = changed->pNext) {
        if (abort != nullptr && *abort)
            return ERROR_OPERATION_ABORTED;
        const DWORD error = ProcessEntry(*changed, machine, abort);
        if (result == ERROR_SUCCESS)
            result = error;
    }
    return result;
}

} // namespace

/// The engine's callback. Performs the registry items of every entry of the changed list whose filters let
/// them through; the deleted list does not concern it. Completes synchronously. Returns 0, or the first
/// error: 87 for an entry without a folder, 14 without memory, 1359 for what nobody expected, else as
/// ProcessSettingsFile.
extern "C" __declspec(dllexport) DWORD WINAPI
    ProcessGroupPolicyEx(DWORD dwFlags, HANDLE hToken, HKEY /*hKeyRoot*/,
                         PGROUP_POLICY_OBJECTW /*pDeletedGPOList*/, PGROUP_POLICY_OBJECTW pChangedGPOList,
                         ASYNCCOMPLETIONHANDLE /*pHandle*/, BOOL* pbAbort,
                         PFNSTATUSMESSAGECALLBACK /*pStatusCallback*/, IWbemServices* /*pWbemServices*/,
                         HRESULT* pRsopStatus)
{
    try {
        if (pRsopStatus != nullptr)
            *pRsopStatus = S_OK;
        return ProcessList(dwFlags, hToken, pChangedGPOList, pbAbort);
    } catch (const std::bad_alloc&) {
        return ERROR_OUTOFMEMORY;
    } catch (const CAtlException& exception) {
        return exception.m_hr == E_OUTOFMEMORY ? ERROR_OUTOFMEMORY : ERROR_INTERNAL_ERROR;
    } catch (...) {
        return ERROR_INTERNAL_ERROR;
    }
}

extern "C" BOOL WINAPI DllMain(HINSTANCE /*module*/, DWORD reason, LPVOID reserved)
{
    if (reason == DLL_THREAD_DETACH)
        D_ThreadEnds();
    if (reason == DLL_PROCESS_DETACH && reserved == nullptr) // else the system takes back everything
        D_ModuleUnloads();
    return TRUE;
}
