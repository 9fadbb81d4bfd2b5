#include "Tools/rsop_store/date_time_object.h"

#include "Common_CPP/util/number_text.h"
#include "Tools/rsop_store/local_zone.h"
#include "Tools/rsop_store/wmi_time.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <string>
#include <string_view>

namespace {

// The system's own numbers are unsigned.
constexpr auto c_failed = static_cast<HRESULT>(wbemErrFailed);
constexpr auto c_invalidSyntax = static_cast<HRESULT>(wbemErrInvalidSyntax);
constexpr auto c_outOfRange = static_cast<HRESULT>(wbemErrValueOutOfRange);

std::atomic<long> g_liveObjects = 0;

std::wstring_view View(BSTR text) noexcept
{
    return {text == nullptr ? L"" : text, ::SysStringLen(text)};
}

HRESULT Give(std::wstring_view text, BSTR* out) noexcept
{
    if (out == nullptr)
        return E_POINTER;
    *out = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return *out == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT Give(bool value, VARIANT_BOOL* out) noexcept
{
    if (out == nullptr)
        return E_POINTER;
    *out = value ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

/// Digits alone, and a number of 64 bits.
bool ReadTicks(std::wstring_view text, std::uint64_t& ticks) noexcept
{
    if (text.empty() || text.find_first_not_of(L"0123456789") != std::wstring_view::npos)
        return false;
    text.remove_prefix((std::min)(text.find_first_not_of(L'0'), text.size() - 1));
    constexpr std::wstring_view highest = L"18446744073709551615";
    if (text.size() > highest.size() || (text.size() == highest.size() && text > highest))
        return false; // the reader would wrap around
    return kx::ScanUInt64(text, ticks);
}

/// The moment moved by what the wall clocks here are ahead of UTC then.
bool ToWallTime(CkxTime& moment) noexcept
{
    int minutes = 0;
    return LocalOffset(moment, minutes) && moment.Add(std::chrono::minutes(minutes));
}

} // namespace

CkxDateTime::CkxDateTime() noexcept
{
    ++g_liveObjects;
}

CkxDateTime::~CkxDateTime()
{
    --g_liveObjects;
}

long CkxDateTime::LiveObjects() noexcept
{
    return g_liveObjects;
}

STDMETHODIMP CkxDateTime::GetTypeInfoCount(UINT* count) noexcept
{
    if (count == nullptr)
        return E_POINTER;
    *count = 0;
    return S_OK;
}

STDMETHODIMP CkxDateTime::GetTypeInfo(UINT, LCID, ITypeInfo** info) noexcept
{
    if (info != nullptr)
        *info = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP CkxDateTime::GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) noexcept
{
    return E_NOTIMPL;
}

STDMETHODIMP CkxDateTime::Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                 UINT*) noexcept
{
    return E_NOTIMPL;
}

STDMETHODIMP CkxDateTime::get_Value(BSTR* value) noexcept
{
    return Give(_m_fields.Text(), value);
}

STDMETHODIMP CkxDateTime::put_Value(BSTR value) noexcept
{
    return _m_fields.Assign(View(value)) ? S_OK : c_invalidSyntax;
}

STDMETHODIMP CkxDateTime::get_IsInterval(VARIANT_BOOL* value) noexcept
{
    return Give(_m_fields.IsInterval(), value);
}

STDMETHODIMP CkxDateTime::put_IsInterval(VARIANT_BOOL value) noexcept
{
    _m_fields.MakeInterval(value != VARIANT_FALSE);
    return S_OK;
}

STDMETHODIMP CkxDateTime::GetVarDate(VARIANT_BOOL isLocal, DATE* date) noexcept
{
    if (date == nullptr)
        return E_POINTER;
    CkxTime moment;
    SYSTEMTIME parts = {};
    const HRESULT hr = _GetMoment(isLocal != VARIANT_FALSE, moment);
    if (FAILED(hr))
        return hr;
    return moment.ToUtc(parts) && ::SystemTimeToVariantTime(&parts, date) ? S_OK : c_outOfRange;
}

STDMETHODIMP CkxDateTime::SetVarDate(DATE date, VARIANT_BOOL isLocal) noexcept
{
    SYSTEMTIME parts = {};
    CkxTime moment;
    if (!::VariantTimeToSystemTime(date, &parts) ||
        !(isLocal != VARIANT_FALSE ? FromWallTime(parts, moment) : CkxTime::FromUtc(parts, moment)))
        return c_outOfRange;
    return _SetMoment(moment, isLocal != VARIANT_FALSE);
}

STDMETHODIMP CkxDateTime::GetFileTime(VARIANT_BOOL isLocal, BSTR* text) noexcept
{
    if (text == nullptr)
        return E_POINTER;
    *text = nullptr;
    CkxTime moment;
    const HRESULT hr = _GetMoment(isLocal != VARIANT_FALSE, moment);
    return FAILED(hr) ? hr : Give(kx::FormatInt<wchar_t>(moment.GetTicks()).View(), text);
}

STDMETHODIMP CkxDateTime::SetFileTime(BSTR text, VARIANT_BOOL isLocal) noexcept
{
    std::uint64_t ticks = 0;
    if (!ReadTicks(View(text), ticks))
        return c_invalidSyntax;
    return _SetMoment(CkxTime(ticks), isLocal != VARIANT_FALSE);
}

HRESULT CkxDateTime::_Get(Part part, LONG* value) const noexcept
{
    if (value == nullptr)
        return E_POINTER;
    *value = _m_fields.Get(part);
    return S_OK;
}

HRESULT CkxDateTime::_Set(Part part, LONG value) noexcept
{
    return _m_fields.Set(part, value) ? S_OK : c_outOfRange;
}

HRESULT CkxDateTime::_GetKnown(Part part, VARIANT_BOOL* isKnown) const noexcept
{
    return Give(_m_fields.IsKnown(part), isKnown);
}

HRESULT CkxDateTime::_SetKnown(Part part, VARIANT_BOOL isKnown) noexcept
{
    return _m_fields.SetKnown(part, isKnown != VARIANT_FALSE) ? S_OK : c_failed;
}

HRESULT CkxDateTime::_GetMoment(bool isLocal, CkxTime& moment) const noexcept
{
    std::uint64_t ticks = 0;
    if (!kx::WmiTimeToTicks(_m_fields.Text(), ticks))
        return c_failed;
    CkxTime read(ticks);
    if (isLocal && !ToWallTime(read))
        return c_outOfRange;
    moment = read;
    return S_OK;
}

HRESULT CkxDateTime::_SetMoment(CkxTime moment, bool isLocal) noexcept
{
    int offset = 0;
    if (isLocal && !LocalOffset(moment, offset))
        return c_outOfRange;
    try {
        std::wstring text;
        if (!kx::TicksToWmiTime(moment.GetTicks(), offset, text))
            return c_outOfRange;
        return _m_fields.Assign(text) ? S_OK : c_failed;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}
