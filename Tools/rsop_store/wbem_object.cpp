#include "Tools/rsop_store/wbem_object.h"

#include "Tools/rsop_store/mof_text.h"
#include "Tools/rsop_store/variant_value.h"

namespace {

/// By which the store knows its own objects; nobody else answers to it.
constexpr GUID kOwnObject = {0x6c1f0a52, 0x9d3b, 0x4f27, {0xa1, 0x58, 0x3e, 0x70, 0xc4, 0x92, 0xd6, 0x0b}};

constexpr LONG kNameFlags = WBEM_MASK_PRIMARY_CONDITION | WBEM_FLAG_KEYS_ONLY | WBEM_MASK_CONDITION_ORIGIN;

} // namespace

CkxWbemObject* CkxWbemObject::From(IUnknown* object)
{
    void* own = nullptr;
    if (object == nullptr || FAILED(object->QueryInterface(kOwnObject, &own)))
        return nullptr;
    auto* const result = static_cast<CkxWbemObject*>(own);
    result->Release(); // the caller's interface keeps it
    return result;
}

HRESULT CkxWbemObject::ChangeQualifiers(const std::wstring*, const QualifierChange&)
{
    return kx::kWbemNotSupported;
}

HRESULT CkxWbemObject::QueryInterface(REFIID iid, void** object) noexcept
{
    if (object == nullptr || iid != kOwnObject)
        return CkxComObject::QueryInterface(iid, object);
    *object = this;
    AddRef();
    return S_OK;
}

HRESULT CkxWbemObject::Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type, LONG* flavor)
{
    return _Call("Get", [&]() -> HRESULT {
        if (name == nullptr || flags != 0)
            return kx::kWbemInvalidParameter;
        return _Get(name, value, type, flavor);
    });
}

HRESULT CkxWbemObject::_Get(LPCWSTR name, VARIANT* value, CIMTYPE* type, LONG* flavor) const
{
    const kx::ObjectView view = View();
    VARIANT result;
    ::VariantInit(&result);
    CIMTYPE resultType = CIM_EMPTY;
    LONG resultFlavor = WBEM_FLAVOR_ORIGIN_SYSTEM;
    HRESULT hr = S_OK;
    if (const auto place = view.definition->Find(name)) {
        const kx::PropertyDefinition& property = view.definition->properties[*place];
        resultType = static_cast<CIMTYPE>(property.type);
        resultFlavor = kx::OriginFlavor(property);
        hr = WriteVariant(view.values != nullptr ? (*view.values)[*place] : property.value, property.type,
                          result);
    } else {
        hr = kx::GetSystemProperty(view, *_Namespace(), name, result, resultType);
    }
    if (FAILED(hr))
        return hr;
    if (value != nullptr)
        *value = result;
    else
        ::VariantClear(&result);
    if (type != nullptr)
        *type = resultType;
    if (flavor != nullptr)
        *flavor = resultFlavor;
    return S_OK;
}

HRESULT CkxWbemObject::GetNames(LPCWSTR qualifier, LONG flags, VARIANT* qualifierValue, SAFEARRAY** names)
{
    return _Call("GetNames", [&]() -> HRESULT {
        if (names == nullptr || (flags & ~kNameFlags) != 0)
            return kx::kWbemInvalidParameter;
        *names = nullptr;
        kx::StoreValue wanted;
        HRESULT hr = qualifierValue == nullptr ? S_OK : ReadQualifier(*qualifierValue, wanted);
        std::vector<std::wstring> found;
        if (SUCCEEDED(hr))
            hr = kx::ListNames(*View().definition,
                               {flags, qualifier, qualifierValue == nullptr ? nullptr : &wanted}, found);
        if (FAILED(hr))
            return hr;
        *names = MakeNameArray(found);
        return *names == nullptr ? kx::kWbemOutOfMemory : S_OK;
    });
}

HRESULT CkxWbemObject::BeginEnumeration(LONG flags)
{
    return _Call("BeginEnumeration", [&]() -> HRESULT {
        if ((flags & ~(WBEM_FLAG_KEYS_ONLY | WBEM_MASK_CONDITION_ORIGIN)) != 0)
            return kx::kWbemInvalidParameter;
        std::vector<std::wstring> names;
        const HRESULT hr = kx::ListNames(*View().definition, {flags, nullptr, nullptr}, names);
        if (FAILED(hr))
            return hr;
        _m_cursor.Begin(std::move(names));
        return S_OK;
    });
}

HRESULT CkxWbemObject::Next(LONG flags, BSTR* name, VARIANT* value, CIMTYPE* type, LONG* flavor)
{
    return _Call("Next", [&]() -> HRESULT {
        if (flags != 0)
            return kx::kWbemInvalidParameter;
        if (name != nullptr)
            *name = nullptr;
        std::wstring found;
        const HRESULT hr = _m_cursor.Next(
            found, [&](const std::wstring& next) { return _Get(next.c_str(), value, type, flavor); });
        if (hr == WBEM_S_NO_MORE_DATA)
            return hr;
        return FAILED(hr) || name == nullptr ? hr : CopyString(found, name);
    });
}

