#include "Common_CPP/kxwbem/kxwbem_services.h"

#include "Common_CPP/kxwbem/kxwbem_call.h"
#include "Common_CPP/kxwbem/kxwbem_datetime.h"
#include "Common_CPP/kxwbem/kxwbem_query_report.h"
#include "Common_CPP/util/kx_time.h"

#include <cstdarg>
#include <exception>
#include <string>
#include <utility>

KXT_CLASS("CkxWbemServicesPtr");

namespace {

// Results come as they are found and are read once.
constexpr long c_streamed = WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY;

// "SELECT * from class WHERE ..."; false, traced, where a condition names no property.
bool SelectQuery(const wchar_t* className, std::span<const WbemCondition> conditions, std::wstring& text)
{
    try {
        CkxWbemSelectQuery query(std::wstring(L"SELECT * from ") + (className ? className : L""));
        std::size_t refused = 0;
        if (!query.AddWhereConditions(conditions, &refused)) {
            kx::ReportRefusedCondition(refused);
            return false;
        }
        text = query.Text();
        return true;
    } catch (const std::exception&) {
        AtlThrow(E_OUTOFMEMORY);
    }
}

// E_INVALIDARG for a format that makes no text.
HRESULT FormatQuery(CString& query, const wchar_t* format, va_list arguments)
{
    try {
        query.FormatV(format, arguments);
        return S_OK;
    } catch (const CAtlException& failure) {
        if (failure.m_hr == E_OUTOFMEMORY)
            throw;
        return failure.m_hr;
    }
}

// The object path of a namespace, seen from the one above it.
CString NamespaceObjectPath(const wchar_t* name)
{
    try {
        return CString(L"__NAMESPACE.Name='") + kx::EscapeWql(name).c_str() + L"'";
    } catch (const std::exception&) {
        AtlThrow(E_OUTOFMEMORY);
    }
}

} // namespace

HRESULT CkxWbemServicesPtr::_GetObject(const wchar_t* path, CkxWbemClassObjectPtr& object) const
{
    CComPtr<IWbemClassObject> found;
    const HRESULT hr =
        kx::EndWbemFetch(_m_object->GetObject(CComBSTR(path), 0, nullptr, &found, nullptr), found);
    if (SUCCEEDED(hr))
        object = CkxWbemClassObjectPtr(found);
    return hr;
}

HRESULT CkxWbemServicesPtr::CreateInstanceEnum(const wchar_t* className,
                                               CkxEnumWbemClassObjectPtr& instances) const
{
    KXT_SCOPE("CreateInstanceEnum");
    return _CreateInstanceEnum(className, WBEM_FLAG_DEEP, instances);
}

HRESULT CkxWbemServicesPtr::_CreateInstanceEnum(const wchar_t* className, long depth,
                                                CkxEnumWbemClassObjectPtr& instances) const
{
    CComPtr<IEnumWbemClassObject> found;
    const HRESULT hr = KX_WBEM_FETCH(
        _m_object, found, CreateInstanceEnum(CComBSTR(className), depth | c_streamed, nullptr, &found),
        "ERROR: CreateInstanceEnum(" << className << ") failed. hr=");
    if (SUCCEEDED(hr))
        instances = CkxEnumWbemClassObjectPtr(found);
    return hr;
}

HRESULT CkxWbemServicesPtr::EnumClasses(const wchar_t* baseName, CkxEnumWbemClassObjectPtr& classes) const
{
    KXT_SCOPE("EnumClasses");
    CString query(L"SELECT * from META_CLASS");
    if (baseName && *baseName)
        query.AppendFormat(L" WHERE __this ISA \"%s\"", baseName);
    return ExecQuery(query, classes);
}

