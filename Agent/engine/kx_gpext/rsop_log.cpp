#include "Agent/engine/kx_gpext/rsop_log.h"

#include "Agent/engine/kx_gpext/log_barrier.h"
#include "Agent/engine/kx_gpext/rsop_schema.h"
#include "Common_CPP/trace/trace.h"
#include "Common_CPP/util/number_text.h"
#include "Common_CPP/xml/xml_start_tag.h"

KXT_CLASS("CkxRsopLog");

namespace {

// The rank of a configuration policy that has none: in the middle, not before all others.
constexpr DWORD kDefaultConfigPrecedence = 500000000;

// As the engine compares them: without regard to case, by the user's locale.
bool BeginsWith(const CString& text, std::wstring_view prefix)
{
    const auto length = static_cast<int>(prefix.size());
    return text.GetLength() >= length && ::CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, text, length,
                                                          prefix.data(), length) == CSTR_EQUAL;
}

CComBSTR GpoId(const CString& directoryPath)
{
    for (const std::wstring_view prefix : {L"LDAP://CN=User,", L"LDAP://CN=Machine,"})
        if (BeginsWith(directoryPath, prefix))
            return CComBSTR(directoryPath.GetString() + prefix.size());
    return CComBSTR(directoryPath);
}

// A link that is nothing but the prefix stays as it is.
CComBSTR SomId(const CString& link)
{
    constexpr std::wstring_view prefix = L"LDAP://";
    const bool cut = BeginsWith(link, prefix) && link.GetLength() > static_cast<int>(prefix.size());
    return CComBSTR(cut ? link.GetString() + prefix.size() : link.GetString());
}

} // namespace

CkxRsopLog::CkxRsopLog(IWbemServices* services, bool machineScope)
    : _m_services(services), _m_machineScope(machineScope)
{
    KXT_SCOPE("CkxRsopLog");
    if (_m_services.IsNull())
        return;
    _m_schemaResult = GuardLogging([this] { return _DefineClasses(); });
    if (FAILED(_m_schemaResult))
        KXT_OUT(KXT_ERROR, "ERROR: Failed to register RSoP schema extension.");
}

HRESULT CkxRsopLog::_DefineClasses()
{
    CString path;
    if (SUCCEEDED(_m_services.GetNamespacePath(path)))
        KXT_OUT(KXT_INFO, "INFO: Namespace path is " << path);
    else
        KXT_OUT(KXT_ERROR, "ERROR: Cannot get namespace name");
    (void)CkxRsopSchema::UnregisterExtension(_m_services); // they need not be there
    return CkxRsopSchema::RegisterExtension(_m_services, &_m_policyClass,
                                            _m_machineScope ? &_m_configClass : nullptr);
}

bool CkxRsopLog::_CanLog() const
{
    return !_m_services.IsNull() && !_m_policyClass.IsNull() &&
           (!_m_machineScope || !_m_configClass.IsNull());
}

HRESULT CkxRsopLog::LogPolicy(const CkxKxGroupPolicyObject& gpo, const CkxXMLNode& policy,
                              CkxRsopLogGroups& groups)
{
    if (!IsLogging())
        return _m_schemaResult;
    KXT_SCOPE("LogPolicy");
    return GuardLogging([&] { return _LogPolicy(gpo, policy, groups); });
}

HRESULT CkxRsopLog::_LogPolicy(const CkxKxGroupPolicyObject& gpo, const CkxXMLNode& policy,
                               CkxRsopLogGroups& groups)
{
    int action = 0;
    if (!_ReadAction(gpo, policy, action))
        return E_FAIL;
    if (action == kConfigurationAction)
        return _m_machineScope ? _InsertConfigurationToMap(gpo, policy) : S_OK;
    groups.SetNamesToGroups(policy);
    RsopPolicySettingData setting;
    if (!policy.GetXml(setting.xml) || setting.xml.Length() == 0) {
        CString name; // for the line alone
        (void)policy.GetAttribute(L"name", name);
        KXT_OUT(KXT_ERROR, "ERROR: Failed to get policy xml content. GPO: " << gpo << ", Policy: " << name);
        return E_FAIL;
    }
    if (!_ReadSetting(gpo, setting))
        return E_FAIL;
    return _LogPolicySetting(gpo, setting);
}

bool CkxRsopLog::_ReadAction(const CkxKxGroupPolicyObject& gpo, const CkxXMLNode& policy, int& action)
{
    if (policy.GetAttribute(L"action", action))
        return true;
    KXT_OUT(KXT_ERROR, "ERROR: No \"action\" element in policy. GPO " << gpo);
    return false;
}