HRESULT CkxWbemObject::EndEnumeration()
{
    return _Call("EndEnumeration", [&]() -> HRESULT {
        _m_cursor.End();
        return S_OK;
    });
}

HRESULT CkxWbemObject::GetObjectText(LONG flags, BSTR* text)
{
    return _Call("GetObjectText", [&]() -> HRESULT {
        if (text == nullptr || (flags & ~WBEM_FLAG_NO_FLAVORS) != 0)
            return kx::kWbemInvalidParameter;
        *text = nullptr;
        const kx::ObjectView view = View();
        const bool flavors = (flags & WBEM_FLAG_NO_FLAVORS) == 0;
        return CopyString(view.values != nullptr ? kx::InstanceMof(*view.definition, *view.values)
                                                 : kx::ClassMof(*view.definition, flavors),
                          text);
    });
}

HRESULT CkxWbemObject::CompareTo(LONG flags, IWbemClassObject* other)
{
    return _Call("CompareTo", [&]() -> HRESULT {
        const CkxWbemObject* const own = From(other);
        if (own == nullptr || flags < 0 || flags > 0x3F)
            return kx::kWbemInvalidParameter;
        const kx::ObjectView one = View();
        const kx::ObjectView two = own->View();
        if ((one.values != nullptr) != (two.values != nullptr))
            return WBEM_S_DIFFERENT;
        const bool same = one.values != nullptr
                              ? kx::InstanceMof(*one.definition, *one.values) ==
                                    kx::InstanceMof(*two.definition, *two.values)
                              : kx::ClassMof(*one.definition, true) == kx::ClassMof(*two.definition, true);
        return same ? HRESULT{WBEM_S_SAME} : HRESULT{WBEM_S_DIFFERENT};
    });
}

HRESULT CkxWbemObject::GetPropertyOrigin(LPCWSTR name, BSTR* className)
{
    return _Call("GetPropertyOrigin", [&]() -> HRESULT {
        if (name == nullptr || className == nullptr)
            return kx::kWbemInvalidParameter;
        *className = nullptr;
        const kx::ObjectView view = View();
        const auto place = view.definition->Find(name);
        if (place) {
            const std::wstring& origin = view.definition->properties[*place].origin;
            return CopyString(origin.empty() ? view.definition->name : origin, className);
        }
        return kx::IsSystemProperty(name) ? CopyString(L"___SYSTEM", className) : kx::kWbemNotFound;
    });
}

HRESULT CkxWbemObject::InheritsFrom(LPCWSTR ancestor)
{
    return _Call("InheritsFrom", [&]() -> HRESULT {
        if (ancestor == nullptr)
            return kx::kWbemInvalidParameter;
        return View().definition->IsA(ancestor) ? HRESULT{S_OK} : HRESULT{WBEM_S_FALSE};
    });
}

HRESULT CkxWbemObject::GetMethod(LPCWSTR, LONG, IWbemClassObject** in, IWbemClassObject** out)
{
    return _Call("GetMethod", [&]() -> HRESULT {
        if (in != nullptr)
            *in = nullptr;
        if (out != nullptr)
            *out = nullptr;
        return kx::kWbemNotFound;
    });
}

HRESULT CkxWbemObject::PutMethod(LPCWSTR, LONG, IWbemClassObject*, IWbemClassObject*)
{
    return _Call("PutMethod", []() -> HRESULT { return kx::kWbemNotSupported; });
}

HRESULT CkxWbemObject::DeleteMethod(LPCWSTR)
{
    return _Call("DeleteMethod", []() -> HRESULT { return kx::kWbemNotFound; });
}

HRESULT CkxWbemObject::BeginMethodEnumeration(LONG)
{
    return _Call("BeginMethodEnumeration", []() -> HRESULT { return S_OK; });
}

HRESULT CkxWbemObject::NextMethod(LONG, BSTR* name, IWbemClassObject** in, IWbemClassObject** out)
{
    return _Call("NextMethod", [&]() -> HRESULT {
        if (name != nullptr)
            *name = nullptr;
        if (in != nullptr)
            *in = nullptr;
        if (out != nullptr)
            *out = nullptr;
        return WBEM_S_NO_MORE_DATA;
    });
}

HRESULT CkxWbemObject::EndMethodEnumeration()
{
    return _Call("EndMethodEnumeration", []() -> HRESULT { return S_OK; });
}

HRESULT CkxWbemObject::GetMethodQualifierSet(LPCWSTR, IWbemQualifierSet** set)
{
    return _Call("GetMethodQualifierSet", [&]() -> HRESULT {
        if (set != nullptr)
            *set = nullptr;
        return kx::kWbemNotFound;
    });
}

HRESULT CkxWbemObject::GetMethodOrigin(LPCWSTR, BSTR* className)
{
    return _Call("GetMethodOrigin", [&]() -> HRESULT {
        if (className != nullptr)
            *className = nullptr;
        return kx::kWbemNotFound;
    });
}
