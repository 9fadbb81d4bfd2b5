#pragma once

#include "Agent/engine/kx_gpext/gp_config_map.h"
#include "Agent/engine/kx_gpext/rsop_log_groups.h"
#include "Common_CPP/kxwbem/kxwbem_datetime.h"
#include "Common_CPP/kxwbem/kxwbem_services.h"

#include <string>
#include <unordered_map>

#include <userenv.h>

/// Records in WMI what was applied, or in planning mode would be: an instance of the policy class for each
/// policy and, for the machine, one of the configuration class for each configuration value. One object a
/// run and target, on one thread. Failures, exhausted memory included, are traced and end here.
class CkxRsopLog {
  public:
    /// Defines both classes anew in the namespace that `services` is bound to, so that nothing of an earlier
    /// run is left; for a user the policy class only. Null `services`: nothing is ever logged.
    CkxRsopLog(IWbemServices* services, bool machineScope);

    /// How defining the classes went: S_FALSE without services. While it is not S_OK nothing is logged.
    [[nodiscard]] HRESULT SchemaResult() const { return _m_schemaResult; }

    /// Whether what is handed over will be logged.
    [[nodiscard]] bool IsLogging() const { return _m_schemaResult == S_OK && _CanLog(); }

    /// Planning: logs the policies of every GPO of `target` from its files, until `*abort`. Returns the
    /// schema result where that is not 0, 87 without a list of GPOs, 995 after an abort, or 0.
    [[nodiscard]] DWORD Generate(const RSOP_TARGET* target, const BOOL* abort);

    /// Logs one applied policy, with the names of its application groups, which are written into `policy`. A
    /// configuration policy goes to the map of values instead, for the machine. Not 0 when it is not logged;
    /// for a user's configuration policy, which never is, 0.
    HRESULT LogPolicy(const CkxKxGroupPolicyObject& gpo, const CkxXMLNode& policy, CkxRsopLogGroups& groups);

    /// Logs the map's values, for the machine; once all policies have been seen.
    void ProcessConfigMap();

    /// Logs one configuration value.
    HRESULT LogCfgParam(const CString& path, const CString& value, const CkxKxGroupPolicyObject& gpo,
                        DWORD precedence);

  private:
    /// The action of policies that carry configuration instead of a rule.
    static constexpr int kConfigurationAction = 10;

    struct RsopPolicySettingData {
        CComBSTR id;
        CComBSTR name;
        CComBSTR xml;
        DWORD precedence;
    };

    /// What all instances of one GPO have in common, in the form that WMI takes.
    struct GpoTexts {
        CComBSTR gpoId;
        CComBSTR somId;
        CComBSTR creationTime; ///< null until converted
    };

    [[nodiscard]] HRESULT _DefineClasses();
    [[nodiscard]] bool _CanLog() const;
    [[nodiscard]] HRESULT _LogPolicy(const CkxKxGroupPolicyObject& gpo, const CkxXMLNode& policy,
                                     CkxRsopLogGroups& groups);
    [[nodiscard]] static bool _ReadAction(const CkxKxGroupPolicyObject& gpo, const CkxXMLNode& policy,
                                          int& action);
    [[nodiscard]] bool _ReadSetting(const CkxKxGroupPolicyObject& gpo, RsopPolicySettingData& setting);
    [[nodiscard]] HRESULT _LogPolicySetting(const CkxKxGroupPolicyObject& gpo,
                                            const RsopPolicySettingData& setting);
    [[nodiscard]] HRESULT _InsertConfigurationToMap(const CkxKxGroupPolicyObject& gpo,
                                                    const CkxXMLNode& policy);
    [[nodiscard]] HRESULT _LogCfgParam(const CString& path, const CString& value,
                                       const CkxKxGroupPolicyObject& gpo, DWORD precedence);
    [[nodiscard]] HRESULT _SetCommonProperties(const CkxWbemClassObjectPtr& instance,
                                               const CkxKxGroupPolicyObject& gpo, const CComBSTR& id,
                                               const CComBSTR& name, DWORD precedence);
    [[nodiscard]] HRESULT _PutInstance(const CkxWbemClassObjectPtr& instance, const wchar_t* name);
    [[nodiscard]] GpoTexts& _TextsOf(const CkxKxGroupPolicyObject& gpo);
    void _ConvertTime(const FILETIME& time, CComBSTR& text);

    void _GenerateRsopForGPO(PGROUP_POLICY_OBJECTW entry, DWORD number, DWORD count);
    void _GenerateRsopForGPOPolicies(const CkxKxGroupPolicyObject& gpo, DWORD count);
    [[nodiscard]] bool _GenerateRsopForPolicy(const CkxKxGroupPolicyObject& gpo, DWORD count,
                                              const CkxXMLNode& policy, CkxRsopLogGroups& groups);
    [[nodiscard]] bool _FixPolicyOrder(const CkxKxGroupPolicyObject& gpo, DWORD count,
                                       const CkxXMLNode& policy, DWORD& order) const;

    CkxWbemServicesPtr _m_services;
    CkxWbemClassObjectPtr _m_policyClass;
    CkxWbemClassObjectPtr _m_configClass; ///< for the machine only
    bool _m_machineScope;
    HRESULT _m_schemaResult = S_FALSE;
    CkxGpConfigMap _m_configMap;
    std::unordered_map<const GROUP_POLICY_OBJECTW*, GpoTexts> _m_gpoTexts; ///< entries outlive this object
    std::wstring _m_value;           ///< the last attribute's, kept so that no policy allocates it anew
    CkxSWbemDateTimePtr _m_dateTime; ///< once it was needed
};
