#include "Tools/rsop_store/qualifier_set.h"

#include "Tools/rsop_store/variant_value.h"

namespace {

constexpr LONG kFlavors = kx::kToInstance | kx::kToDerivedClass | kx::kNotOverridable | kx::kAmended;

/// Whether a property, or the object itself when it is null, may have this qualifier.
HRESULT CheckQualifier(const kx::PropertyDefinition* property, std::wstring_view name,
                       const kx::StoreValue& value)
{
    if (kx::EqualNames(name, L"key")) {
        if (property == nullptr || !kx::CanBeKey(property->type))
            return kx::kWbemCannotBeKey;
        return std::holds_alternative<bool>(value) ? S_OK : kx::kWbemInvalidQualifierType;
    }
    return kx::EqualNames(name, L"CIMTYPE") ? kx::kWbemInvalidQualifier : S_OK; // the type says it already
}

/// Sets a qualifier in the list.
HRESULT PutInto(kx::Qualifiers& list, const kx::Qualifiers& inherited, kx::Qualifier put)
{
    const kx::Qualifier* const parents = kx::FindQualifier(inherited, put.name);
    if (parents != nullptr && (parents->flavor & kx::kNotOverridable) != 0)
        return kx::kWbemOverrideNotAllowed;
    if (kx::Qualifier* const present = kx::FindQualifier(list, put.name)) {
        put.name = present->name; // as it was first written
        *present = std::move(put);
    } else {
        list.push_back(std::move(put));
    }
    return S_OK;
}

/// Removes a qualifier; what the parent class says shows through again.
HRESULT DeleteFrom(kx::Qualifiers& list, const kx::Qualifiers& inherited, std::wstring_view name)
{
    kx::Qualifier* const present = kx::FindQualifier(list, name);
    if (present == nullptr)
        return kx::kWbemNotFound;
    if (present->inherited)
        return kx::kWbemPropagatedQualifier;
    if (kx::EqualNames(name, L"CIMTYPE"))
        return kx::kWbemInvalidQualifier;
    if (const kx::Qualifier* const parents = kx::FindQualifier(inherited, name)) {
        *present = *parents;
        return WBEM_S_RESET_TO_DEFAULT;
    }
    list.erase(list.begin() + (present - list.data()));
    return S_OK;
}

LONG Flavor(const kx::Qualifier& qualifier)
{
    return qualifier.flavor |
           (qualifier.inherited ? WBEM_FLAVOR_ORIGIN_PROPAGATED : WBEM_FLAVOR_ORIGIN_LOCAL);
}

} // namespace

CkxQualifierSet::CkxQualifierSet(ATL::CComPtr<CkxWbemObject> owner, std::shared_ptr<CkxNamespace> space,
                                 std::optional<std::wstring> property)
    : CkxComObject(std::move(space)), _m_owner(std::move(owner)), _m_property(std::move(property))
{
}

HRESULT CkxQualifierSet::_Read(kx::Qualifiers& list) const
{
    const kx::ObjectView view = _m_owner->View();
    const kx::Qualifiers* source = &view.definition->qualifiers;
    if (_m_property) {
        const auto place = view.definition->Find(*_m_property);
        if (!place)
            return kx::kWbemNotFound; // deleted since
        source = &view.definition->properties[*place].qualifiers;
    }
    list = *source;
    if (view.values == nullptr)
        return S_OK;
    std::erase_if(list, [](const kx::Qualifier& q) {
        return (q.flavor & kx::kToInstance) == 0 && !kx::EqualNames(q.name, L"key");
    });
    for (kx::Qualifier& qualifier : list)
        qualifier.inherited = true;
    return S_OK;
}

HRESULT CkxQualifierSet::Get(LPCWSTR name, LONG flags, VARIANT* value, LONG* flavor)
{
    return _Call("Get", [&]() -> HRESULT {
        if (name == nullptr || flags != 0)
            return kx::kWbemInvalidParameter;
        return _Get(name, value, flavor);
    });
}

HRESULT CkxQualifierSet::_Get(const std::wstring& name, VARIANT* value, LONG* flavor) const
{
    kx::Qualifiers list;
    HRESULT hr = _Read(list);
    if (FAILED(hr))
        return hr;
    const kx::Qualifier* const found = kx::FindQualifier(list, name);
    if (found == nullptr)
        return kx::kWbemNotFound;
    if (value != nullptr)
        hr = WriteQualifier(found->value, *value);
    if (SUCCEEDED(hr) && flavor != nullptr)
        *flavor = Flavor(*found);
    return hr;
}

