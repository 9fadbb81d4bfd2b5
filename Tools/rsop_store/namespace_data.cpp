#include "Tools/rsop_store/namespace_data.h"

#include <algorithm>
#include <utility>

namespace {

constexpr long kOnlyFlags = WBEM_FLAG_UPDATE_ONLY | WBEM_FLAG_CREATE_ONLY;

/// Whether the object's being there or not is against the flags.
HRESULT CheckExistence(long flags, bool exists)
{
    if ((flags & WBEM_FLAG_CREATE_ONLY) != 0 && exists)
        return kx::kWbemAlreadyExists;
    if ((flags & WBEM_FLAG_UPDATE_ONLY) != 0 && !exists)
        return kx::kWbemNotFound;
    return S_OK;
}

/// Whether an instance with these values may be stored at all.
HRESULT CheckInstance(const kx::ClassDefinition& definition, const kx::Values& values)
{
    if (kx::IsTrue(definition.qualifiers, L"abstract"))
        return kx::kWbemInvalidClass;
    if (definition.keys.empty())
        return kx::kWbemNoKey;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const kx::Qualifiers& qualifiers = definition.properties[i].qualifiers;
        if (kx::IsNull(values[i]) && (kx::IsTrue(qualifiers, L"key") || kx::IsTrue(qualifiers, L"not_null")))
            return kx::kWbemIllegalNull;
    }
    return S_OK;
}

/// A key of a path as a value of the property's type. False when it cannot be one.
bool KeyValue(kx::CimType type, const std::variant<std::int64_t, std::wstring>& written,
              kx::StoreValue& value)
{
    const auto* const number = std::get_if<std::int64_t>(&written);
    if (kx::IsText(type)) {
        if (number == nullptr)
            value = std::get<std::wstring>(written);
        return number == nullptr;
    }
    std::int64_t whole = 0;
    if (number != nullptr)
        whole = *number;
    else if (type != kx::CimType::UInt64 || !kx::ParseInteger(type, std::get<std::wstring>(written), whole))
        return false; // only what is beyond the numbers of a path stands in quotes
    value = whole;
    return type == kx::CimType::Boolean || kx::InRange(type, whole);
}

} // namespace

CkxNamespace::CkxNamespace(std::shared_ptr<CkxStoreState> state, std::wstring path,
                           const std::vector<kx::ClassPointer>& classes)
    : _m_state(std::move(state)), _m_path(std::move(path)), _m_classes(classes)
{
}

kx::ClassPointer CkxNamespace::FindClass(std::wstring_view name) const
{
    const std::lock_guard hold(_m_lock);
    return _FindClass(name);
}

kx::ClassPointer CkxNamespace::_FindClass(std::wstring_view name) const
{
    const auto found = std::find_if(_m_classes.begin(), _m_classes.end(),
                                    [name](const auto& c) { return kx::EqualNames(c->name, name); });
    return found == _m_classes.end() ? nullptr : *found;
}

HRESULT CkxNamespace::PutClass(const kx::ClassDefinition& draft, long flags, kx::ClassPointer& registered)
{
    if ((flags & WBEM_MASK_UPDATE_MODE) != 0)
        return kx::kWbemUnsupportedParameter;
    if ((flags & kOnlyFlags) == kOnlyFlags)
        return kx::kWbemInvalidParameter;
    if (draft.name.empty())
        return kx::kWbemIncompleteClass;

    const std::lock_guard hold(_m_lock);
    const kx::ClassPointer current = _FindClass(draft.name);
    HRESULT hr = CheckExistence(flags, current != nullptr);
    if (SUCCEEDED(hr))
        hr = _CheckClass(draft);
    if (SUCCEEDED(hr) && current != nullptr)
        hr = _CheckReplacement(draft, *current);
    if (FAILED(hr))
        return hr;
    registered = kx::Seal(draft);
    if (current != nullptr)
        *std::find(_m_classes.begin(), _m_classes.end(), current) = registered;
    else
        _m_classes.push_back(registered);
    return S_OK;
}

