#include "Tools/rsop_store/instance_object.h"

#include "Tools/rsop_store/qualifier_set.h"
#include "Tools/rsop_store/variant_value.h"

CkxInstanceObject::CkxInstanceObject(std::shared_ptr<CkxNamespace> space, kx::ClassPointer definition,
                                     kx::ValuesPointer values)
    : CkxWbemObject(std::move(space)), _m_definition(std::move(definition)), _m_values(std::move(values))
{
}

kx::ObjectView CkxInstanceObject::View() const
{
    const std::lock_guard hold(_m_lock);
    return {_m_definition, _m_values.Read()};
}

HRESULT CkxInstanceObject::GetQualifierSet(IWbemQualifierSet** set)
{
    return _Call("GetQualifierSet", [&]() -> HRESULT {
        if (set == nullptr)
            return kx::kWbemInvalidParameter;
        *set = MakeComObject<CkxQualifierSet>(this, _Namespace(), std::nullopt).Detach();
        return S_OK;
    });
}

HRESULT CkxInstanceObject::Put(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE type)
{
    return _Call("Put", [&]() -> HRESULT {
        if (name == nullptr || flags != 0 || type != CIM_EMPTY)
            return kx::kWbemInvalidParameter;
        const auto place = _m_definition->Find(name);
        if (!place)
            return kx::IsSystemProperty(name) ? kx::kWbemReadOnly : kx::kWbemNotFound;
        kx::StoreValue read; // null, as a null pointer asks
        const HRESULT hr =
            value == nullptr ? S_OK : ReadVariant(*value, _m_definition->properties[*place].type, read);
        if (FAILED(hr))
            return hr;
        const std::lock_guard hold(_m_lock);
        _m_values.Edit()[*place] = std::move(read);
        return S_OK;
    });
}

HRESULT CkxInstanceObject::Delete(LPCWSTR)
{
    return _Call("Delete", []() -> HRESULT { return kx::kWbemInvalidOperation; }); // only classes have it
}

HRESULT CkxInstanceObject::GetPropertyQualifierSet(LPCWSTR property, IWbemQualifierSet** set)
{
    return _Call("GetPropertyQualifierSet", [&]() -> HRESULT {
        if (property == nullptr || set == nullptr)
            return kx::kWbemInvalidParameter;
        *set = nullptr;
        if (kx::IsSystemProperty(property))
            return kx::kWbemSystemProperty;
        if (!_m_definition->Find(property))
            return kx::kWbemNotFound;
        *set = MakeComObject<CkxQualifierSet>(this, _Namespace(), std::wstring(property)).Detach();
        return S_OK;
    });
}

HRESULT CkxInstanceObject::Clone(IWbemClassObject** copy)
{
    return _Call("Clone", [&]() -> HRESULT {
        if (copy == nullptr)
            return kx::kWbemInvalidParameter;
        *copy = nullptr;
        *copy = MakeComObject<CkxInstanceObject>(_Namespace(), _m_definition, View().values).Detach();
        return S_OK;
    });
}

HRESULT CkxInstanceObject::SpawnDerivedClass(LONG, IWbemClassObject** derived)
{
    return _SchemaCall("SpawnDerivedClass", true, [&]() -> HRESULT {
        if (derived == nullptr)
            return kx::kWbemInvalidParameter;
        *derived = nullptr;
        return kx::kWbemInvalidOperation;
    });
}

HRESULT CkxInstanceObject::SpawnInstance(LONG flags, IWbemClassObject** instance)
{
    return _Call("SpawnInstance", [&]() -> HRESULT {
        if (instance == nullptr || flags != 0)
            return kx::kWbemInvalidParameter;
        *instance = nullptr;
        *instance =
            MakeComObject<CkxInstanceObject>(_Namespace(), _m_definition, _m_definition->defaults).Detach();
        return S_OK;
    });
}