HRESULT CkxQualifierSet::Put(LPCWSTR name, VARIANT* value, LONG flavor)
{
    return _SchemaCall("Put", _OfClass(), [&]() -> HRESULT {
        if (name == nullptr || *name == L'\0' || value == nullptr || (flavor & ~kFlavors) != 0)
            return kx::kWbemInvalidParameter;
        kx::Qualifier put{name, {}, flavor, false};
        const HRESULT hr = ReadQualifier(*value, put.value);
        if (FAILED(hr))
            return hr;
        if (!_OfClass() && kx::EqualNames(put.name, L"key"))
            return kx::kWbemCannotBeKey;
        const auto change = [&put](kx::Qualifiers& list, const kx::PropertyDefinition* property,
                                   const kx::Qualifiers& inherited) -> HRESULT {
            const HRESULT allowed = CheckQualifier(property, put.name, put.value);
            return FAILED(allowed) ? allowed : PutInto(list, inherited, std::move(put));
        };
        return _m_owner->ChangeQualifiers(_m_property ? &*_m_property : nullptr, change);
    });
}

HRESULT CkxQualifierSet::Delete(LPCWSTR name)
{
    return _SchemaCall("Delete", _OfClass(), [&]() -> HRESULT {
        if (name == nullptr || *name == L'\0')
            return kx::kWbemInvalidParameter;
        const auto change = [name](kx::Qualifiers& list, const kx::PropertyDefinition*,
                                   const kx::Qualifiers& inherited) {
            return DeleteFrom(list, inherited, name);
        };
        return _m_owner->ChangeQualifiers(_m_property ? &*_m_property : nullptr, change);
    });
}

HRESULT CkxQualifierSet::_Names(LONG flags, std::vector<std::wstring>& names) const
{
    if (flags != 0 && flags != WBEM_FLAG_LOCAL_ONLY && flags != WBEM_FLAG_PROPAGATED_ONLY)
        return kx::kWbemInvalidParameter;
    kx::Qualifiers list;
    const HRESULT hr = _Read(list);
    for (const kx::Qualifier& qualifier : list)
        if (flags == 0 || qualifier.inherited == (flags == WBEM_FLAG_PROPAGATED_ONLY))
            names.push_back(qualifier.name);
    return hr;
}

HRESULT CkxQualifierSet::GetNames(LONG flags, SAFEARRAY** names)
{
    return _Call("GetNames", [&]() -> HRESULT {
        if (names == nullptr)
            return kx::kWbemInvalidParameter;
        *names = nullptr;
        std::vector<std::wstring> found;
        const HRESULT hr = _Names(flags, found);
        if (FAILED(hr))
            return hr;
        *names = MakeNameArray(found);
        return *names == nullptr ? kx::kWbemOutOfMemory : S_OK;
    });
}

HRESULT CkxQualifierSet::BeginEnumeration(LONG flags)
{
    return _Call("BeginEnumeration", [&]() -> HRESULT {
        std::vector<std::wstring> names;
        const HRESULT hr = _Names(flags, names);
        if (FAILED(hr))
            return hr;
        _m_cursor.Begin(std::move(names));
        return S_OK;
    });
}

HRESULT CkxQualifierSet::Next(LONG flags, BSTR* name, VARIANT* value, LONG* flavor)
{
    return _Call("Next", [&]() -> HRESULT {
        if (flags != 0)
            return kx::kWbemInvalidParameter;
        if (name != nullptr)
            *name = nullptr;
        std::wstring found;
        const HRESULT hr =
            _m_cursor.Next(found, [&](const std::wstring& next) { return _Get(next, value, flavor); });
        if (hr == WBEM_S_NO_MORE_DATA)
            return hr;
        return FAILED(hr) || name == nullptr ? hr : CopyString(found, name);
    });
}

HRESULT CkxQualifierSet::EndEnumeration()
{
    return _Call("EndEnumeration", [&]() -> HRESULT {
        _m_cursor.End();
        return S_OK;
    });
}
