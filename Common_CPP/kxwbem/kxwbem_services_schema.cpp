// Classes of a namespace: checking, registering and deleting them.
#include "Common_CPP/kxwbem/kxwbem_call.h"
#include "Common_CPP/kxwbem/kxwbem_services.h"

KXT_CLASS("CkxWbemServicesPtr");

namespace {

// A class below `base` that has nothing of its own yet.
HRESULT SpawnDerived(IWbemClassObject& base, CkxWbemClassObjectPtr& spawned)
{
    CComPtr<IWbemClassObject> derived;
    const HRESULT hr = kx::EndWbemFetch(base.SpawnDerivedClass(0, &derived), derived);
    if (SUCCEEDED(hr))
        spawned = CkxWbemClassObjectPtr(derived);
    return hr;
}

} // namespace

HRESULT CkxWbemServicesPtr::RegisterWmiClassIfRequired(const wchar_t* className, const wchar_t* baseName,
                                                       std::span<const WbemPropertyDesc> properties,
                                                       CkxWbemClassObjectPtr& registered) const
{
    KXT_SCOPE("RegisterWmiClassIfRequired");
    if (FAILED(KX_WBEM_REQUIRE(_m_object)))
        return E_POINTER;
    const HRESULT hr = _CheckClass(className, baseName, properties, registered);
    return SUCCEEDED(hr) ? hr : RegisterWmiClass(className, baseName, properties, registered);
}

HRESULT CkxWbemServicesPtr::_CheckClass(const wchar_t* className, const wchar_t* baseName,
                                        std::span<const WbemPropertyDesc> properties,
                                        CkxWbemClassObjectPtr& found) const
{
    KXT_SCOPE("_CheckClass");
    CkxWbemClassObjectPtr existing;
    HRESULT hr = KX_WBEM_TRY(_GetObject(className, existing),
                             "ERROR: IWbemServices->GetObject(" << className << ") failed. hr=");
    if (FAILED(hr))
        return hr;
    hr = KX_WBEM_TRY(existing.Get()->InheritsFrom(baseName),
                     "ERROR: IWbemClassObject->InheritsFrom(" << baseName << ") failed. hr=");
    if (hr != WBEM_S_NO_ERROR) { // "no" is a success code
        KXT_OUT(KXT_INFO, "INFO: " << className << " inheritance validation failed. hr=" << hr);
        return FAILED(hr) ? hr : kx::WbemCode(WBEM_E_INVALID_SUPERCLASS);
    }
    hr = existing._CheckClassProperties(properties);
    if (FAILED(hr)) {
        KXT_OUT(KXT_INFO, "INFO: " << className << " properties validation failed.");
        return hr;
    }
    found = existing;
    return S_OK;
}

HRESULT CkxWbemServicesPtr::RegisterWmiClass(const wchar_t* className, const wchar_t* baseName,
                                             std::span<const WbemPropertyDesc> properties,
                                             CkxWbemClassObjectPtr& registered) const
{
    KXT_SCOPE("RegisterWmiClass");
    if (FAILED(KX_WBEM_REQUIRE(_m_object)))
        return E_POINTER;
    CkxWbemClassObjectPtr base;
    HRESULT hr = KX_WBEM_TRY(_GetObject(baseName, base),
                             "ERROR: IWbemServices->GetObject(" << baseName << ") failed. hr=");
    if (FAILED(hr))
        return hr;
    CkxWbemClassObjectPtr spawned;
    hr = KX_WBEM_TRY(SpawnDerived(*base.Get(), spawned), "ERROR: baseClass->SpawnDerivedClass() failed. hr=");
    return SUCCEEDED(hr) ? _RegisterAndRead(className, spawned, properties, registered) : hr;
}

HRESULT CkxWbemServicesPtr::RegisterWmiClass(const wchar_t* className,
                                             std::span<const WbemPropertyDesc> properties,
                                             CkxWbemClassObjectPtr& registered) const
{
    KXT_SCOPE("RegisterWmiClass");
    if (FAILED(KX_WBEM_REQUIRE(_m_object)))
        return E_POINTER;
    CkxWbemClassObjectPtr empty;
    const HRESULT hr = KX_WBEM_TRY(_GetObject(nullptr, empty), "ERROR: GetObject(NULL) failed. hr=");
    return SUCCEEDED(hr) ? _RegisterAndRead(className, empty, properties, registered) : hr;
}

HRESULT CkxWbemServicesPtr::RegisterWmiClass(const wchar_t* className, const CkxWbemClassObjectPtr& spawned,
                                             std::span<const WbemPropertyDesc> properties) const
{
    KXT_SCOPE("RegisterWmiClass");
    if (FAILED(KX_WBEM_REQUIRE(_m_object)))
        return E_POINTER;
    return KX_WBEM_TRY(_RegisterWmiClass(className, spawned, properties),
                       "ERROR: _RegisterWmiClass(" << className << ") failed. hr=");
}

HRESULT CkxWbemServicesPtr::_RegisterWmiClass(const wchar_t* className, const CkxWbemClassObjectPtr& spawned,
                                              std::span<const WbemPropertyDesc> properties) const
{
    KXT_SCOPE("_RegisterWmiClass");
    HRESULT hr = spawned.Put_BSTR(L"__CLASS", CComBSTR(className));
    if (FAILED(hr))
        return hr;
    hr = KX_WBEM_TRY(spawned._RegisterClassProperties(properties),
                     "ERROR: Failed to register [" << className << "] class properites, hr=");
    if (FAILED(hr))
        return hr;
    return KX_WBEM_CALL(_m_object, PutClass(spawned.Get(), WBEM_FLAG_CREATE_OR_UPDATE, nullptr, nullptr),
                        "ERROR: IWbemServices->PutClass(" << className << ") failed, hr=");
}

HRESULT CkxWbemServicesPtr::_RegisterAndRead(const wchar_t* className, const CkxWbemClassObjectPtr& spawned,
                                             std::span<const WbemPropertyDesc> properties,
                                             CkxWbemClassObjectPtr& registered) const
{
    const HRESULT hr = KX_WBEM_TRY(_RegisterWmiClass(className, spawned, properties),
                                   "ERROR: _RegisterWmiClass(" << className << ") failed. hr=");
    if (FAILED(hr))
        return hr;
    // Instances can be had of a class that comes from the namespace, not of the one that was sent there.
    return KX_WBEM_TRY(_GetObject(className, registered),
                       "ERROR: IWbemServices->GetObject(" << className << ") failed. hr=");
}

HRESULT CkxWbemServicesPtr::DeleteClass(const wchar_t* className) const
{
    KXT_SCOPE("DeleteClass");
    return KX_WBEM_CALL(_m_object, DeleteClass(CComBSTR(className), 0, nullptr, nullptr),
                        "ERROR: IWbemServices->DeleteClass(" << className << ") failed. hr=");
}