HRESULT CkxWbemServicesPtr::ExecQuery(const wchar_t* query, CkxEnumWbemClassObjectPtr& results) const
{
    KXT_SCOPE("ExecQuery");
    CComPtr<IEnumWbemClassObject> found;
    const HRESULT hr = KX_WBEM_FETCH(
        _m_object, found, ExecQuery(CComBSTR(L"WQL"), CComBSTR(query), c_streamed, nullptr, &found),
        "ERROR: ExecQuery(" << query << ") failed. hr=");
    if (SUCCEEDED(hr))
        results = CkxEnumWbemClassObjectPtr(found);
    return hr;
}

HRESULT CkxWbemServicesPtr::ExecQueryV(CkxEnumWbemClassObjectPtr& results, const wchar_t* format, ...) const
{
    KXT_SCOPE("ExecQueryV");
    CString query;
    va_list arguments;
    va_start(arguments, format);
    const HRESULT hr =
        KX_WBEM_TRY(FormatQuery(query, format, arguments), "ERROR: ExecQuery(" << format << ") failed. hr=");
    va_end(arguments);
    return SUCCEEDED(hr) ? ExecQuery(query, results) : hr;
}

HRESULT CkxWbemServicesPtr::ExecQuerySelect(const wchar_t* className,
                                            std::span<const WbemCondition> conditions,
                                            CkxEnumWbemClassObjectPtr& results) const
{
    KXT_SCOPE("ExecQuerySelect");
    if (FAILED(KX_WBEM_REQUIRE(_m_object)))
        return E_POINTER;
    std::wstring query;
    return SelectQuery(className, conditions, query) ? ExecQuery(query.c_str(), results) : E_INVALIDARG;
}

HRESULT CkxWbemServicesPtr::_ExecQueryByTime(const wchar_t* className, const wchar_t* property,
                                             const wchar_t* comparison, const FILETIME& time,
                                             CkxEnumWbemClassObjectPtr& results) const
{
    KXT_SCOPE("_ExecQueryByTime");
    CComBSTR dateTime;
    const HRESULT hr =
        KX_WBEM_TRY(CkxSWbemDateTimePtr::FileTime2WmiDateTime(time, false, dateTime),
                    "ERROR: Failed to convert " << CkxTime(time).GetTicks() << " to WMI time. hr=");
    if (FAILED(hr))
        return hr;
    return ExecQueryV(results, L"SELECT * FROM %s WHERE %s %s '%s'", className, property, comparison,
                      dateTime.m_str);
}

HRESULT CkxWbemServicesPtr::DeleteInstancesOlderThan(const wchar_t* className, const wchar_t* property,
                                                     const FILETIME& time) const
{
    KXT_SCOPE("DeleteInstancesOlderThan");
    if (FAILED(KX_WBEM_REQUIRE(_m_object)))
        return E_POINTER;
    CkxEnumWbemClassObjectPtr instances;
    HRESULT hr = _ExecQueryByTime(className, property, L"<", time, instances);
    if (FAILED(hr))
        return hr;
    CkxWbemClassObjectPtr instance;
    HRESULT failure = S_OK;
    unsigned failures = 0;
    while ((hr = instances.Next(instance)) == WBEM_S_NO_ERROR) {
        const HRESULT deleted = DeleteInstance(instance);
        if (FAILED(deleted)) {
            failure = deleted;
            ++failures;
        }
    }
    if (failures > 0)
        KXT_OUT(KXT_ERROR, "ERROR: Failed to delete " << failures << " instance(s) of class " << className
                                                      << " where " << property << " is less than "
                                                      << CkxTime(time).GetTicks());
    return FAILED(hr) ? hr : failure;
}

HRESULT CkxWbemServicesPtr::DeleteInstance(const CkxWbemClassObjectPtr& instance) const
{
    KXT_SCOPE("DeleteInstance");
    if (FAILED(KX_WBEM_REQUIRE(_m_object)))
        return E_POINTER;
    if (instance.IsNull()) {
        KXT_OUT(KXT_ERROR, "ERROR: Instance pointer is NULL");
        return E_POINTER;
    }
    CComBSTR path;
    const HRESULT hr =
        KX_WBEM_TRY(instance.Get_BSTR(L"__Path", path), "ERROR: spInstance.GetPath() failed. hr=");
    if (FAILED(hr))
        return hr;
    return KX_WBEM_CALL(_m_object, DeleteInstance(path, 0, nullptr, nullptr),
                        "ERROR: DeleteInstance(" << path.m_str << ") failed. hr=");
}

