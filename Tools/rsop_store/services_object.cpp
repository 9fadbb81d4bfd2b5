#include "Tools/rsop_store/services_object.h"

#include "Tools/rsop_store/class_object.h"
#include "Tools/rsop_store/instance_object.h"
#include "Tools/rsop_store/object_enum.h"
#include "Tools/rsop_store/query_run.h"

namespace {

constexpr LONG kGetFlags = WBEM_FLAG_USE_AMENDED_QUALIFIERS | WBEM_FLAG_DIRECT_READ;
constexpr LONG kPutFlags =
    LONG{WBEM_FLAG_USE_AMENDED_QUALIFIERS} | LONG{WBEM_FLAG_UPDATE_ONLY} | LONG{WBEM_FLAG_CREATE_ONLY};
constexpr LONG kEnumFlags = LONG{WBEM_FLAG_USE_AMENDED_QUALIFIERS} | LONG{WBEM_FLAG_DIRECT_READ} |
                            LONG{WBEM_FLAG_SHALLOW} | LONG{WBEM_FLAG_RETURN_IMMEDIATELY} |
                            LONG{WBEM_FLAG_FORWARD_ONLY};
constexpr LONG kQueryFlags = (kEnumFlags & ~WBEM_FLAG_SHALLOW) | WBEM_FLAG_ENSURE_LOCATABLE;

/// Whether the flags of a call are known; one that would answer later is refused.
HRESULT CheckFlags(LONG flags, LONG allowed, IWbemCallResult** result)
{
    if (result != nullptr)
        *result = nullptr;
    if ((flags & ~(allowed | WBEM_FLAG_RETURN_IMMEDIATELY)) != 0)
        return kx::kWbemInvalidParameter;
    return (flags & ~allowed) != 0 ? kx::kWbemNotSupported : S_OK;
}

std::wstring_view View(BSTR text)
{
    return text == nullptr ? std::wstring_view() : std::wstring_view(text);
}

/// Whether a path names a class of the user's, so that reading it is schema work.
bool IsUserClass(std::wstring_view path)
{
    return path.find_first_of(L".=") == std::wstring_view::npos && !kx::IsSystemName(path);
}

} // namespace

CkxServicesObject::CkxServicesObject(std::shared_ptr<CkxNamespace> space)
    : CkxServicesRefusals(std::move(space))
{
}

HRESULT CkxServicesObject::OpenNamespace(const BSTR name, LONG flags, IWbemContext*, IWbemServices** opened,
                                         IWbemCallResult** result)
{
    return _Call("OpenNamespace", [&]() -> HRESULT {
        const HRESULT hr = CheckFlags(flags, 0, result);
        if (FAILED(hr))
            return hr;
        if (opened == nullptr || View(name).empty())
            return kx::kWbemInvalidParameter;
        *opened = nullptr;
        std::shared_ptr<CkxNamespace> child = _Namespace()->Child(name);
        if (child == nullptr)
            return kx::kWbemInvalidNamespace;
        *opened = MakeComObject<CkxServicesObject>(std::move(child)).Detach();
        return S_OK;
    });
}

HRESULT CkxServicesObject::GetObject(const BSTR path, LONG flags, IWbemContext*, IWbemClassObject** object,
                                     IWbemCallResult** result)
{
    return _SchemaCall("GetObject", IsUserClass(View(path)), [&]() -> HRESULT {
        const HRESULT hr = CheckFlags(flags, kGetFlags, result);
        if (FAILED(hr))
            return hr;
        if (object == nullptr)
            return kx::kWbemInvalidParameter;
        *object = nullptr;
        if (View(path).empty()) {
            *object = CkxClassObject::Build(_Namespace(), nullptr).Detach();
            return S_OK;
        }
        kx::ObjectPath parsed;
        return kx::ParseObjectPath(path, parsed) ? _GetObject(parsed, object) : kx::kWbemInvalidObjectPath;
    });
}

