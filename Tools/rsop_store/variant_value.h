// Values of the store as VARIANTs, in the forms in which WMI exchanges them.
#pragma once

#include "Tools/rsop_store/store_value.h"

#include <windows.h>

#include <oaidl.h>

/// Takes a value of a property's type: VT_NULL for none; VT_I4 for 32-bit numbers and uint16, VT_I2 for
/// sint8, sint16 and char16, VT_UI1 for uint8, VT_BSTR in decimal for 64 bits, VT_R4, VT_R8, VT_BOOL,
/// VT_BSTR. Any other form, and text that is no number or date-time, is WBEM_E_TYPE_MISMATCH; a number beyond
/// the type is WBEM_E_VALUE_OUT_OF_RANGE. On failure `value` stays as it was.
[[nodiscard]] HRESULT ReadVariant(const VARIANT& variant, kx::CimType type, kx::StoreValue& value);

/// Gives a value in the form of its type. `variant` is overwritten without being cleared, on success only.
[[nodiscard]] HRESULT WriteVariant(const kx::StoreValue& value, kx::CimType type, VARIANT& variant);

/// Takes the value of a qualifier: VT_I4, VT_R8, VT_BSTR or VT_BOOL, else WBEM_E_INVALID_QUALIFIER_TYPE.
[[nodiscard]] HRESULT ReadQualifier(const VARIANT& variant, kx::StoreValue& value);

/// Gives the value of a qualifier, as WriteVariant() does.
[[nodiscard]] HRESULT WriteQualifier(const kx::StoreValue& value, VARIANT& variant);

/// The type of a property that is made from a value alone; None when the form belongs to no type.
[[nodiscard]] kx::CimType TypeOfVariant(const VARIANT& variant);

/// The array of strings that lists of names are handed out as; the caller's to destroy, null without memory.
[[nodiscard]] SAFEARRAY* MakeNameArray(const std::vector<std::wstring>& names);

/// A new string into `*target`. WBEM_E_OUT_OF_MEMORY when there is none.
[[nodiscard]] HRESULT CopyString(std::wstring_view text, BSTR* target);
