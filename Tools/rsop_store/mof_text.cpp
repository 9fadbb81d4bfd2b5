#include "Tools/rsop_store/mof_text.h"

#include <cwchar>

namespace kx {
namespace {

std::wstring Quoted(std::wstring_view text)
{
    std::wstring quoted = L"\"";
    for (const wchar_t character : text) {
        switch (character) {
        case L'"':
        case L'\\':
            quoted += L'\\';
            quoted += character;
            break;
        case L'\n':
            quoted += L"\\n";
            break;
        case L'\r':
            quoted += L"\\r";
            break;
        case L'\t':
            quoted += L"\\t";
            break;
        default:
            quoted += character;
        }
    }
    return quoted += L'"';
}

std::wstring RealText(double value)
{
    wchar_t text[40]; // room for the longest %.17g
    const int length = std::swprintf(text, sizeof text / sizeof *text, L"%.17g", value);
    return {text, static_cast<std::size_t>(length)};
}

std::wstring ValueMof(CimType type, const StoreValue& value)
{
    if (const auto* const text = std::get_if<std::wstring>(&value))
        return Quoted(*text);
    if (const auto* const truth = std::get_if<bool>(&value))
        return *truth ? L"TRUE" : L"FALSE";
    if (const auto* const number = std::get_if<std::int64_t>(&value))
        return IntegerText(type, *number);
    if (const auto* const real = std::get_if<double>(&value))
        return RealText(*real);
    return L"NULL";
}

std::wstring FlavorMof(long flavor)
{
    std::wstring text;
    if ((flavor & kNotOverridable) != 0)
        text += L" DisableOverride";
    if ((flavor & kAmended) != 0)
        text += L" Amended";
    if ((flavor & kToInstance) != 0)
        text += L" ToInstance";
    if ((flavor & kToDerivedClass) != 0)
        text += L" ToSubclass";
    return text.empty() ? text : L":" + text;
}

/// A qualifier; a true one needs no value.
std::wstring QualifierMof(const Qualifier& qualifier, bool flavors)
{
    std::wstring text = qualifier.name;
    const auto* const truth = std::get_if<bool>(&qualifier.value);
    if (truth == nullptr || !*truth)
        text += L"(" + ValueMof(CimType::SInt32, qualifier.value) + L")";
    return flavors ? text + FlavorMof(qualifier.flavor) : text;
}

/// The qualifiers that are stated here, in brackets and with a blank after them, or nothing.
std::wstring QualifiersMof(const Qualifiers& list, bool flavors)
{
    std::wstring text;
    for (const Qualifier& qualifier : list)
        if (!qualifier.inherited && !EqualNames(qualifier.name, L"CIMTYPE"))
            text += (text.empty() ? L"[" : L", ") + QualifierMof(qualifier, flavors);
    return text.empty() ? text : text + L"] ";
}

std::wstring PropertyMof(const PropertyDefinition& property, bool flavors)
{
    std::wstring text = L"\t" + QualifiersMof(property.qualifiers, flavors);
    text += property.type == CimType::Reference ? L"object ref" : CimTypeName(property.type);
    text += L" " + property.name;
    if (!IsNull(property.value))
        text += L" = " + ValueMof(property.type, property.value);
    return text + L";\n";
}

} // namespace

std::wstring ClassMof(const ClassDefinition& definition, bool flavors)
{
    std::wstring text = L"\n" + QualifiersMof(definition.qualifiers, flavors) + L"\nclass " + definition.name;
    if (definition.parent != nullptr)
        text += L" : " + definition.parent->name;
    text += L"\n{\n";
    for (const PropertyDefinition& property : definition.properties)
        if (property.local)
            text += PropertyMof(property, flavors);
    return text + L"};\n";
}

std::wstring InstanceMof(const ClassDefinition& definition, const Values& values)
{
    std::wstring text = L"\ninstance of " + definition.name + L"\n{\n";
    for (std::size_t i = 0; i < values.size(); ++i)
        if (!IsNull(values[i])) {
            const PropertyDefinition& property = definition.properties[i];
            text += L"\t" + property.name + L" = " + ValueMof(property.type, values[i]) + L";\n";
        }
    return text + L"};\n";
}

} // namespace kx