HRESULT CkxNamespace::_CheckClass(const kx::ClassDefinition& draft) const
{
    if (kx::IsSystemName(draft.name))
        return kx::kWbemInvalidOperation;
    const kx::ClassDefinition* const parent = draft.parent.get();
    if (parent == nullptr)
        return S_OK;
    if (parent->IsA(draft.name))
        return kx::kWbemCircularReference;
    if (_FindClass(parent->name).get() != parent)
        return kx::kWbemInvalidSuperclass; // gone, or another one since
    if (parent->keys.empty())
        return S_OK;
    for (std::size_t i = 0; i < draft.properties.size(); ++i) {
        const bool inParent =
            i < parent->properties.size() && kx::IsTrue(parent->properties[i].qualifiers, L"key");
        if (kx::IsTrue(draft.properties[i].qualifiers, L"key") != inParent)
            return kx::kWbemCannotChangeKeyInheritance;
    }
    return S_OK;
}

HRESULT CkxNamespace::_CheckReplacement(const kx::ClassDefinition& draft,
                                        const kx::ClassDefinition& current) const
{
    if (_HasChildren(current.name))
        return kx::kWbemClassHasChildren;
    if (_m_instances.HasAny(current.name))
        return kx::kWbemClassHasInstances;
    return draft.parent == current.parent ? S_OK : kx::kWbemInvalidSuperclass;
}

bool CkxNamespace::_HasChildren(std::wstring_view name) const
{
    return std::any_of(_m_classes.begin(), _m_classes.end(), [name](const auto& c) {
        return c->parent != nullptr && kx::EqualNames(c->parent->name, name);
    });
}

HRESULT CkxNamespace::DeleteClass(std::wstring_view name)
{
    if (name.empty())
        return kx::kWbemInvalidParameter;
    const std::lock_guard hold(_m_lock);
    if (_FindClass(name) == nullptr)
        return kx::kWbemNotFound;
    if (kx::IsSystemName(name))
        return kx::kWbemInvalidOperation;
    _m_instances.EraseAll(name);
    std::erase_if(_m_classes, [name](const auto& c) { return c->IsA(name); });
    return S_OK;
}

std::vector<kx::ClassPointer>
CkxNamespace::Classes(const std::function<bool(const kx::ClassDefinition&)>& wanted) const
{
    std::vector<kx::ClassPointer> found;
    const std::lock_guard hold(_m_lock);
    std::copy_if(_m_classes.begin(), _m_classes.end(), std::back_inserter(found),
                 [&](const auto& c) { return wanted(*c); });
    return found;
}

HRESULT CkxNamespace::PutInstance(const kx::ClassPointer& definition, const kx::ValuesPointer& values,
                                  long flags)
{
    if ((flags & kOnlyFlags) == kOnlyFlags)
        return kx::kWbemInvalidParameter;

    const std::lock_guard hold(_m_lock);
    const kx::ClassPointer current = _FindClass(definition->name);
    if (current == nullptr)
        return kx::kWbemInvalidClass;
    kx::ValuesPointer placed = values;
    if (current != definition) { // spawned from a definition that has been replaced since
        std::optional<kx::Values> moved = kx::Relocate(*values, *definition, *current);
        if (!moved)
            return kx::kWbemInvalidObject;
        placed = std::make_shared<kx::Values>(std::move(*moved));
    }
    HRESULT hr = CheckInstance(*current, *placed);
    if (FAILED(hr))
        return hr;
    std::wstring key = kx::KeyText(*current, *placed);
    const kx::InstanceRecord* const existing = _m_instances.Find(*current, key);
    hr = CheckExistence(flags, existing != nullptr);
    if (SUCCEEDED(hr) && existing != nullptr && !kx::EqualNames(existing->definition->name, current->name))
        hr = kx::kWbemAlreadyExists; // another class of the same key space has it
    if (SUCCEEDED(hr) && kx::EqualNames(current->name, L"__NAMESPACE"))
        hr = _PutChild(*current, *placed);
    if (SUCCEEDED(hr))
        _m_instances.Write(current, placed, std::move(key));
    return hr;
}

HRESULT CkxNamespace::_PutChild(const kx::ClassDefinition& definition, const kx::Values& values)
{
    const auto& name = std::get<std::wstring>(values[definition.keys.front()]);
    if (!kx::IsValidName(name))
        return kx::kWbemInvalidParameter;
    std::shared_ptr<CkxNamespace>& child = _m_children[kx::FoldedName(name)];
    if (child == nullptr)
        child = std::make_shared<CkxNamespace>(_m_state, _m_path + L'\\' + name, kx::SystemClasses());
    return S_OK;
}