// From the policy's text, which is there already.
bool CkxRsopLog::_ReadSetting(const CkxKxGroupPolicyObject& gpo, RsopPolicySettingData& setting)
{
    const std::wstring_view xml(setting.xml.m_str, setting.xml.Length());
    if (!kx::ReadStartTagAttribute<wchar_t>(xml, L"name", _m_value)) {
        KXT_OUT(KXT_ERROR, "ERROR: FAiled to get policy name attribute. GPO: " << gpo);
        return false;
    }
    setting.name = CComBSTR(static_cast<int>(_m_value.size()), _m_value.c_str());
    if (!kx::ReadStartTagAttribute<wchar_t>(xml, L"gpid", _m_value)) {
        KXT_OUT(KXT_ERROR, "ERROR: FAiled to get policy gpid attribute. GPO: " << gpo << ", Policy: "
                                                                               << setting.name.m_str);
        return false;
    }
    setting.id = CComBSTR(static_cast<int>(_m_value.size()), _m_value.c_str());
    std::int32_t order = 0;
    if (!kx::ReadStartTagAttribute<wchar_t>(xml, L"order", _m_value) ||
        !kx::ScanInt32<wchar_t>(_m_value, order)) {
        KXT_OUT(KXT_ERROR, "ERROR: FAiled to get policy order attribute. GPO: " << gpo << ", Policy: "
                                                                                << setting.name.m_str);
        return false;
    }
    setting.precedence = static_cast<DWORD>(order);
    return true;
}

HRESULT CkxRsopLog::_LogPolicySetting(const CkxKxGroupPolicyObject& gpo, const RsopPolicySettingData& setting)
{
    KXT_SCOPE("_LogPolicySetting");
    CkxWbemClassObjectPtr instance;
    HRESULT hr = _m_policyClass.SpawnInstance(instance);
    if (FAILED(hr)) {
        KXT_OUT(KXT_ERROR, "ERROR: PolicyClass.SpawnInstance() failed. hr=" << hr);
        return hr;
    }
    hr = instance.Put_BSTR(L"policyXml", setting.xml);
    if (FAILED(hr)) {
        KXT_OUT(KXT_ERROR, "ERROR: objectInstance.Put(policyXml) failed. hr=" << hr << ". PolicyName="
                                                                              << setting.name.m_str);
        return hr;
    }
    (void)_SetCommonProperties(instance, gpo, setting.id, setting.name, setting.precedence);
    hr = _PutInstance(instance, setting.name);
    if (SUCCEEDED(hr))
        KXT_OUT(KXT_INFO, "INFO: " << kRsopPolicyClass << " created. Name=[" << setting.name.m_str
                                   << "], ID=" << setting.id.m_str);
    return hr;
}

HRESULT CkxRsopLog::_InsertConfigurationToMap(const CkxKxGroupPolicyObject& gpo, const CkxXMLNode& policy)
{
    KXT_SCOPE("_InsertConfigurationToMap");
    int order = 0;
    DWORD precedence = kDefaultConfigPrecedence;
    if (policy.GetAttribute(L"order", order))
        precedence = static_cast<DWORD>(order);
    else
        KXT_OUT(KXT_ERROR, "ERROR: Policy is missing 'order' attribute.");
    return _m_configMap.Insert(gpo, policy, precedence) ? S_OK : E_FAIL;
}

void CkxRsopLog::ProcessConfigMap()
{
    KXT_SCOPE("ProcessConfigMap");
    if (!_m_machineScope)
        return;
    (void)GuardLogging([this] {
        for (const auto& [path, entry] : _m_configMap.GetEntries())
            LogCfgParam(CString(path.c_str()), entry.value, entry.gpo, entry.precedence);
        return S_OK;
    });
}

HRESULT CkxRsopLog::LogCfgParam(const CString& path, const CString& value, const CkxKxGroupPolicyObject& gpo,
                                DWORD precedence)
{
    if (!IsLogging())
        return _m_schemaResult;
    KXT_SCOPE("LogCfgParam");
    return GuardLogging([&] { return _LogCfgParam(path, value, gpo, precedence); });
}

