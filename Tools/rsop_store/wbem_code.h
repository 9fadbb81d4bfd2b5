// The failure codes of WMI as HRESULTs; the system's enumeration has them as unsigned numbers.
#pragma once

#include <windows.h>

#include <wbemcli.h>

namespace kx {

inline constexpr auto kWbemAlreadyExists = static_cast<HRESULT>(WBEM_E_ALREADY_EXISTS);
inline constexpr auto kWbemCannotBeKey = static_cast<HRESULT>(WBEM_E_CANNOT_BE_KEY);
inline constexpr auto kWbemCannotChangeKeyInheritance =
    static_cast<HRESULT>(WBEM_E_CANNOT_CHANGE_KEY_INHERITANCE);
inline constexpr auto kWbemCircularReference = static_cast<HRESULT>(WBEM_E_CIRCULAR_REFERENCE);
inline constexpr auto kWbemClassHasChildren = static_cast<HRESULT>(WBEM_E_CLASS_HAS_CHILDREN);
inline constexpr auto kWbemClassHasInstances = static_cast<HRESULT>(WBEM_E_CLASS_HAS_INSTANCES);
inline constexpr auto kWbemFailed = static_cast<HRESULT>(WBEM_E_FAILED);
inline constexpr auto kWbemIllegalNull = static_cast<HRESULT>(WBEM_E_ILLEGAL_NULL);
inline constexpr auto kWbemIncompleteClass = static_cast<HRESULT>(WBEM_E_INCOMPLETE_CLASS);
inline constexpr auto kWbemInvalidClass = static_cast<HRESULT>(WBEM_E_INVALID_CLASS);
inline constexpr auto kWbemInvalidNamespace = static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE);
inline constexpr auto kWbemInvalidObject = static_cast<HRESULT>(WBEM_E_INVALID_OBJECT);
inline constexpr auto kWbemInvalidObjectPath = static_cast<HRESULT>(WBEM_E_INVALID_OBJECT_PATH);
inline constexpr auto kWbemInvalidOperation = static_cast<HRESULT>(WBEM_E_INVALID_OPERATION);
inline constexpr auto kWbemInvalidParameter = static_cast<HRESULT>(WBEM_E_INVALID_PARAMETER);
inline constexpr auto kWbemInvalidPropertyType = static_cast<HRESULT>(WBEM_E_INVALID_PROPERTY_TYPE);
inline constexpr auto kWbemInvalidQualifier = static_cast<HRESULT>(WBEM_E_INVALID_QUALIFIER);
inline constexpr auto kWbemInvalidQualifierType = static_cast<HRESULT>(WBEM_E_INVALID_QUALIFIER_TYPE);
inline constexpr auto kWbemInvalidQuery = static_cast<HRESULT>(WBEM_E_INVALID_QUERY);
inline constexpr auto kWbemInvalidQueryType = static_cast<HRESULT>(WBEM_E_INVALID_QUERY_TYPE);
inline constexpr auto kWbemInvalidSuperclass = static_cast<HRESULT>(WBEM_E_INVALID_SUPERCLASS);
inline constexpr auto kWbemNotFound = static_cast<HRESULT>(WBEM_E_NOT_FOUND);
inline constexpr auto kWbemNotSupported = static_cast<HRESULT>(WBEM_E_NOT_SUPPORTED);
inline constexpr auto kWbemNoKey = static_cast<HRESULT>(WBEM_E_NO_KEY);
inline constexpr auto kWbemOutOfMemory = static_cast<HRESULT>(WBEM_E_OUT_OF_MEMORY);
inline constexpr auto kWbemOverrideNotAllowed = static_cast<HRESULT>(WBEM_E_OVERRIDE_NOT_ALLOWED);
inline constexpr auto kWbemPropagatedProperty = static_cast<HRESULT>(WBEM_E_PROPAGATED_PROPERTY);
inline constexpr auto kWbemPropagatedQualifier = static_cast<HRESULT>(WBEM_E_PROPAGATED_QUALIFIER);
inline constexpr auto kWbemReadOnly = static_cast<HRESULT>(WBEM_E_READ_ONLY);
inline constexpr auto kWbemSystemProperty = static_cast<HRESULT>(WBEM_E_SYSTEM_PROPERTY);
inline constexpr auto kWbemTypeMismatch = static_cast<HRESULT>(WBEM_E_TYPE_MISMATCH);
inline constexpr auto kWbemUnexpected = static_cast<HRESULT>(WBEM_E_UNEXPECTED);
inline constexpr auto kWbemUnsupportedParameter = static_cast<HRESULT>(WBEM_E_UNSUPPORTED_PARAMETER);
inline constexpr auto kWbemValueOutOfRange = static_cast<HRESULT>(WBEM_E_VALUE_OUT_OF_RANGE);

} // namespace kx
