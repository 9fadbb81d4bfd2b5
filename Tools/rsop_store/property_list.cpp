#include "Tools/rsop_store/property_list.h"

#include "Tools/rsop_store/namespace_data.h"
#include "Tools/rsop_store/variant_value.h"

#include <algorithm>
#include <iterator>

namespace kx {
namespace {

enum class System {
    Path,
    Namespace,
    Server,
    Derivation,
    PropertyCount,
    RelPath,
    Dynasty,
    Superclass,
    Class,
    Genus
};

struct SystemRow {
    const wchar_t* name;
    System which;
    CIMTYPE type;
};

constexpr SystemRow kSystem[] = {
    {L"__PATH", System::Path, CIM_STRING},
    {L"__NAMESPACE", System::Namespace, CIM_STRING},
    {L"__SERVER", System::Server, CIM_STRING},
    {L"__DERIVATION", System::Derivation, CIM_STRING | CIM_FLAG_ARRAY},
    {L"__PROPERTY_COUNT", System::PropertyCount, CIM_SINT32},
    {L"__RELPATH", System::RelPath, CIM_STRING},
    {L"__DYNASTY", System::Dynasty, CIM_STRING},
    {L"__SUPERCLASS", System::Superclass, CIM_STRING},
    {L"__CLASS", System::Class, CIM_STRING},
    {L"__GENUS", System::Genus, CIM_SINT32},
};

const SystemRow* FindSystem(std::wstring_view name)
{
    const auto* const row = std::find_if(std::begin(kSystem), std::end(kSystem),
                                         [name](const SystemRow& r) { return EqualNames(r.name, name); });
    return row == std::end(kSystem) ? nullptr : row;
}

std::wstring RelPath(const ObjectView& view)
{
    return view.values == nullptr ? view.definition->name : RelativePath(*view.definition, *view.values);
}

/// A text property; without text it is null.
std::wstring SystemText(System which, const ObjectView& view, const CkxNamespace& space)
{
    const ClassDefinition& definition = *view.definition;
    switch (which) {
    case System::Namespace:
        return space.Path();
    case System::Server:
        return space.State().server;
    case System::RelPath:
        return RelPath(view);
    case System::Path: {
        const std::wstring relative = RelPath(view);
        return relative.empty() ? relative
                                : L"\\\\" + space.State().server + L'\\' + space.Path() + L':' + relative;
    }
    case System::Dynasty:
        return definition.Dynasty();
    case System::Superclass:
        return definition.parent == nullptr ? std::wstring() : definition.parent->name;
    default:
        return definition.name;
    }
}

/// Whether one property has what the filter's primary condition asks of its qualifiers.
bool MeetsCondition(const PropertyDefinition& property, const NameFilter& filter)
{
    const LONG condition = filter.flags & WBEM_MASK_PRIMARY_CONDITION;
    if (condition == WBEM_FLAG_ALWAYS)
        return true;
    const Qualifier* const qualifier = FindQualifier(property.qualifiers, filter.qualifier);
    if (condition == WBEM_FLAG_ONLY_IF_FALSE)
        return qualifier == nullptr;
    return qualifier != nullptr &&
           (condition == WBEM_FLAG_ONLY_IF_TRUE || qualifier->value == *filter.qualifierValue);
}

bool HasOrigin(const PropertyDefinition& property, LONG origin)
{
    if (origin == WBEM_FLAG_LOCAL_ONLY)
        return property.local;
    if (origin == WBEM_FLAG_PROPAGATED_ONLY)
        return !property.local;
    return origin != WBEM_FLAG_SYSTEM_ONLY;
}

} // namespace

HRESULT GetSystemProperty(const ObjectView& view, const CkxNamespace& space, std::wstring_view name,
                          VARIANT& value, CIMTYPE& type)
{
    const SystemRow* const row = FindSystem(name);
    if (row == nullptr)
        return kWbemNotFound;
    type = row->type;
    const auto number = [&value](std::size_t n) {
        return WriteVariant(static_cast<std::int64_t>(n), CimType::SInt32, value);
    };
    if (row->which == System::Genus)
        return number(view.values == nullptr ? WBEM_GENUS_CLASS : WBEM_GENUS_INSTANCE);
    if (row->which == System::PropertyCount)
        return number(view.definition->properties.size());
    if (row->which == System::Derivation) {
        SAFEARRAY* const names = MakeNameArray(view.definition->Derivation());
        if (names == nullptr)
            return kWbemOutOfMemory;
        value.vt = VT_ARRAY | VT_BSTR;
        value.parray = names;
        return S_OK;
    }
    std::wstring text = SystemText(row->which, view, space);
    return WriteVariant(text.empty() ? StoreValue() : StoreValue(std::move(text)), CimType::String, value);
}

bool IsSystemProperty(std::wstring_view name)
{
    return FindSystem(name) != nullptr;
}

LONG OriginFlavor(const PropertyDefinition& property)
{
    return property.local ? WBEM_FLAVOR_ORIGIN_LOCAL : WBEM_FLAVOR_ORIGIN_PROPAGATED;
}

HRESULT ListNames(const ClassDefinition& definition, const NameFilter& filter,
                  std::vector<std::wstring>& names)
{
    const LONG condition = filter.flags & WBEM_MASK_PRIMARY_CONDITION;
    const LONG origin = filter.flags & WBEM_MASK_CONDITION_ORIGIN;
    const bool keysOnly = (filter.flags & WBEM_FLAG_KEYS_ONLY) != 0;
    const bool needsValue = condition == WBEM_FLAG_ONLY_IF_IDENTICAL;
    if ((condition != WBEM_FLAG_ALWAYS) != (filter.qualifier != nullptr) ||
        needsValue != (filter.qualifierValue != nullptr) || origin > WBEM_FLAG_NONSYSTEM_ONLY)
        return kWbemInvalidParameter;

    names.clear();
    if (condition == WBEM_FLAG_ALWAYS && !keysOnly && (origin == 0 || origin == WBEM_FLAG_SYSTEM_ONLY))
        for (const SystemRow& row : kSystem)
            names.emplace_back(row.name);
    for (const PropertyDefinition& property : definition.properties)
        if (HasOrigin(property, origin) && (!keysOnly || IsTrue(property.qualifiers, L"key")) &&
            MeetsCondition(property, filter))
            names.push_back(property.name);
    return S_OK;
}

} // namespace kx