HRESULT CkxServicesObject::_Resolve(const kx::ObjectPath& path, std::shared_ptr<CkxNamespace>& space) const
{
    const std::wstring& own = _Namespace()->Path();
    if (!path.server.empty() && path.server != L"." &&
        !kx::EqualNames(path.server, _Namespace()->State().server))
        return kx::kWbemInvalidObjectPath;
    space = _Namespace();
    if (path.namespacePath.empty() || kx::EqualNames(path.namespacePath, own))
        return S_OK;
    const std::wstring_view written(path.namespacePath);
    const bool below = written.size() > own.size() && written[own.size()] == L'\\' &&
                       kx::EqualNames(written.substr(0, own.size()), own);
    space = below ? space->Child(written.substr(own.size() + 1)) : nullptr;
    return space == nullptr ? kx::kWbemInvalidNamespace : S_OK;
}

HRESULT CkxServicesObject::_GetObject(const kx::ObjectPath& path, IWbemClassObject** object) const
{
    std::shared_ptr<CkxNamespace> space;
    HRESULT hr = _Resolve(path, space);
    if (FAILED(hr))
        return hr;
    if (!path.isInstance) {
        kx::ClassPointer definition = space->FindClass(path.className);
        if (definition == nullptr)
            return kx::kWbemNotFound;
        *object = MakeComObject<CkxClassObject>(std::move(space), std::move(definition)).Detach();
        return S_OK;
    }
    kx::InstanceRecord record;
    hr = space->FindInstance(path, record);
    if (FAILED(hr))
        return hr == kx::kWbemInvalidClass ? kx::kWbemNotFound : hr;
    *object = MakeComObject<CkxInstanceObject>(std::move(space), record.definition, record.values).Detach();
    return S_OK;
}

HRESULT CkxServicesObject::PutClass(IWbemClassObject* object, LONG flags, IWbemContext*,
                                    IWbemCallResult** result)
{
    CkxWbemObject* const own = CkxWbemObject::From(object);
    const HRESULT hr = _SchemaCall("PutClass", true, [&]() -> HRESULT {
        const HRESULT allowed = CheckFlags(flags, kPutFlags | LONG{WBEM_MASK_UPDATE_MODE}, result);
        if (FAILED(allowed))
            return allowed;
        if (own == nullptr)
            return kx::kWbemInvalidParameter;
        const kx::ObjectView view = own->View();
        if (view.values != nullptr)
            return kx::kWbemInvalidClass;
        kx::ClassPointer registered;
        const HRESULT put = _Namespace()->PutClass(*view.definition, flags, registered);
        if (SUCCEEDED(put))
            static_cast<CkxClassObject*>(own)->SetRegistered(std::move(registered));
        return put;
    });
    _SchemaWatch().End(own); // put or refused, its building is over
    return hr;
}

HRESULT CkxServicesObject::DeleteClass(const BSTR name, LONG flags, IWbemContext*, IWbemCallResult** result)
{
    return _SchemaCall("DeleteClass", true, [&]() -> HRESULT {
        const HRESULT hr = CheckFlags(flags, 0, result);
        return FAILED(hr) ? hr : _Namespace()->DeleteClass(View(name));
    });
}

HRESULT CkxServicesObject::CreateClassEnum(const BSTR superclass, LONG flags, IWbemContext*,
                                           IEnumWbemClassObject** found)
{
    return _Call("CreateClassEnum", [&]() -> HRESULT {
        if (found == nullptr || (flags & ~kEnumFlags) != 0)
            return kx::kWbemInvalidParameter;
        *found = nullptr;
        const std::wstring_view top = View(superclass);
        if (!top.empty() && _Namespace()->FindClass(top) == nullptr)
            return kx::kWbemInvalidClass;
        const bool shallow = (flags & WBEM_FLAG_SHALLOW) != 0;
        const auto wanted = [&](const kx::ClassDefinition& c) {
            if (c.parent == nullptr)
                return top.empty();
            if (shallow)
                return !top.empty() && kx::EqualNames(c.parent->name, top);
            return top.empty() || c.parent->IsA(top);
        };
        CkxObjectEnum::Items items;
        for (kx::ClassPointer& definition : _Namespace()->Classes(wanted))
            items.push_back({std::move(definition), nullptr});
        return _Enumerate(std::move(items), flags, found);
    });
}

