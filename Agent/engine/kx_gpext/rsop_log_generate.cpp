#include "Agent/engine/kx_gpext/gpo_list.h"
#include "Agent/engine/kx_gpext/log_barrier.h"
#include "Agent/engine/kx_gpext/policy_order.h"
#include "Agent/engine/kx_gpext/rsop_log.h"
#include "Common_CPP/trace/trace.h"
#include "Common_CPP/xml/xml_document.h"

KXT_CLASS("CkxRsopLog");

namespace {

bool LoadXml(const CString& path, CkxXMLDocument& document)
{
    if (document.LoadFromFile(path))
        return true;
    KXT_OUT(KXT_ERROR, "ERROR: Failed to load XML from " << path);
    return false;
}

// The root of the GPO's application groups; empty where there is none.
CkxXMLNode LoadApplicationGroups(const CkxKxGroupPolicyObject& gpo)
{
    const CString path = gpo.FilePath(kx::PolicyFile::ApplicationGroups);
    CkxXMLDocument document;
    CkxXMLNode groups;
    if (LoadXml(path, document) && !document.GetFirstChild(L"ApplicationGroups", groups))
        KXT_OUT(KXT_ERROR, "ERROR: Failed to load node ApplicationGroups from " << path);
    return groups;
}

// The first policy of a file in either layout: GpoPolicies/Policies/Policy, or directly below a root of
// whatever name, as a refresh reads it. What the first layout lacks is traced where neither is there.
bool FindFirstPolicy(const CkxXMLDocument& document, CkxXMLNode& policy)
{
    CkxXMLNode node = document;
    const wchar_t* missing = nullptr;
    for (const wchar_t* const name : {L"GpoPolicies", L"Policies", L"Policy"}) {
        CkxXMLNode child;
        if (!node.GetFirstChild(name, child)) {
            missing = name;
            break;
        }
        node = child;
    }
    if (!missing) {
        policy = node;
        return true;
    }
    CkxXMLNode root;
    if (document.GetRootElement(root) && root.GetFirstChild(L"Policy", policy))
        return true;
    KXT_OUT(KXT_ERROR, "ERROR: <" << missing << "> element not found");
    return false;
}

} // namespace

DWORD CkxRsopLog::Generate(const RSOP_TARGET* target, const BOOL* abort)
{
    KXT_SCOPE("Generate");
    if (!IsLogging())
        return static_cast<DWORD>(_m_schemaResult);
    if (!target || !target->pGPOList)
        return ERROR_INVALID_PARAMETER;
    const auto entries = CollectGpos(target->pGPOList);
    const auto count = static_cast<DWORD>(entries.size());
    DWORD number = 0;
    for (const PGROUP_POLICY_OBJECTW entry : entries) {
        if (*abort)
            break;
        ++number;
        (void)GuardLogging([&] {
            _GenerateRsopForGPO(entry, number, count);
            return S_OK;
        });
    }
    ProcessConfigMap();
    if (!*abort)
        return ERROR_SUCCESS;
    KXT_OUT(KXT_INFO, "INFO: Aborted.");
    return ERROR_OPERATION_ABORTED;
}

void CkxRsopLog::_GenerateRsopForGPO(PGROUP_POLICY_OBJECTW entry, DWORD number, DWORD count)
{
    KXT_SCOPE("_GenerateRsopForGPO");
    CkxKxGroupPolicyObject gpo(entry);
    gpo.SetPrecedence(number);
    gpo.ReadPoliciesFileTime();
    _GenerateRsopForGPOPolicies(gpo, count);
}

void CkxRsopLog::_GenerateRsopForGPOPolicies(const CkxKxGroupPolicyObject& gpo, DWORD count)
{
    KXT_SCOPE("_GenerateRsopForGPOPolicies");
    CkxRsopLogGroups groups(LoadApplicationGroups(gpo));
    CkxXMLDocument document;
    CkxXMLNode policy;
    if (!LoadXml(gpo.FilePath(kx::PolicyFile::Policies), document) || !FindFirstPolicy(document, policy))
        return;
    bool more = true;
    while (more && _GenerateRsopForPolicy(gpo, count, policy, groups))
        more = policy.GetNextSibling(L"Policy", policy);
}

// False where the rest of the GPO is not to be read.
bool CkxRsopLog::_GenerateRsopForPolicy(const CkxKxGroupPolicyObject& gpo, DWORD count,
                                        const CkxXMLNode& policy, CkxRsopLogGroups& groups)
{
    DWORD order = 0;
    if (!_FixPolicyOrder(gpo, count, policy, order))
        return false;
    int action = 0;
    if (!_ReadAction(gpo, policy, action))
        return false;
    if (action != kConfigurationAction)
        (void)LogPolicy(gpo, policy, groups);
    else if (_m_machineScope)
        (void)_m_configMap.Insert(gpo, policy, order);
    return true;
}

bool CkxRsopLog::_FixPolicyOrder(const CkxKxGroupPolicyObject& gpo, DWORD count, const CkxXMLNode& policy,
                                 DWORD& order) const
{
    KXT_SCOPE("_FixPolicyOrder");
    CString name;
    (void)policy.GetAttribute(L"name", name); // for the lines below alone
    int local = 0;
    if (!policy.GetAttribute(L"order", local))
        KXT_OUT(KXT_INFO, "INFO: policy [" << name << "] is missing 'order' attribute.  - " << gpo.Name());
    const int global = kx::GlobalOrder(local, count, gpo.Precedence(), _m_machineScope);
    if (!policy.SetAttribute(L"order", global)) {
        KXT_OUT(KXT_ERROR, "ERROR: Failed to set 'order' attribute to policy [" << name << ']');
        return false;
    }
    order = static_cast<DWORD>(global);
    return true;
}
