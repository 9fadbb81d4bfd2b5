#include "Tools/rsop_store/variant_value.h"

#include "Common_CPP/atl/kx_atl.h"
#include "Tools/rsop_store/wmi_time.h"

#include "Tools/rsop_store/wbem_code.h"

namespace {

using kx::CimType;

/// The form in which a type is exchanged.
VARTYPE FormOf(CimType type)
{
    switch (type) {
    case CimType::SInt8:
    case CimType::SInt16:
    case CimType::Char16:
        return VT_I2;
    case CimType::UInt8:
        return VT_UI1;
    case CimType::UInt16:
    case CimType::SInt32:
    case CimType::UInt32:
        return VT_I4;
    case CimType::Real32:
        return VT_R4;
    case CimType::Real64:
        return VT_R8;
    case CimType::Boolean:
        return VT_BOOL;
    default:
        return VT_BSTR; // texts, and whole numbers of 64 bits
    }
}

/// A text up to its first NUL; a null string is empty.
std::wstring Text(BSTR text)
{
    return text == nullptr ? std::wstring() : std::wstring(text);
}

HRESULT ReadText(std::wstring text, CimType type, kx::StoreValue& value)
{
    if (kx::IsInteger(type)) {
        std::int64_t number = 0;
        if (!kx::ParseInteger(type, text, number))
            return kx::kWbemTypeMismatch;
        value = number;
        return S_OK;
    }
    if (type == CimType::DateTime && !kx::IsWmiDateTime(text))
        return kx::kWbemTypeMismatch;
    value = std::move(text);
    return S_OK;
}

/// The whole number that a form carries, as the type reads its bits.
std::int64_t Number(const VARIANT& variant, CimType type)
{
    if (variant.vt == VT_UI1)
        return variant.bVal;
    if (variant.vt == VT_I2)
        return type == CimType::Char16 ? static_cast<std::uint16_t>(variant.iVal) : variant.iVal;
    return type == CimType::UInt32 ? std::int64_t{static_cast<std::uint32_t>(variant.lVal)} : variant.lVal;
}

} // namespace

HRESULT ReadVariant(const VARIANT& variant, CimType type, kx::StoreValue& value)
{
    if (variant.vt == VT_NULL) {
        value = std::monostate();
        return S_OK;
    }
    if (variant.vt != FormOf(type))
        return kx::kWbemTypeMismatch;
    if (variant.vt == VT_BSTR)
        return ReadText(Text(variant.bstrVal), type, value);
    if (variant.vt == VT_BOOL) {
        value = variant.boolVal != VARIANT_FALSE;
    } else if (variant.vt == VT_R4 || variant.vt == VT_R8) {
        value = variant.vt == VT_R4 ? double{variant.fltVal} : variant.dblVal;
    } else {
        const std::int64_t number = Number(variant, type);
        if (!kx::InRange(type, number))
            return kx::kWbemValueOutOfRange;
        value = number;
    }
    return S_OK;
}

HRESULT WriteVariant(const kx::StoreValue& value, CimType type, VARIANT& variant)
{
    VARIANT result;
    ::VariantInit(&result);
    result.vt = kx::IsNull(value) ? VARTYPE{VT_NULL} : FormOf(type);
    if (result.vt == VT_BSTR) {
        const auto* const text = std::get_if<std::wstring>(&value);
        const HRESULT hr = CopyString(
            text != nullptr ? *text : kx::IntegerText(type, std::get<std::int64_t>(value)), &result.bstrVal);
        if (FAILED(hr))
            return hr;
    } else if (const auto* const truth = std::get_if<bool>(&value)) {
        result.boolVal = *truth ? VARIANT_TRUE : VARIANT_FALSE;
    } else if (const auto* const real = std::get_if<double>(&value)) {
        if (type == CimType::Real32)
            result.fltVal = static_cast<float>(*real);
        else
            result.dblVal = *real;
    } else if (const auto* const number = std::get_if<std::int64_t>(&value)) {
        if (result.vt == VT_UI1)
            result.bVal = static_cast<BYTE>(*number);
        else if (result.vt == VT_I2)
            result.iVal = static_cast<SHORT>(*number);
        else
            result.lVal = static_cast<LONG>(*number);
    }
    variant = result;
    return S_OK;
}

HRESULT ReadQualifier(const VARIANT& variant, kx::StoreValue& value)
{
    switch (variant.vt) {
    case VT_I4:
    case VT_R8:
    case VT_BSTR:
    case VT_BOOL:
        return ReadVariant(variant, TypeOfVariant(variant), value);
    default:
        return kx::kWbemInvalidQualifierType;
    }
}

HRESULT WriteQualifier(const kx::StoreValue& value, VARIANT& variant)
{
    constexpr CimType kByAlternative[] = {CimType::None, CimType::Boolean, CimType::SInt32, CimType::Real64,
                                          CimType::String};
    return WriteVariant(value, kByAlternative[value.index()], variant);
}

CimType TypeOfVariant(const VARIANT& variant)
{
    switch (variant.vt) {
    case VT_I2:
        return CimType::SInt16;
    case VT_I4:
        return CimType::SInt32;
    case VT_UI1:
        return CimType::UInt8;
    case VT_R4:
        return CimType::Real32;
    case VT_R8:
        return CimType::Real64;
    case VT_BOOL:
        return CimType::Boolean;
    case VT_BSTR:
        return CimType::String;
    default:
        return CimType::None;
    }
}

SAFEARRAY* MakeNameArray(const std::vector<std::wstring>& names)
{
    SAFEARRAY* const array = ::SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(names.size()));
    if (array == nullptr)
        return nullptr;
    for (LONG i = 0; i < static_cast<LONG>(names.size()); ++i) {
        const ATL::CComBSTR name(names[static_cast<std::size_t>(i)].c_str()); // the array takes a copy
        if (FAILED(::SafeArrayPutElement(array, &i, name.m_str))) {
            ::SafeArrayDestroy(array);
            return nullptr;
        }
    }
    return array;
}

HRESULT CopyString(std::wstring_view text, BSTR* target)
{
    *target = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return *target == nullptr ? kx::kWbemOutOfMemory : S_OK;
}
