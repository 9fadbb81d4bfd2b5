#include "Bench/bare_rsop.h"

#include "Agent/engine/kx_gpext/rsop_schema.h"
#include "Common_CPP/kxwbem/kxwbem_datetime.h"
#include "Common_CPP/trace/trace_control.h"
#include "Common_CPP/util/utf8.h"

#include <cstdio>

// Asked for by the extension's parts that this program is linked with.
HMODULE KxModule() noexcept
{
    return ::GetModuleHandleW(nullptr);
}

namespace {

bool Put(IWbemClassObject* instance, const wchar_t* property, BSTR text)
{
    VARIANT value{};
    value.vt = VT_BSTR;
    value.bstrVal = text;
    return instance->Put(property, 0, &value, 0) == S_OK;
}

} // namespace

CkxBareRsop::CkxBareRsop(const std::wstring& lineFile, int groups)
    : _m_file(::CreateFileW(lineFile.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0,
                            nullptr))
{
    for (int i = 0; i < groups; ++i)
        _m_groupNames.emplace_back(GroupName(i).c_str());
}

std::wstring CkxBareRsop::GroupName(int id)
{
    return L"Group number " + std::to_wstring(id);
}

bool CkxBareRsop::DefineClasses(IWbemServices* services)
{
    _m_services = services;
    const CkxWbemServicesPtr space(services);
    CkxWbemClassObjectPtr configClass;
    CComBSTR time;
    (void)CkxRsopSchema::UnregisterExtension(space);
    return CkxRsopSchema::RegisterExtension(space, &_m_class, &configClass) == S_OK &&
           CkxSWbemDateTimePtr::FileTime2WmiDateTime({1, 1}, false, time) == S_OK;
}

bool CkxBareRsop::Log(IXMLDOMNode* policy, int number, const wchar_t* id, int order)
{
    wchar_t name[64];
    ::swprintf_s(name, 64, L"Policy %d", number);
    VARIANT precedence{};
    precedence.vt = VT_I4;
    precedence.lVal = order;
    CComBSTR xml;
    CComPtr<IWbemClassObject> instance;
    return _NameGroup(policy, number) && policy->get_xml(&xml) == S_OK &&
           _m_class.Get()->SpawnInstance(0, &instance) == S_OK && Put(instance, L"policyXml", xml) &&
           Put(instance, L"id", CComBSTR(id)) && instance->Put(L"precedence", 0, &precedence, 0) == S_OK &&
           Put(instance, L"name", CComBSTR(name)) && Put(instance, L"GPOID", _m_gpoId) &&
           Put(instance, L"SOMID", _m_somId) && Put(instance, L"creationTime", _m_time) &&
           _m_services->PutInstance(instance, 0, nullptr, nullptr) == S_OK && _AppendLine(number);
}

// The text is to be the same, so the group gets its name here too.
bool CkxBareRsop::_NameGroup(IXMLDOMNode* policy, int number)
{
    CComPtr<IXMLDOMNode> targets;
    CComPtr<IXMLDOMNode> node;
    CComPtr<IXMLDOMElement> element;
    VARIANT name{};
    name.vt = VT_BSTR;
    name.bstrVal = _m_groupNames[static_cast<std::size_t>(number) % _m_groupNames.size()];
    return policy->get_firstChild(&targets) == S_OK && targets->get_firstChild(&node) == S_OK &&
           node.QueryInterface(&element) == S_OK && element->setAttribute(_m_nameAttribute, name) == S_OK;
}

bool CkxBareRsop::_AppendLine(int number)
{
    char line[200];
    const int length = std::snprintf(line, sizeof line, "INFO: policy logged. Name=[Policy %d]\r\n", number);
    DWORD written = 0;
    return ::WriteFile(_m_file.Get(), line, static_cast<DWORD>(length), &written, nullptr) != FALSE;
}

bool TraceInto(const std::wstring& path)
{
    ::DeleteFileW(path.c_str());
    std::string utf8;
    return kx::WideToUtf8(path, utf8) && D_ToFile(utf8);
}