HRESULT CkxServicesObject::PutInstance(IWbemClassObject* object, LONG flags, IWbemContext*,
                                       IWbemCallResult** result)
{
    return _Call("PutInstance", [&]() -> HRESULT {
        const HRESULT hr = CheckFlags(flags, kPutFlags, result);
        if (FAILED(hr))
            return hr;
        const CkxWbemObject* const own = CkxWbemObject::From(object);
        if (own == nullptr)
            return kx::kWbemInvalidParameter;
        const kx::ObjectView view = own->View();
        return view.values == nullptr ? kx::kWbemInvalidObject
                                      : _Namespace()->PutInstance(view.definition, view.values, flags);
    });
}

HRESULT CkxServicesObject::DeleteInstance(const BSTR path, LONG flags, IWbemContext*,
                                          IWbemCallResult** result)
{
    return _Call("DeleteInstance", [&]() -> HRESULT {
        HRESULT hr = CheckFlags(flags, 0, result);
        if (FAILED(hr))
            return hr;
        kx::ObjectPath parsed;
        if (!kx::ParseObjectPath(View(path), parsed) || !parsed.isInstance)
            return View(path).empty() ? kx::kWbemInvalidParameter : kx::kWbemInvalidObjectPath;
        std::shared_ptr<CkxNamespace> space;
        hr = _Resolve(parsed, space);
        return FAILED(hr) ? hr : space->DeleteInstance(parsed);
    });
}

HRESULT CkxServicesObject::CreateInstanceEnum(const BSTR className, LONG flags, IWbemContext*,
                                              IEnumWbemClassObject** found)
{
    return _Call("CreateInstanceEnum", [&]() -> HRESULT {
        if (found == nullptr || View(className).empty() || (flags & ~kEnumFlags) != 0)
            return kx::kWbemInvalidParameter;
        *found = nullptr;
        if (_Namespace()->FindClass(className) == nullptr)
            return kx::kWbemInvalidClass;
        const bool shallow = (flags & WBEM_FLAG_SHALLOW) != 0;
        const auto wanted = [&](const kx::ClassDefinition& c) {
            return shallow ? kx::EqualNames(c.name, className) : c.IsA(className);
        };
        CkxObjectEnum::Items items;
        for (kx::InstanceRecord& record : _Namespace()->Instances(wanted))
            items.push_back({std::move(record.definition), std::move(record.values)});
        return _Enumerate(std::move(items), flags, found);
    });
}

HRESULT CkxServicesObject::ExecQuery(const BSTR language, const BSTR query, LONG flags, IWbemContext*,
                                     IEnumWbemClassObject** found)
{
    return _Call("ExecQuery", [&]() -> HRESULT {
        if (found == nullptr || View(language).empty() || View(query).empty() || (flags & ~kQueryFlags) != 0)
            return kx::kWbemInvalidParameter;
        *found = nullptr;
        if (!kx::EqualNames(language, L"WQL"))
            return kx::kWbemInvalidQueryType;
        CkxObjectEnum::Items items;
        const HRESULT hr = RunQuery(*_Namespace(), query, items);
        return FAILED(hr) ? hr : _Enumerate(std::move(items), flags, found);
    });
}

HRESULT CkxServicesObject::_Enumerate(CkxObjectEnum::Items items, LONG flags,
                                      IEnumWbemClassObject** found) const
{
    auto shared = std::make_shared<const CkxObjectEnum::Items>(std::move(items));
    const bool forwardOnly = (flags & WBEM_FLAG_FORWARD_ONLY) != 0;
    *found = MakeComObject<CkxObjectEnum>(_Namespace(), std::move(shared), forwardOnly).Detach();
    return S_OK;
}
