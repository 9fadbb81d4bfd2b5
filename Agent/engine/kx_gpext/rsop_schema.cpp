#include "Agent/engine/kx_gpext/rsop_schema.h"

#include "Common_CPP/trace/trace.h"

#include <mutex>

KXT_CLASS("CkxRsopSchema");

namespace {

// "id" and "precedence" are the base class's; declared again, they become the key.
constexpr WbemPropertyDesc kPolicyProperties[] = {{L"policyXml", CIM_STRING, false, true},
                                                  {L"id", CIM_STRING, true, true},
                                                  {L"precedence", CIM_UINT32, true, true}};
constexpr WbemPropertyDesc kConfigProperties[] = {{L"Value", CIM_STRING, false, true},
                                                  {L"id", CIM_STRING, true, true},
                                                  {L"precedence", CIM_UINT32, true, true}};

// Made when the module is loaded. Recursive: a call into WMI may let this very thread be called again.
class SchemaLock {
  public:
    SchemaLock() noexcept
    {
        (void)::InitializeCriticalSectionAndSpinCount(&_m_section, 0); // cannot fail since Vista
    }

    ~SchemaLock() { ::DeleteCriticalSection(&_m_section); }

    SchemaLock(const SchemaLock&) = delete;
    SchemaLock& operator=(const SchemaLock&) = delete;

    void lock() noexcept { ::EnterCriticalSection(&_m_section); }

    void unlock() noexcept { ::LeaveCriticalSection(&_m_section); }

  private:
    CRITICAL_SECTION _m_section;
};

SchemaLock g_schemaLock;

} // namespace

HRESULT CkxRsopSchema::RegisterExtension(const CkxWbemServicesPtr& services,
                                         CkxWbemClassObjectPtr* policyClass,
                                         CkxWbemClassObjectPtr* configClass)
{
    KXT_SCOPE("RegisterExtension");
    if (services.IsNull())
        return E_POINTER;
    const std::lock_guard turn(g_schemaLock);
    HRESULT hr = S_OK;
    if (policyClass)
        hr = services.RegisterWmiClassIfRequired(kRsopPolicyClass, kRsopBaseClass, kPolicyProperties,
                                                 *policyClass);
    if (SUCCEEDED(hr) && configClass)
        hr = services.RegisterWmiClassIfRequired(kRsopConfigClass, kRsopBaseClass, kConfigProperties,
                                                 *configClass);
    return hr;
}

HRESULT CkxRsopSchema::UnregisterExtension(const CkxWbemServicesPtr& services)
{
    KXT_SCOPE("RegisterExtension"); // one name for all schema work: rules that select it select both
    if (services.IsNull())
        return E_POINTER;
    const std::lock_guard turn(g_schemaLock);
    const bool policyGone = SUCCEEDED(services.DeleteClass(kRsopPolicyClass));
    const bool configGone = SUCCEEDED(services.DeleteClass(kRsopConfigClass));
    return policyGone && configGone ? S_OK : E_FAIL;
}
