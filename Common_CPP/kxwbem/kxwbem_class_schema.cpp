// Properties of classes: registering them, and telling whether a class has them.
#include "Common_CPP/kxwbem/kxwbem_call.h"
#include "Common_CPP/kxwbem/kxwbem_class_object.h"

KXT_CLASS("CkxWbemClassObjectPtr");

namespace {

constexpr const wchar_t* c_keyQualifier = L"Key";
constexpr const wchar_t* c_readQualifier = L"Read";

HRESULT PutFlag(IWbemQualifierSet& qualifiers, const wchar_t* name, bool value)
{
    CComVariant flag(value);
    return qualifiers.Put(name, &flag, 0);
}

// Whether the qualifier "Key" is there, whatever its value.
HRESULT HasKey(IWbemQualifierSet& qualifiers, bool& hasKey)
{
    CComVariant value;
    const HRESULT hr = qualifiers.Get(c_keyQualifier, 0, &value, nullptr);
    if (FAILED(hr) && hr != kx::WbemCode(WBEM_E_NOT_FOUND))
        return hr;
    hasKey = SUCCEEDED(hr);
    return S_OK;
}

} // namespace

HRESULT CkxWbemClassObjectPtr::_RegisterClassProperties(std::span<const WbemPropertyDesc> properties) const
{
    KXT_SCOPE("_RegisterClassProperties");
    for (const WbemPropertyDesc& property : properties) {
        const HRESULT hr = _RegisterClassProperty(property);
        if (FAILED(hr)) {
            KXT_OUT(KXT_ERROR, "ERROR: Failed to register property " << property.name);
            return hr;
        }
    }
    return S_OK;
}

HRESULT CkxWbemClassObjectPtr::_RegisterClassProperty(const WbemPropertyDesc& property) const
{
    KXT_SCOPE("_RegisterClassProperty");
    VARIANT null;
    ::VariantInit(&null);
    null.vt = VT_NULL;
    HRESULT hr = KX_WBEM_CALL(_m_object, Put(property.name, 0, &null, property.type),
                              "ERROR: wbemClassObject->Put(" << property.name << ") failed. hr=");
    if (FAILED(hr))
        return hr;
    CComPtr<IWbemQualifierSet> qualifiers;
    hr =
        KX_WBEM_FETCH(_m_object, qualifiers, GetPropertyQualifierSet(property.name, &qualifiers),
                      "ERROR: wbemClassObject->GetPropertyQualifierSet(" << property.name << ") failed. hr=");
    if (SUCCEEDED(hr) && property.key)
        hr = KX_WBEM_TRY(PutFlag(*qualifiers, c_keyQualifier, true),
                         "ERROR: Failed to put 'Key' qualifier for property '" << property.name << "'. hr=");
    if (FAILED(hr))
        return hr;
    return KX_WBEM_TRY(PutFlag(*qualifiers, c_readQualifier, property.read),
                       "ERROR: Failed to put 'Read' qualifier for property '" << property.name << "'. hr=");
}

HRESULT CkxWbemClassObjectPtr::_CheckClassProperties(std::span<const WbemPropertyDesc> properties) const
{
    KXT_SCOPE("_CheckClassProperties");
    for (const WbemPropertyDesc& property : properties)
        if (const HRESULT hr = _CheckClassProperty(property); FAILED(hr))
            return hr;
    return S_OK;
}

HRESULT CkxWbemClassObjectPtr::_CheckClassProperty(const WbemPropertyDesc& property) const
{
    KXT_SCOPE("_CheckClassProperty");
    CComPtr<IWbemQualifierSet> qualifiers;
    HRESULT hr = KX_WBEM_FETCH(_m_object, qualifiers, GetPropertyQualifierSet(property.name, &qualifiers),
                               "ERROR: Class property '" << property.name << "' not found. hr=");
    if (FAILED(hr))
        return hr;
    bool hasKey = false;
    hr = KX_WBEM_TRY(HasKey(*qualifiers, hasKey),
                     "ERROR: Class property '" << property.name << "': check if key. hr=");
    if (FAILED(hr) || hasKey == property.key)
        return hr;
    KXT_OUT(KXT_INFO,
            "INFO: Class property '" << property.name << (hasKey ? "' is key. " : "' is not key. "));
    return kx::WbemCode(WBEM_E_NOT_FOUND);
}
