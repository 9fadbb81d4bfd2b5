// Writing the instances of a namespace into a text file.
#include "Common_CPP/kxwbem/kxwbem_call.h"
#include "Common_CPP/kxwbem/kxwbem_dump_file.h"
#include "Common_CPP/kxwbem/kxwbem_services.h"
#include "Common_CPP/kxwbem/kxwbem_value_text.h"
#include "Common_CPP/util/scope_exit.h"

KXT_CLASS("CkxWbemServicesPtr");

namespace {

// The properties whose texts have lines of their own.
bool IsMultiLine(const wchar_t* property)
{
    return ::_wcsicmp(property, L"Justification") == 0 || ::_wcsicmp(property, L"FileOrigin") == 0;
}

void AppendProperty(const CComBSTR& name, const VARIANT& value, CString& text)
{
    CString valueText = kx::WbemValueText(value);
    if (IsMultiLine(name))
        (void)valueText.Replace(L"\r\n", L" ");
    text += L"  ";
    text += name.m_str;
    text += L": ";
    text += valueText;
    text += L"\r\n";
}

HRESULT AppendProperties(IWbemClassObject& instance, CString& text)
{
    HRESULT hr = KX_WBEM_TRY(instance.BeginEnumeration(WBEM_FLAG_NONSYSTEM_ONLY),
                             "ERROR: IWbemClassObject->BeginEnumeration() failed. hr=");
    if (FAILED(hr))
        return hr;
    const kx::ScopeExit end([&] { (void)instance.EndEnumeration(); });
    for (;;) {
        CComBSTR name;
        CComVariant value;
        hr = KX_WBEM_TRY(instance.Next(0, &name, &value, nullptr, nullptr),
                         "ERROR: IWbemClassObject->Next() failed. hr=");
        if (hr != WBEM_S_NO_ERROR || !name) // the end is a success code
            return FAILED(hr) ? hr : S_OK;
        AppendProperty(name, value, text);
    }
}

HRESULT InstanceText(const CkxWbemClassObjectPtr& instance, CString& text)
{
    CString path;
    const HRESULT hr = instance.Get_CString(L"__Path", path);
    if (FAILED(hr))
        return hr;
    text = L"***  " + path + L"\r\n";
    return AppendProperties(*instance.Get(), text);
}

} // namespace

HRESULT CkxWbemServicesPtr::Dump(const wchar_t* baseName, const wchar_t* dumpFilePath) const
{
    KXT_SCOPE("Dump");
    if (FAILED(KX_WBEM_REQUIRE(_m_object)))
        return E_POINTER;
    if (!dumpFilePath || !*dumpFilePath) {
        KXT_OUT(KXT_ERROR, "ERROR: dumpFilePath is NULL or empty");
        return E_INVALIDARG;
    }
    CkxWbemDumpFile file;
    HRESULT hr = KX_WBEM_TRY(file.Create(dumpFilePath),
                             "ERROR: Failed to open file " << dumpFilePath << " for writing. hr=");
    CkxEnumWbemClassObjectPtr classes;
    if (SUCCEEDED(hr))
        hr = EnumClasses(baseName, classes);
    if (FAILED(hr))
        return hr;
    CkxWbemClassObjectPtr wmiClass;
    HRESULT failure = S_OK;
    while (SUCCEEDED(file.Status()) && (hr = classes.Next(wmiClass)) == WBEM_S_NO_ERROR)
        if (const HRESULT dumped = _DumpInstances(wmiClass, file); FAILED(dumped))
            failure = dumped;
    if (FAILED(file.Status()))
        KXT_OUT(KXT_ERROR, "ERROR: Failed to write to file " << dumpFilePath);
    return FAILED(hr) ? hr : failure;
}

HRESULT CkxWbemServicesPtr::_DumpInstances(const CkxWbemClassObjectPtr& wmiClass, CkxWbemDumpFile& file) const
{
    CString className;
    HRESULT hr = wmiClass.Get_CString(L"__CLASS", className);
    CkxEnumWbemClassObjectPtr instances;
    // Those of derived classes come with their own class.
    if (SUCCEEDED(hr))
        hr = _CreateInstanceEnum(className, WBEM_FLAG_SHALLOW, instances);
    if (FAILED(hr))
        return hr;
    CkxWbemClassObjectPtr instance;
    HRESULT failure = S_OK;
    while ((hr = instances.Next(instance)) == WBEM_S_NO_ERROR) {
        CString text;
        if (const HRESULT told = InstanceText(instance, text); FAILED(told))
            failure = told;
        else
            file.Write(text);
        if (FAILED(file.Status()))
            return file.Status();
    }
    return FAILED(hr) ? hr : failure;
}
