#include "Tools/kx_gpsim/document_digest.h"

#include "Common_CPP/xml/xml_document.h"
#include "Tools/kx_gpsim/secrets.h"
#include "Tools/kx_gpsim/wide_text.h"

#include <map>

namespace {

constexpr const char* kConfigurationAction = "10";

using GroupNames = std::map<std::string, std::string>;

std::string Attribute(const CkxXMLNode& node, const wchar_t* name)
{
    CString value;
    return node.GetAttribute(name, value) ? kx::Narrow(kx::View(value)) : std::string();
}

std::string TextOf(const CkxXMLNode& node)
{
    CString text;
    return node.GetText(text) ? kx::Narrow(kx::View(text)) : std::string();
}

template <class Visit>
void ForEachChild(const CkxXMLNode& parent, const wchar_t* name, const Visit& visit)
{
    CkxXMLNode child;
    for (bool more = parent.GetFirstChild(name, child); more; more = child.GetNextSibling(name, child))
        visit(child);
}

template <class Visit>
void ForEachElement(const CkxXMLNode& parent, const Visit& visit)
{
    CkxXMLNode child;
    for (bool more = parent.GetFirstChild(NODE_ELEMENT, child); more;
         more = child.GetNextSibling(NODE_ELEMENT, child))
        visit(child);
}

// ---- one policy ---------------------------------------------------------------------------------------

using Settings = std::vector<std::pair<std::string, std::string>>;

void AddSetting(const std::string& path, const std::string& value, Settings& settings)
{
    settings.emplace_back(path, value);
}

// The elements with a value, which are those that hold no others.
void AddValues(const CkxXMLNode& element, const std::string& parent, Settings& settings)
{
    CString name;
    if (!element.GetNodeName(name))
        return;
    const std::string path = parent + '/' + kx::Narrow(kx::View(name));
    bool leaf = true;
    ForEachElement(element, [&](const CkxXMLNode& child) {
        leaf = false;
        AddValues(child, path, settings);
    });
    if (leaf)
        AddSetting(path, TextOf(element), settings);
}

Settings SettingsOf(const CkxXMLNode& policy)
{
    Settings settings;
    CkxXMLNode configuration;
    if (policy.GetFirstChild(L"Configuration", configuration))
        AddValues(configuration, {}, settings);
    ForEachChild(policy, L"Messages", [&](const CkxXMLNode& messages) {
        ForEachChild(messages, L"Message", [&](const CkxXMLNode& message) {
            AddSetting("/Messages/" + Attribute(message, L"id"), TextOf(message), settings);
        });
    });
    return settings;
}

std::vector<std::string> GroupsOf(const CkxXMLNode& policy, const GroupNames& names)
{
    std::vector<std::string> groups;
    ForEachChild(policy, L"Targets", [&](const CkxXMLNode& targets) {
        ForEachChild(targets, L"ApplicationGroup", [&](const CkxXMLNode& group) {
            const std::string id = Attribute(group, L"id");
            const auto found = names.find(id);
            groups.push_back(found == names.end() ? id : found->second);
        });
    });
    return groups;
}

kx::SentPolicy PolicyOf(const CkxXMLNode& node, const std::string& gpo, const GroupNames& names)
{
    kx::SentPolicy policy;
    policy.gpo = gpo;
    policy.name = Attribute(node, L"name");
    policy.id = Attribute(node, L"gpid");
    policy.action = Attribute(node, L"action");
    int order = 0;
    (void)node.GetAttribute(L"order", order);
    policy.order = order;
    CString xml;
    if (node.GetXml(xml))
        policy.xml = kx::MaskXml(kx::Narrow(kx::View(xml)));
    policy.groups = GroupsOf(node, names);
    if (policy.action == kConfigurationAction)
        policy.configuration = SettingsOf(node);
    return policy;
}

// ---- the document -------------------------------------------------------------------------------------

GroupNames NamesIn(const CkxXMLNode& policies)
{
    GroupNames names;
    ForEachChild(policies, L"ApplicationGroups", [&](const CkxXMLNode& groups) {
        ForEachChild(groups, L"ApplicationGroup", [&](const CkxXMLNode& group) {
            if (const std::string name = Attribute(group, L"name"); !name.empty())
                names.try_emplace(Attribute(group, L"id"), name);
        });
    });
    return names;
}

void AddPolicies(const CkxXMLNode& root, std::vector<kx::SentPolicy>& policies)
{
    ForEachChild(root, L"ChangedGPOs", [&](const CkxXMLNode& changed) {
        ForEachChild(changed, L"GPO", [&](const CkxXMLNode& gpo) {
            const std::string name = Attribute(gpo, L"name");
            ForEachChild(gpo, L"Policies", [&](const CkxXMLNode& list) {
                const GroupNames names = NamesIn(list);
                ForEachChild(list, L"Policy", [&](const CkxXMLNode& policy) {
                    policies.push_back(PolicyOf(policy, name, names));
                });
            });
        });
    });
}

} // namespace

void DigestDocument(std::wstring_view text, kx::PassResult& pass)
{
    pass.document = kx::MaskXml(kx::Narrow(text));
    CkxXMLDocument document;
    document.HoldsSecret();
    CkxXMLNode root;
    CString name;
    if (!document.Load(CString(text.data(), static_cast<int>(text.size()))) ||
        !document.GetRootElement(root) || !root.GetNodeName(name)) {
        pass.notes.emplace_back("what arrived is no XML document");
        return;
    }
    pass.documentRoot = kx::Narrow(kx::View(name));
    AddPolicies(root, pass.policies);
}
