#include "Common_CPP/kxwbem/kxwbem_locator.h"

#include "Common_CPP/kxwbem/kxwbem_call.h"

KXT_CLASS("CkxWbemLocatorPtr");

HRESULT CkxWbemLocatorPtr::CreateInstance()
{
    KXT_SCOPE("CreateInstance");
    CComPtr<IWbemLocator> created;
    const HRESULT hr = KX_WBEM_TRY(
        kx::EndWbemFetch(created.CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER), created),
        "ERROR: CoCreateInstance(WbemLocator) failed. hr=");
    if (SUCCEEDED(hr))
        _m_object = created;
    return hr;
}

HRESULT CkxWbemLocatorPtr::ConnectServer(const wchar_t* namespacePath, CkxWbemServicesPtr& services) const
{
    KXT_SCOPE("ConnectServer");
    CComPtr<IWbemServices> connected;
    HRESULT hr = KX_WBEM_CALL(_m_object,
                              ConnectServer(CComBSTR(namespacePath), nullptr, nullptr, nullptr,
                                            WBEM_FLAG_CONNECT_USE_MAX_WAIT, nullptr, nullptr, &connected),
                              "ERROR: WbemLocator->ConnectServer(" << namespacePath << ") failed. hr=");
    if (FAILED(hr))
        return hr;
    hr = KX_WBEM_TRY(kx::EndWbemFetch(hr, connected),
                     "ERROR: WbemLocator->ConnectServer(" << namespacePath << ") returned NULL pointer. hr=");
    if (SUCCEEDED(hr))
        services = CkxWbemServicesPtr(connected);
    return hr;
}
