#include "Tools/rsop_store/class_definition.h"

#include <algorithm>
#include <utility>

namespace kx {

const Qualifier* FindQualifier(const Qualifiers& list, std::wstring_view name)
{
    const auto found = std::find_if(list.begin(), list.end(),
                                    [name](const Qualifier& q) { return EqualNames(q.name, name); });
    return found == list.end() ? nullptr : &*found;
}

Qualifier* FindQualifier(Qualifiers& list, std::wstring_view name)
{
    return const_cast<Qualifier*>(FindQualifier(std::as_const(list), name));
}

bool IsTrue(const Qualifiers& list, std::wstring_view name)
{
    const Qualifier* const found = FindQualifier(list, name);
    const bool* const value = found == nullptr ? nullptr : std::get_if<bool>(&found->value);
    return value != nullptr && *value;
}

Qualifiers InheritedQualifiers(const Qualifiers& list)
{
    Qualifiers inherited;
    for (const Qualifier& qualifier : list) {
        // A key stays one below, however its qualifier was put.
        if ((qualifier.flavor & kToDerivedClass) == 0 && !EqualNames(qualifier.name, L"key"))
            continue;
        inherited.push_back(qualifier);
        inherited.back().inherited = true;
    }
    return inherited;
}

std::optional<std::size_t> ClassDefinition::Find(std::wstring_view property) const
{
    for (std::size_t i = 0; i < properties.size(); ++i)
        if (EqualNames(properties[i].name, property))
            return i;
    return std::nullopt;
}

bool ClassDefinition::IsA(std::wstring_view className) const
{
    for (const ClassDefinition* definition = this; definition != nullptr;
         definition = definition->parent.get())
        if (EqualNames(definition->name, className))
            return true;
    return false;
}

std::vector<std::wstring> ClassDefinition::Derivation() const
{
    std::vector<std::wstring> names;
    for (const ClassDefinition* ancestor = parent.get(); ancestor != nullptr;
         ancestor = ancestor->parent.get())
        names.push_back(ancestor->name);
    return names;
}

const std::wstring& ClassDefinition::Dynasty() const
{
    const ClassDefinition* top = this;
    while (top->parent != nullptr)
        top = top->parent.get();
    return top->name;
}

PropertyDefinition MakeProperty(std::wstring_view name, CimType type, StoreValue value)
{
    PropertyDefinition property;
    property.name = name;
    property.type = type;
    property.value = std::move(value);
    property.qualifiers.push_back(
        {L"CIMTYPE", std::wstring(CimTypeName(type)), kToInstance | kToDerivedClass, false});
    return property;
}

PropertyDefinition InheritProperty(const PropertyDefinition& property)
{
    PropertyDefinition inherited = property;
    inherited.qualifiers = InheritedQualifiers(property.qualifiers);
    inherited.inherited = true;
    inherited.local = false;
    return inherited;
}

ClassDefinition DeriveClass(const ClassPointer& parent)
{
    ClassDefinition derived;
    derived.parent = parent;
    derived.qualifiers = InheritedQualifiers(parent->qualifiers);
    derived.properties.reserve(parent->properties.size() + 4);
    for (const PropertyDefinition& property : parent->properties)
        derived.properties.push_back(InheritProperty(property));
    return derived;
}

ClassPointer Seal(ClassDefinition definition)
{
    definition.keys.clear();
    auto defaults = std::make_shared<Values>();
    defaults->reserve(definition.properties.size());
    for (std::size_t i = 0; i < definition.properties.size(); ++i) {
        PropertyDefinition& property = definition.properties[i];
        if (!property.inherited)
            property.origin = definition.name;
        if (IsTrue(property.qualifiers, L"key"))
            definition.keys.push_back(i);
        defaults->push_back(property.value);
    }
    definition.defaults = std::move(defaults);
    const bool inheritsKeys = definition.parent != nullptr && !definition.parent->keys.empty();
    definition.keyRoot = inheritsKeys ? definition.parent->keyRoot : FoldedName(definition.name);
    return std::make_shared<ClassDefinition>(std::move(definition));
}

std::wstring KeyText(const ClassDefinition& definition, const Values& values)
{
    std::wstring text;
    for (const std::size_t place : definition.keys) {
        const StoreValue& value = values[place];
        if (const auto* const string = std::get_if<std::wstring>(&value))
            text += IsSystemName(definition.name) ? FoldedName(*string) : *string;
        else if (const auto* const number = std::get_if<std::int64_t>(&value))
            text += std::to_wstring(*number);
        else if (const auto* const truth = std::get_if<bool>(&value))
            text += *truth ? L'1' : L'0';
        text += L'\0'; // which no value holds
    }
    return text;
}

std::optional<Values> Relocate(const Values& values, const ClassDefinition& from, const ClassDefinition& to)
{
    Values moved = *to.defaults;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::optional<std::size_t> place = to.Find(from.properties[i].name);
        if (place && to.properties[*place].type == from.properties[i].type)
            moved[*place] = values[i];
        else if (!IsNull(values[i]))
            return std::nullopt;
    }
    return moved;
}

std::vector<ClassPointer> SystemClasses()
{
    ClassDefinition system;
    system.name = L"__SystemClass";
    system.qualifiers.push_back({L"abstract", true, 0, false});
    ClassPointer parent = Seal(std::move(system));

    ClassDefinition child = DeriveClass(parent);
    child.name = L"__NAMESPACE";
    child.properties.push_back(MakeProperty(L"Name", CimType::String));
    child.properties.back().qualifiers.push_back({L"key", true, kToInstance | kToDerivedClass, false});
    return {std::move(parent), Seal(std::move(child))};
}

ClassPointer PolicySettingClass()
{
    ClassDefinition policy;
    policy.name = L"RSOP_PolicySetting";
    policy.qualifiers.push_back({L"abstract", true, 0, false});
    policy.properties = {
        MakeProperty(L"id", CimType::String),         MakeProperty(L"precedence", CimType::UInt32),
        MakeProperty(L"name", CimType::String),       MakeProperty(L"GPOID", CimType::String),
        MakeProperty(L"SOMID", CimType::String, L""), MakeProperty(L"creationTime", CimType::DateTime),
    };
    for (std::size_t i = 0; i < 2; ++i)
        for (const wchar_t* const name : {L"Required", L"Not_Null"})
            policy.properties[i].qualifiers.push_back({name, true, kToInstance | kToDerivedClass, false});
    return Seal(std::move(policy));
}

} // namespace kx
