#include "Common_CPP/kxwbem/kxwbem_enum.h"

#include "Common_CPP/kxwbem/kxwbem_call.h"

KXT_CLASS("CkxEnumWbemClassObjectPtr");

namespace {

// Only S_OK promises an object.
HRESULT Fetch(IEnumWbemClassObject& results, CComPtr<IWbemClassObject>& object)
{
    ULONG count = 0;
    const HRESULT hr = results.Next(static_cast<long>(WBEM_INFINITE), 1, &object, &count);
    return hr == WBEM_S_NO_ERROR ? kx::EndWbemFetch(hr, object) : hr;
}

} // namespace

HRESULT CkxEnumWbemClassObjectPtr::Next(CkxWbemClassObjectPtr& object) const
{
    KXT_SCOPE("Next");
    if (FAILED(KX_WBEM_REQUIRE(_m_object)))
        return E_POINTER;
    CComPtr<IWbemClassObject> next;
    const HRESULT hr =
        KX_WBEM_TRY(Fetch(*_m_object, next), "ERROR: IEnumWbemClassObject->Next() failed. hr=");
    if (hr == WBEM_S_NO_ERROR)
        object = CkxWbemClassObjectPtr(next);
    return hr;
}
