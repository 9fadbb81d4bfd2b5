#include "Tools/rsop_store/class_object.h"

#include "Tools/rsop_store/instance_object.h"
#include "Tools/rsop_store/qualifier_set.h"
#include "Tools/rsop_store/variant_value.h"

CkxClassObject::CkxClassObject(std::shared_ptr<CkxNamespace> space, kx::ClassPointer registered)
    : CkxClassObject(std::move(space), std::move(registered), _State::Registered)
{
}

CkxClassObject::CkxClassObject(std::shared_ptr<CkxNamespace> space, kx::ClassPointer definition, _State state)
    : CkxWbemObject(std::move(space)), _m_definition(std::move(definition)), _m_state(state)
{
}

ATL::CComPtr<CkxClassObject> CkxClassObject::Build(const std::shared_ptr<CkxNamespace>& space,
                                                   const kx::ClassPointer& parent)
{
    auto draft = std::make_shared<kx::ClassDefinition>();
    if (parent != nullptr)
        *draft = kx::DeriveClass(parent);
    ATL::CComPtr<CkxClassObject> object = new CkxClassObject(space, std::move(draft), _State::Building);
    object->_SchemaWatch().Begin(static_cast<CkxWbemObject*>(object));
    return object;
}

CkxClassObject::~CkxClassObject()
{
    _SchemaWatch().End(static_cast<CkxWbemObject*>(this));
}

void CkxClassObject::SetRegistered(kx::ClassPointer definition)
{
    const std::lock_guard hold(_m_lock);
    _m_definition.Share(std::move(definition));
    _m_state = _State::Registered;
}

kx::ObjectView CkxClassObject::View() const
{
    const std::lock_guard hold(_m_lock);
    return {_m_definition.Read(), nullptr};
}

kx::ClassPointer CkxClassObject::_Registered() const
{
    const std::lock_guard hold(_m_lock);
    return _m_state == _State::Registered ? _m_definition.Read() : nullptr;
}

kx::ClassDefinition& CkxClassObject::_Edit()
{
    if (_m_state == _State::Registered)
        _m_state = _State::Changed;
    return _m_definition.Edit();
}

HRESULT CkxClassObject::ChangeQualifiers(const std::wstring* property, const QualifierChange& change)
{
    const std::lock_guard hold(_m_lock);
    kx::ClassDefinition& definition = _Edit();
    const kx::ClassDefinition* const parent = definition.parent.get();
    if (property == nullptr)
        return change(definition.qualifiers, nullptr,
                      parent == nullptr ? kx::Qualifiers() : kx::InheritedQualifiers(parent->qualifiers));
    const auto place = definition.Find(*property);
    if (!place)
        return kx::kWbemNotFound;
    kx::PropertyDefinition& changed = definition.properties[*place];
    const HRESULT hr =
        change(changed.qualifiers, &changed,
               changed.inherited ? kx::InheritedQualifiers(parent->properties[*place].qualifiers)
                                 : kx::Qualifiers());
    if (SUCCEEDED(hr))
        changed.local = true;
    return hr;
}

HRESULT CkxClassObject::GetQualifierSet(IWbemQualifierSet** set)
{
    return _Call("GetQualifierSet", [&]() -> HRESULT {
        if (set == nullptr)
            return kx::kWbemInvalidParameter;
        *set = MakeComObject<CkxQualifierSet>(this, _Namespace(), std::nullopt).Detach();
        return S_OK;
    });
}

HRESULT CkxClassObject::Put(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE type)
{
    return _SchemaCall("Put", true, [&]() -> HRESULT {
        if (name == nullptr || (flags & ~WBEM_FLAG_USE_AMENDED_QUALIFIERS) != 0)
            return kx::kWbemInvalidParameter;
        const std::lock_guard hold(_m_lock);
        if (kx::EqualNames(name, L"__CLASS"))
            return _PutName(value);
        if (kx::IsSystemProperty(name))
            return kx::kWbemReadOnly;
        ATL::CComVariant null;
        null.vt = VT_NULL;
        return _PutProperty(name, value == nullptr ? null : *value, type);
    });
}

HRESULT CkxClassObject::_PutName(const VARIANT* name)
{
    if (_m_state != _State::Building)
        return kx::kWbemReadOnly;
    if (name == nullptr || name->vt != VT_BSTR)
        return kx::kWbemTypeMismatch;
    if (name->bstrVal == nullptr || !kx::IsValidName(name->bstrVal))
        return kx::kWbemInvalidParameter;
    _Edit().name = name->bstrVal;
    return S_OK;
}

