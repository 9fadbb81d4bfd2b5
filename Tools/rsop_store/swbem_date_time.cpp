#include "Tools/rsop_store/swbem_date_time.h"

#include "Tools/rsop_store/counted_object.h"
#include "Tools/rsop_store/date_time_object.h"

#include <new>

namespace {

/// Makes date-time objects.
class CkxDateTimeFactory final : public CkxCountedObject<IClassFactory> {
  public:
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID interfaceId, void** object) noexcept override
    {
        if (object == nullptr)
            return E_POINTER;
        *object = nullptr;
        if (outer != nullptr)
            return CLASS_E_NOAGGREGATION;
        const CComPtr<ISWbemDateTime> made(new (std::nothrow) CkxDateTime);
        return !made ? E_OUTOFMEMORY : made.p->QueryInterface(interfaceId, object);
    }

    STDMETHODIMP LockServer(BOOL) noexcept override { return S_OK; }
};

HRESULT Register(DWORD& cookie) noexcept
{
    const CComPtr<IClassFactory> factory(new (std::nothrow) CkxDateTimeFactory);
    if (!factory)
        return E_OUTOFMEMORY;
    return ::CoRegisterClassObject(CLSID_SWbemDateTime, factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                   &cookie);
}

} // namespace

CkxDateTimeClass::CkxDateTimeClass() noexcept : _m_status(Register(_m_cookie)) {}

CkxDateTimeClass::~CkxDateTimeClass()
{
    if (SUCCEEDED(_m_status))
        ::CoRevokeClassObject(_m_cookie);
}

long CkxDateTimeClass::LiveObjects() noexcept
{
    return CkxDateTime::LiveObjects();
}
