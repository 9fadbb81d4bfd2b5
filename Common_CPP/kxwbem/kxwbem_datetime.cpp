#include "Common_CPP/kxwbem/kxwbem_datetime.h"

#include "Common_CPP/kxwbem/kxwbem_call.h"
#include "Common_CPP/util/kx_time.h"
#include "Common_CPP/util/number_text.h"

#include <utility>

KXT_CLASS("CkxSWbemDateTimePtr");

HRESULT CkxSWbemDateTimePtr::CreateInstance()
{
    KXT_SCOPE("CreateInstance");
    CComPtr<ISWbemDateTime> created;
    const HRESULT hr = KX_WBEM_TRY(
        kx::EndWbemFetch(created.CoCreateInstance(CLSID_SWbemDateTime, nullptr, CLSCTX_INPROC_SERVER),
                         created),
        "ERROR: CoCreateInstance(SWbemDateTime) failed. hr=");
    if (SUCCEEDED(hr))
        _m_object = created;
    return hr;
}

HRESULT CkxSWbemDateTimePtr::SetFileTime(const FILETIME& time, bool localTime) const
{
    KXT_SCOPE("SetFileTime");
    const auto ticks = kx::FormatInt<wchar_t>(CkxTime(time).GetTicks());
    // Said explicitly: without a word the converter takes the time for a local one.
    return KX_WBEM_CALL(_m_object,
                        SetFileTime(CComBSTR(ticks.Get()), localTime ? VARIANT_TRUE : VARIANT_FALSE),
                        "ERROR: SWbemDateTime->SetFileTime(" << ticks.View() << ") failed. hr=");
}

HRESULT CkxSWbemDateTimePtr::GetValue(CComBSTR& text) const
{
    KXT_SCOPE("GetValue");
    CComBSTR read;
    const HRESULT hr =
        KX_WBEM_FETCH(_m_object, read, get_Value(&read), "ERROR: SWbemDateTime->get_Value() failed. hr=");
    if (SUCCEEDED(hr))
        text = std::move(read);
    return hr;
}

HRESULT CkxSWbemDateTimePtr::FileTime2WmiDateTime(const FILETIME& time, bool localTime, CComBSTR& text)
{
    KXT_SCOPE("FileTime2WmiDateTime");
    CkxSWbemDateTimePtr converter;
    HRESULT hr = converter.CreateInstance();
    if (SUCCEEDED(hr))
        hr = converter.SetFileTime(time, localTime);
    return SUCCEEDED(hr) ? converter.GetValue(text) : hr;
}
