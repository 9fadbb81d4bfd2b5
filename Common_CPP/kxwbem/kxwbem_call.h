// How the wrappers call WMI: a look at the pointer, the call, and one line about a failure.
#pragma once

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/trace/trace.h"

#include <windows.h>

#include <wbemcli.h>
#include <wbemdisp.h>

namespace kx {

// The interface's name as the line about a missing pointer spells it.
constexpr const char* WbemInterfaceName(const IWbemLocator*)
{
    return "IWbemLocator";
}

constexpr const char* WbemInterfaceName(const IWbemServices*)
{
    return "IWbemServices";
}

constexpr const char* WbemInterfaceName(const IWbemClassObject*)
{
    return "IWbemClassObject";
}

constexpr const char* WbemInterfaceName(const IEnumWbemClassObject*)
{
    return "IEnumWbemClassObject";
}

constexpr const char* WbemInterfaceName(const ISWbemDateTime*)
{
    return "ISWbemDateTime";
}

/// A status of WMI's as what its calls return.
constexpr HRESULT WbemCode(WBEMSTATUS status)
{
    return static_cast<HRESULT>(status);
}

/// How a call ended that was to fill `result`: success without it is none.
template <class Interface>
HRESULT EndWbemFetch(HRESULT hr, const CComPtr<Interface>& result)
{
    return SUCCEEDED(hr) && !result ? E_POINTER : hr;
}

/// The same for a text, which must not be empty.
inline HRESULT EndWbemFetch(HRESULT hr, const CComBSTR& result)
{
    return SUCCEEDED(hr) && result.Length() == 0 ? E_POINTER : hr;
}

/// Hands a failure to `report`, and returns `hr`.
template <class Report>
HRESULT ReportIfFailed(HRESULT hr, const Report& report)
{
    if (FAILED(hr))
        report(hr);
    return hr;
}

/// S_OK, or E_POINTER after a `report` with the interface's name.
template <class Interface, class Report>
HRESULT RequireWbemPointer(Interface* object, const Report& report)
{
    if (object)
        return S_OK;
    report(WbemInterfaceName(object));
    return E_POINTER;
}

} // namespace kx

// NOLINTBEGIN(bugprone-macro-parentheses): the pieces are joined by <<, which parentheses would undo.
/// Yields the HRESULT of `call`. A failure is traced: `pieces`, joined by <<, and the code.
#define KX_WBEM_TRY(call, pieces)                                                                            \
    kx::ReportIfFailed((call), [&](HRESULT kxFailed) { KXT_OUT(KXT_ERROR, pieces << kxFailed); })
// NOLINTEND(bugprone-macro-parentheses)

/// S_OK, or E_POINTER, traced, without an object.
#define KX_WBEM_REQUIRE(object)                                                                              \
    kx::RequireWbemPointer((object).p, [](const char* kxInterface) {                                         \
        KXT_OUT(KXT_ERROR, "ERROR: " << kxInterface << " pointer is NULL");                                  \
    })

/// Both for a method of `object`, a CComPtr.
#define KX_WBEM_CALL(object, call, pieces)                                                                   \
    (FAILED(KX_WBEM_REQUIRE(object)) ? E_POINTER : KX_WBEM_TRY((object)->call, pieces))

/// The same for a method that must fill `result`.
#define KX_WBEM_FETCH(object, result, call, pieces)                                                          \
    (FAILED(KX_WBEM_REQUIRE(object)) ? E_POINTER                                                             \
                                     : KX_WBEM_TRY(kx::EndWbemFetch((object)->call, result), pieces))