HRESULT CkxClassObject::_PutProperty(LPCWSTR name, const VARIANT& value, CIMTYPE type)
{
    const auto place = _m_definition.Read()->Find(name);
    if (!place)
        return _AddProperty(name, value, type);
    const kx::CimType present = _m_definition.Read()->properties[*place].type;
    if (type != CIM_EMPTY && type != static_cast<CIMTYPE>(present))
        return kx::kWbemTypeMismatch;
    kx::StoreValue read;
    const HRESULT hr = ReadVariant(value, present, read);
    if (FAILED(hr))
        return hr;
    kx::PropertyDefinition& property = _Edit().properties[*place];
    property.value = std::move(read);
    property.local = true;
    return S_OK;
}

HRESULT CkxClassObject::_AddProperty(LPCWSTR name, const VARIANT& value, CIMTYPE type)
{
    if (!kx::IsValidName(name) || (type == CIM_EMPTY && value.vt == VT_NULL))
        return kx::kWbemInvalidParameter;
    const auto cimType = type == CIM_EMPTY ? TypeOfVariant(value) : static_cast<kx::CimType>(type);
    if (kx::CimTypeName(cimType) == nullptr)
        return kx::kWbemInvalidPropertyType;
    kx::StoreValue read;
    const HRESULT hr = ReadVariant(value, cimType, read);
    if (SUCCEEDED(hr))
        _Edit().properties.push_back(kx::MakeProperty(name, cimType, std::move(read)));
    return hr;
}

HRESULT CkxClassObject::Delete(LPCWSTR name)
{
    return _SchemaCall("Delete", true, [&]() -> HRESULT {
        if (name == nullptr)
            return kx::kWbemInvalidParameter;
        if (kx::IsSystemProperty(name))
            return kx::kWbemSystemProperty;
        const std::lock_guard hold(_m_lock);
        const auto place = _m_definition.Read()->Find(name);
        return place ? _DeleteProperty(*place) : kx::kWbemNotFound;
    });
}

HRESULT CkxClassObject::_DeleteProperty(std::size_t place)
{
    const kx::PropertyDefinition& property = _m_definition.Read()->properties[place];
    if (!property.local)
        return kx::kWbemPropagatedProperty;
    const bool inherited = property.inherited;
    kx::ClassDefinition& definition = _Edit();
    if (inherited) { // the parent's shows through again
        definition.properties[place] = kx::InheritProperty(definition.parent->properties[place]);
        return WBEM_S_RESET_TO_DEFAULT;
    }
    definition.properties.erase(definition.properties.begin() + static_cast<std::ptrdiff_t>(place));
    return S_OK;
}

HRESULT CkxClassObject::GetPropertyQualifierSet(LPCWSTR property, IWbemQualifierSet** set)
{
    return _SchemaCall(
        "GetPropertyQualifierSet", !kx::IsSystemName(View().definition->name), [&]() -> HRESULT {
            if (property == nullptr || set == nullptr)
                return kx::kWbemInvalidParameter;
            *set = nullptr;
            if (kx::IsSystemProperty(property))
                return kx::kWbemSystemProperty;
            if (!View().definition->Find(property))
                return kx::kWbemNotFound;
            *set = MakeComObject<CkxQualifierSet>(this, _Namespace(), std::wstring(property)).Detach();
            return S_OK;
        });
}

HRESULT CkxClassObject::Clone(IWbemClassObject** copy)
{
    return _Call("Clone", [&]() -> HRESULT {
        if (copy == nullptr)
            return kx::kWbemInvalidParameter;
        *copy = nullptr;
        const std::lock_guard hold(_m_lock);
        ATL::CComPtr<IWbemClassObject> made =
            new CkxClassObject(_Namespace(), _m_definition.Read(), _m_state);
        *copy = made.Detach();
        return S_OK;
    });
}

HRESULT CkxClassObject::SpawnDerivedClass(LONG flags, IWbemClassObject** derived)
{
    return _SchemaCall("SpawnDerivedClass", true, [&]() -> HRESULT {
        if (derived == nullptr || flags != 0)
            return kx::kWbemInvalidParameter;
        *derived = nullptr;
        const kx::ClassPointer parent = _Registered();
        if (parent == nullptr)
            return kx::kWbemIncompleteClass;
        *derived = Build(_Namespace(), parent).Detach();
        return S_OK;
    });
}

HRESULT CkxClassObject::SpawnInstance(LONG flags, IWbemClassObject** instance)
{
    return _Call("SpawnInstance", [&]() -> HRESULT {
        if (instance == nullptr || flags != 0)
            return kx::kWbemInvalidParameter;
        *instance = nullptr;
        const kx::ClassPointer definition = _Registered();
        if (definition == nullptr)
            return kx::kWbemIncompleteClass;
        *instance = MakeComObject<CkxInstanceObject>(_Namespace(), definition, definition->defaults).Detach();
        return S_OK;
    });
}