HRESULT CkxRsopLog::_LogCfgParam(const CString& path, const CString& value, const CkxKxGroupPolicyObject& gpo,
                                 DWORD precedence)
{
    CkxWbemClassObjectPtr instance;
    HRESULT hr = _m_configClass.SpawnInstance(instance);
    if (FAILED(hr)) {
        KXT_OUT(KXT_ERROR, "ERROR: ConfigClass.SpawnInstance() failed. hr=" << hr);
        return hr;
    }
    hr = instance.Put_CString(L"Value", value);
    if (FAILED(hr)) {
        KXT_OUT(KXT_ERROR, "ERROR: objectInstance.Put(Value, \"" << value << "\") failed. hr=" << hr
                                                                 << ". CfgPath=" << path);
        return hr;
    }
    // The class that the line names is the one that administrators' notes quote.
    const CComBSTR id(path);
    if (FAILED(_SetCommonProperties(instance, gpo, id, id, precedence)))
        KXT_OUT(KXT_ERROR, "ERROR: Failed to set RSOP_KxTesmorMessage common properties. CfgPath=" << path);
    hr = _PutInstance(instance, path);
    if (SUCCEEDED(hr))
        KXT_OUT(KXT_INFO,
                "INFO: " << kRsopConfigClass << " created. Path=[" << path << "], Value=[" << value << ']');
    return hr;
}

HRESULT CkxRsopLog::_PutInstance(const CkxWbemClassObjectPtr& instance, const wchar_t* name)
{
    const HRESULT hr = _m_services.Get()->PutInstance(instance.Get(), 0, nullptr, nullptr);
    if (FAILED(hr))
        KXT_OUT(KXT_ERROR, "ERROR: WbemSvc->PutInstance(" << name << ") failed. hr=" << hr);
    return hr;
}

HRESULT CkxRsopLog::_SetCommonProperties(const CkxWbemClassObjectPtr& instance,
                                         const CkxKxGroupPolicyObject& gpo, const CComBSTR& id,
                                         const CComBSTR& name, DWORD precedence)
{
    KXT_SCOPE("_SetCommonProperties");
    if (instance.IsNull() || id.Length() == 0 || !name) {
        KXT_OUT(KXT_ERROR, "ERROR: Invalid arguments passed to _SetCommonProperties method");
        return E_INVALIDARG;
    }
    const auto failed = [&](const char* property, const auto& value, HRESULT hr) {
        if (FAILED(hr))
            KXT_OUT(KXT_ERROR, "ERROR: objectInstance.Put(" << property << ", " << value << ") failed. hr="
                                                            << hr << ". InstanceName=" << name.m_str);
        return FAILED(hr);
    };
    HRESULT hr = instance.Put_BSTR(L"id", id);
    if (failed("id", id.m_str, hr))
        return hr;
    hr = instance.Put_long(L"precedence", static_cast<long>(precedence));
    if (failed("precedence", precedence, hr))
        return hr;
    hr = instance.Put_BSTR(L"name", name);
    if (failed("name", name.m_str, hr))
        return hr;
    const GpoTexts& texts = _TextsOf(gpo);
    hr = instance.Put_BSTR(L"GPOID", texts.gpoId);
    if (failed("GPOID", texts.gpoId.m_str, hr))
        return hr;
    hr = instance.Put_BSTR(L"SOMID", texts.somId);
    if (failed("SOMID", texts.somId.m_str, hr))
        return hr;
    hr = texts.creationTime ? instance.Put_BSTR(L"creationTime", texts.creationTime)
                            : instance.PutNullValue(L"creationTime");
    (void)failed("creationTime", texts.creationTime.m_str, hr);
    return hr;
}

// Made once a GPO: converting a time costs more than writing an instance. A conversion that fails is tried
// again with the next instance; the time of a file that could not be read is no time and stays null.
CkxRsopLog::GpoTexts& CkxRsopLog::_TextsOf(const CkxKxGroupPolicyObject& gpo)
{
    GpoTexts& texts = _m_gpoTexts[gpo.Entry()];
    if (!texts.gpoId)
        texts.gpoId = GpoId(gpo.DirectoryPath());
    if (!texts.somId)
        texts.somId = SomId(gpo.Link());
    const FILETIME written = gpo.PoliciesFileTime();
    const bool isKnown = written.dwLowDateTime != 0 || written.dwHighDateTime != 0;
    if (isKnown && !texts.creationTime)
        _ConvertTime(written, texts.creationTime);
    return texts;
}

// With one converter for all GPOs. Where that fails, `text` stays as it is.
void CkxRsopLog::_ConvertTime(const FILETIME& time, CComBSTR& text)
{
    if (_m_dateTime.IsNull() && FAILED(_m_dateTime.CreateInstance()))
        return;
    if (SUCCEEDED(_m_dateTime.SetFileTime(time, false)))
        (void)_m_dateTime.GetValue(text);
}