HRESULT CkxWbemServicesPtr::CreateNamespace(const wchar_t* name, CkxWbemServicesPtr& created) const
{
    KXT_SCOPE("CreateNamespace");
    if (FAILED(KX_WBEM_REQUIRE(_m_object)))
        return E_POINTER;
    if (!name || !*name) {
        KXT_OUT(KXT_ERROR, "ERROR: namespaceName is null or empty");
        return E_INVALIDARG;
    }
    const CString path = NamespaceObjectPath(name);
    CkxWbemClassObjectPtr existing;
    HRESULT hr = _GetObject(path, existing);
    if (hr == kx::WbemCode(WBEM_E_NOT_FOUND))
        hr = _PutNamespace(name);
    else
        (void)KX_WBEM_TRY(hr, "ERROR: IWbemServices->GetObject(" << path << ") failed. hr=");
    return SUCCEEDED(hr) ? _OpenNamespace(name, created) : hr;
}

HRESULT CkxWbemServicesPtr::_PutNamespace(const wchar_t* name) const
{
    CkxWbemClassObjectPtr namespaceClass;
    HRESULT hr = KX_WBEM_TRY(_GetObject(L"__NAMESPACE", namespaceClass),
                             "ERROR: IWbemServices->GetObject(__NAMESPACE) failed. hr=");
    if (FAILED(hr))
        return hr;
    CkxWbemClassObjectPtr namespaceObject;
    hr = KX_WBEM_TRY(namespaceClass.SpawnInstance(namespaceObject),
                     "ERROR: namespaceClass.SpawnInstance() failed. hr=");
    if (FAILED(hr))
        return hr;
    hr = KX_WBEM_TRY(namespaceObject.Put_BSTR(L"Name", CComBSTR(name)),
                     "ERROR: namespaceObj.Put(Name," << name << ") failed. hr=");
    if (FAILED(hr))
        return hr;
    return KX_WBEM_CALL(_m_object,
                        PutInstance(namespaceObject.Get(), WBEM_FLAG_CREATE_OR_UPDATE, nullptr, nullptr),
                        "ERROR: PutInstance() failed. Name=[" << name << "]. hr=");
}

HRESULT CkxWbemServicesPtr::_OpenNamespace(const wchar_t* name, CkxWbemServicesPtr& opened) const
{
    CComPtr<IWbemServices> found;
    const HRESULT hr =
        KX_WBEM_FETCH(_m_object, found, OpenNamespace(CComBSTR(name), 0, nullptr, &found, nullptr),
                      "ERROR: IWbemServices->OpenNamespace(" << name << ") failed. hr=");
    if (SUCCEEDED(hr))
        opened = CkxWbemServicesPtr(found);
    return hr;
}

HRESULT CkxWbemServicesPtr::GetNamespacePath(CString& path) const
{
    KXT_SCOPE("GetNamespacePath");
    if (FAILED(KX_WBEM_REQUIRE(_m_object)))
        return E_POINTER;
    CkxWbemClassObjectPtr namespaceClass;
    HRESULT hr =
        KX_WBEM_TRY(_GetObject(L"__NAMESPACE", namespaceClass), "ERROR: GetObject(__NAMESPACE) failed. hr=");
    CString server;
    if (SUCCEEDED(hr))
        hr = namespaceClass.Get_CString(L"__SERVER", server);
    CString name;
    if (SUCCEEDED(hr))
        hr = namespaceClass.Get_CString(L"__NAMESPACE", name);
    if (SUCCEEDED(hr))
        path = L"\\\\" + server + L"\\" + name;
    return hr;
}