HRESULT CkxNamespace::_FindKey(const kx::ObjectPath& path, kx::ClassPointer& definition,
                               std::wstring& key) const
{
    definition = _FindClass(path.className);
    if (definition == nullptr)
        return kx::kWbemInvalidClass;
    if (path.keys.size() != definition->keys.size() || path.keys.empty())
        return kx::kWbemInvalidObjectPath;
    kx::Values values = *definition->defaults;
    for (const auto& [name, written] : path.keys) {
        const auto place =
            name.empty() && path.keys.size() == 1 ? definition->keys.front() : definition->Find(name);
        if (!place || !kx::IsTrue(definition->properties[*place].qualifiers, L"key") ||
            !KeyValue(definition->properties[*place].type, written, values[*place]))
            return kx::kWbemInvalidObjectPath;
    }
    key = kx::KeyText(*definition, values);
    return S_OK;
}

HRESULT CkxNamespace::_FindRecord(const kx::ObjectPath& path, kx::ClassPointer& definition, std::wstring& key,
                                  const kx::InstanceRecord*& record) const
{
    const HRESULT hr = _FindKey(path, definition, key);
    if (FAILED(hr))
        return hr;
    record = _m_instances.Find(*definition, key);
    return record == nullptr || !record->definition->IsA(definition->name) ? kx::kWbemNotFound : S_OK;
}

HRESULT CkxNamespace::FindInstance(const kx::ObjectPath& path, kx::InstanceRecord& found) const
{
    const std::lock_guard hold(_m_lock);
    kx::ClassPointer definition;
    std::wstring key;
    const kx::InstanceRecord* record = nullptr;
    const HRESULT hr = _FindRecord(path, definition, key, record);
    if (SUCCEEDED(hr))
        found = *record;
    return hr;
}

HRESULT CkxNamespace::DeleteInstance(const kx::ObjectPath& path)
{
    const std::lock_guard hold(_m_lock);
    kx::ClassPointer definition;
    std::wstring key;
    const kx::InstanceRecord* record = nullptr;
    const HRESULT hr = _FindRecord(path, definition, key, record);
    if (FAILED(hr))
        return hr;
    if (kx::EqualNames(definition->name, L"__NAMESPACE"))
        _m_children.erase(
            kx::FoldedName(std::get<std::wstring>((*record->values)[definition->keys.front()])));
    _m_instances.Erase(*definition, key);
    return S_OK;
}

std::vector<kx::InstanceRecord>
CkxNamespace::Instances(const std::function<bool(const kx::ClassDefinition&)>& wanted) const
{
    const std::lock_guard hold(_m_lock);
    return _m_instances.Collect(wanted);
}

std::shared_ptr<CkxNamespace> CkxNamespace::Child(std::wstring_view path) const
{
    const std::size_t separator = path.find_first_of(L"\\/");
    std::shared_ptr<CkxNamespace> child;
    {
        const std::lock_guard hold(_m_lock);
        const auto found = _m_children.find(kx::FoldedName(path.substr(0, separator)));
        if (found == _m_children.end())
            return nullptr;
        child = found->second;
    }
    return separator == std::wstring_view::npos ? child : child->Child(path.substr(separator + 1));
}

std::wstring RelativePath(const kx::ClassDefinition& definition, const kx::Values& values)
{
    kx::ObjectPath path;
    path.className = definition.name;
    path.isInstance = true;
    for (const std::size_t place : definition.keys) {
        const kx::PropertyDefinition& property = definition.properties[place];
        const kx::StoreValue& value = values[place];
        if (kx::IsNull(value))
            return {};
        if (const auto* const text = std::get_if<std::wstring>(&value))
            path.keys.emplace_back(property.name, *text);
        else if (const auto* const truth = std::get_if<bool>(&value))
            path.keys.emplace_back(property.name, std::int64_t{*truth});
        else if (const auto number = std::get<std::int64_t>(value);
                 number < 0 && property.type == kx::CimType::UInt64)
            path.keys.emplace_back(property.name, kx::IntegerText(property.type, number));
        else
            path.keys.emplace_back(property.name, number);
    }
    return path.keys.empty() ? std::wstring() : kx::ComposeRelativePath(path);
}
