#include "Agent/engine/kx_gpext/gp_xml.h"
#include "Agent/engine/kx_gpext/policy_order.h"
#include "Common_CPP/trace/trace.h"

KXT_CLASS("CkxGpXml");

namespace {

constexpr int kFileVersion = 5;

struct MovedRoot {
    kx::PolicyFile file;
    const char* element;
};

// The roots that follow the policies, in the order in which the agent reads them.
constexpr MovedRoot kMovedRoots[] = {{kx::PolicyFile::ApplicationGroups, "ApplicationGroups"},
                                     {kx::PolicyFile::Tokens, "Tokens"},
                                     {kx::PolicyFile::RestrictionRules, "RestrictionRules"},
                                     {kx::PolicyFile::Gui, "GUI"}};

} // namespace

void CkxGpXml::_KeepDocuments(const LoadedFiles& files)
{
    for (const LoadedFile& file : files)
        if (!file.root.IsNull())
            _m_sources.push_back(file.document);
}

bool CkxGpXml::_ProcessGPOPolicies(const CkxKxGroupPolicyObject& gpo, LoadedFiles& files,
                                   const CkxXMLNode& gpoElement)
{
    KXT_SCOPE("_ProcessGPOPolicies");
    const int policiesVersion = Slot(files, kx::PolicyFile::Policies).version;
    const int groupsVersion = Slot(files, kx::PolicyFile::ApplicationGroups).version;
    const int tokensVersion = Slot(files, kx::PolicyFile::Tokens).version;
    const int guiVersion = Slot(files, kx::PolicyFile::Gui).version;
    if (policiesVersion != kFileVersion || groupsVersion != kFileVersion || tokensVersion != kFileVersion ||
        guiVersion != kFileVersion) {
        KXT_OUT(KXT_ERROR, "ERROR: Unsupported version found in XML. Versions: "
                               << policiesVersion << ", " << groupsVersion << ", " << tokensVersion << ", "
                               << guiVersion << ". GPO " << gpo);
        return false;
    }
    CkxXMLNode policies;
    if (!gpoElement.AddChild(L"Policies", policies)) {
        KXT_OUT(KXT_ERROR, "ERROR: AddChild(<Policies>) failed. GPO " << gpo);
        return false;
    }
    (void)policies.SetAttribute(L"version", kFileVersion);
    _KeepDocuments(files);
    if (!_MergePolicies(gpo, files, policies))
        return false;
    for (const MovedRoot& moved : kMovedRoots) {
        const CkxXMLNode& root = Slot(files, moved.file).root;
        if (!root.IsNull() && !policies.AppendChild(root)) {
            KXT_OUT(KXT_ERROR, "ERROR: AddChild(<" << moved.element << ">) failed. GPO " << gpo);
            return false;
        }
    }
    return true;
}

bool CkxGpXml::_MergePolicies(const CkxKxGroupPolicyObject& gpo, const LoadedFiles& files,
                              const CkxXMLNode& policies)
{
    const CkxXMLNode& root = Slot(files, kx::PolicyFile::Policies).root;
    CkxRsopLogGroups groups(Slot(files, kx::PolicyFile::ApplicationGroups).root);
    CkxXMLNode next;
    bool more = !root.IsNull() && root.GetFirstChild(L"Policy", next);
    while (more) {
        const CkxXMLNode policy = next;
        more = policy.GetNextSibling(L"Policy", next); // taken before the policy moves away
        if (!_IsPolicyAllowed(gpo, policy))
            continue;
        if (!_SetGpoPolicyOrder(gpo, policy))
            return false;
        if (!policies.AppendChild(policy)) {
            KXT_OUT(KXT_ERROR, "ERROR: AddChild(<Policy>) failed. GPO " << gpo);
            return false;
        }
        (void)_m_rsopLog.LogPolicy(gpo, policy, groups); // what cannot be logged is applied all the same
    }
    return true;
}

bool CkxGpXml::_SetGpoPolicyOrder(const CkxKxGroupPolicyObject& gpo, const CkxXMLNode& policy) const
{
    int order = kx::kDefaultOrder;
    if (!policy.GetAttribute(L"order", order))
        KXT_OUT(KXT_ERROR,
                "ERROR: Policy in GPO [" << gpo.DisplayName() << "] is missing 'order' attribute.");
    if (!_m_appended)
        order = kx::GlobalOrder(order, static_cast<std::uint32_t>(_m_changedCount), gpo.Precedence(),
                                _IsMachineScope());
    if (policy.SetAttribute(L"order", order))
        return true;
    KXT_OUT(KXT_ERROR,
            "ERROR: Failed to set 'order' attribute to policy in GPO [" << gpo.DisplayName() << "].");
    return false;
}
