#include "Common_CPP/kxwbem/kxwbem_value_text.h"

#include "Common_CPP/util/number_text.h"

#include <charconv>
#include <concepts>

namespace {

template <std::integral Number>
CString Text(Number number)
{
    return kx::FormatInt<wchar_t>(number).Get();
}

template <std::floating_point Number>
CString Text(Number number)
{
    char digits[64]; // the longest double takes 24
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, number);
    CString text;
    for (const char* digit = digits; digit != end.ptr; ++digit)
        text += static_cast<wchar_t>(*digit);
    return text;
}

} // namespace

CString kx::WbemValueText(const VARIANT& value)
{
    switch (value.vt) {
    case VT_NULL:
        return L"<Null>";
    case VT_UNKNOWN:
    case VT_DISPATCH:
        return L"<Object>";
    case VT_BOOL:
        return value.boolVal == VARIANT_FALSE ? L"False" : L"True";
    case VT_BSTR:
        return {value.bstrVal, static_cast<int>(::SysStringLen(value.bstrVal))};
    case VT_I1:
        return Text(static_cast<signed char>(value.cVal));
    case VT_UI1:
        return Text(value.bVal);
    case VT_I2:
        return Text(value.iVal);
    case VT_UI2:
        return Text(value.uiVal);
    case VT_I4:
        return Text(value.lVal);
    case VT_UI4:
        return Text(value.ulVal);
    case VT_INT:
        return Text(value.intVal);
    case VT_UINT:
        return Text(value.uintVal);
    case VT_I8:
        return Text(value.llVal);
    case VT_UI8:
        return Text(value.ullVal);
    case VT_R4:
        return Text(value.fltVal);
    case VT_R8:
        return Text(value.dblVal);
    default:
        return L"Cannot convert VARTYPE " + Text(value.vt) + L" to string";
    }
}
