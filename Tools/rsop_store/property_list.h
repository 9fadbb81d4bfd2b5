// Properties of an object as IWbemClassObject shows them: those that WMI adds, and which ones a list of names
// has. Calls of the object's own methods end here.
#pragma once

#include "Tools/rsop_store/class_definition.h"

#include <windows.h>

#include <wbemcli.h>

class CkxNamespace;

namespace kx {

/// A class, or, when there are values, an instance of it.
struct ObjectView {
    ClassPointer definition;
    ValuesPointer values;
};

/// What a list of names is to hold, by the flags of WBEM_CONDITION_FLAG_TYPE.
struct NameFilter {
    LONG flags = 0;
    const wchar_t* qualifier = nullptr;         // for the conditions on a qualifier
    const StoreValue* qualifierValue = nullptr; // for WBEM_FLAG_ONLY_IF_IDENTICAL
};

/// The value and type of a property that WMI adds. WBEM_E_NOT_FOUND for a name that is none.
[[nodiscard]] HRESULT GetSystemProperty(const ObjectView& view, const CkxNamespace& space,
                                        std::wstring_view name, VARIANT& value, CIMTYPE& type);

/// Whether WMI adds a property of that name.
[[nodiscard]] bool IsSystemProperty(std::wstring_view name);

/// The origin part of a property's flavor.
[[nodiscard]] LONG OriginFlavor(const PropertyDefinition& property);

/// The names that the filter lets through, system properties first. WBEM_E_INVALID_PARAMETER for a filter
/// that contradicts itself.
[[nodiscard]] HRESULT ListNames(const ClassDefinition& definition, const NameFilter& filter,
                                std::vector<std::wstring>& names);

} // namespace kx
