#include "Common_CPP/kxwbem/kxwbem_class_object.h"

#include "Common_CPP/kxwbem/kxwbem_call.h"
#include "Common_CPP/kxwbem/kxwbem_datetime.h"
#include "Common_CPP/util/number_text.h"

KXT_CLASS("CkxWbemClassObjectPtr");

namespace {

// A variant that borrows what it points to, for calls that only read it: not to be cleared.
VARIANT Lent(VARTYPE type)
{
    VARIANT lent;
    ::VariantInit(&lent);
    lent.vt = type;
    return lent;
}

HRESULT UnexpectedType(const wchar_t* name, VARTYPE type)
{
    KXT_OUT(KXT_ERROR, "ERROR: Unexpected " << name << " value type " << type);
    return kx::WbemCode(WBEM_E_TYPE_MISMATCH);
}

} // namespace

HRESULT CkxWbemClassObjectPtr::Get(const wchar_t* name, CComVariant& value) const
{
    KXT_SCOPE("Get");
    CComVariant read;
    const HRESULT hr = KX_WBEM_CALL(_m_object, Get(name, 0, &read, nullptr, nullptr),
                                    "ERROR: IWbemClassObject->Get(" << name << ") failed. hr=");
    return SUCCEEDED(hr) ? read.Detach(&value) : hr;
}

HRESULT CkxWbemClassObjectPtr::Get_BSTR(const wchar_t* name, CComBSTR& value) const
{
    KXT_SCOPE("Get_BSTR");
    CComVariant read;
    const HRESULT hr = Get(name, read);
    if (FAILED(hr))
        return hr;
    if (read.vt != VT_BSTR)
        return UnexpectedType(name, read.vt);
    value.Attach(read.bstrVal);
    read.vt = VT_EMPTY;
    return hr;
}

HRESULT CkxWbemClassObjectPtr::Get_CString(const wchar_t* name, CString& value) const
{
    KXT_SCOPE("Get_CString");
    CComBSTR read;
    const HRESULT hr = Get_BSTR(name, read);
    if (SUCCEEDED(hr))
        value.SetString(read.m_str, static_cast<int>(read.Length()));
    return hr;
}

HRESULT CkxWbemClassObjectPtr::Get_DWORD(const wchar_t* name, DWORD& value) const
{
    KXT_SCOPE("Get_DWORD");
    CComVariant read;
    const HRESULT hr = Get(name, read);
    if (FAILED(hr))
        return hr;
    if (read.vt != VT_I4)
        return UnexpectedType(name, read.vt);
    value = static_cast<DWORD>(read.lVal);
    return hr;
}

HRESULT CkxWbemClassObjectPtr::Put(const wchar_t* name, const VARIANT& value) const
{
    return _Put("Put", name, value);
}

// Opens the scope of the operation that the caller named only where a line needs it: policies are written by
// the hundred thousand.
HRESULT CkxWbemClassObjectPtr::_Put(const char* method, const wchar_t* name, const VARIANT& value) const
{
    // Type 0: the property's own. The value is only read.
    const HRESULT hr = _m_object ? _m_object->Put(name, 0, const_cast<VARIANT*>(&value), 0) : E_POINTER;
    if (SUCCEEDED(hr))
        return hr;
    KXT_SCOPE(method);
    if (!_m_object)
        return KX_WBEM_REQUIRE(_m_object);
    return KX_WBEM_TRY(hr, "ERROR: IWbemClassObject->Put(" << name << ", vt=" << value.vt << ") failed. hr=");
}

HRESULT CkxWbemClassObjectPtr::Put_BSTR(const wchar_t* name, BSTR value) const
{
    return _PutText("Put_BSTR", name, value);
}

HRESULT CkxWbemClassObjectPtr::_PutText(const char* method, const wchar_t* name, BSTR value) const
{
    CComBSTR empty;
    if (!value)
        empty = L"";
    VARIANT lent = Lent(VT_BSTR);
    lent.bstrVal = value ? value : empty.m_str;
    return _Put(method, name, lent);
}

HRESULT CkxWbemClassObjectPtr::Put_CString(const wchar_t* name, const CString& value) const
{
    return _PutText("Put_CString", name, CComBSTR(value.GetLength(), value.GetString()));
}

HRESULT CkxWbemClassObjectPtr::Put_long(const wchar_t* name, long value) const
{
    VARIANT number = Lent(VT_I4);
    number.lVal = value;
    return _Put("Put_long", name, number);
}

HRESULT CkxWbemClassObjectPtr::Put_int64(const wchar_t* name, long long value) const
{
    return _PutText("Put_int64", name, CComBSTR(kx::FormatInt<wchar_t>(value).Get()));
}

HRESULT CkxWbemClassObjectPtr::Put_int64(const wchar_t* name, unsigned long long value) const
{
    return _PutText("Put_int64", name, CComBSTR(kx::FormatInt<wchar_t>(value).Get()));
}

HRESULT CkxWbemClassObjectPtr::Put_FILETIME(const wchar_t* name, const FILETIME& value) const
{
    KXT_SCOPE("Put_FILETIME");
    if (FAILED(KX_WBEM_REQUIRE(_m_object)))
        return E_POINTER;
    CComBSTR text;
    const HRESULT hr = CkxSWbemDateTimePtr::FileTime2WmiDateTime(value, false, text);
    return SUCCEEDED(hr) ? _PutText("Put_FILETIME", name, text) : hr;
}

HRESULT CkxWbemClassObjectPtr::PutNullValue(const wchar_t* name) const
{
    KXT_SCOPE("PutNullValue");
    VARIANT null = Lent(VT_NULL);
    return KX_WBEM_CALL(_m_object, Put(name, 0, &null, 0),
                        "ERROR: IWbemClassObject->Put(" << name << ", NULL) failed. hr=");
}

HRESULT CkxWbemClassObjectPtr::SpawnInstance(CkxWbemClassObjectPtr& instance) const
{
    KXT_SCOPE("SpawnInstance");
    CComPtr<IWbemClassObject> spawned;
    const HRESULT hr = KX_WBEM_FETCH(_m_object, spawned, SpawnInstance(0, &spawned),
                                     "ERROR: IWbemClassObject->SpawnInstance() failed. hr=");
    if (SUCCEEDED(hr))
        instance = CkxWbemClassObjectPtr(spawned);
    return hr;
}
