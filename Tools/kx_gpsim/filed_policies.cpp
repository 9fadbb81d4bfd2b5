#include "Tools/kx_gpsim/filed_policies.h"

#include "Agent/engine/kx_gpext/policy_files.h"
#include "Common_CPP/xml/xml.h"
#include "Tools/kx_gpsim/wide_text.h"

#include <utility>

namespace kx {

namespace {

std::string AttributeOf(const CkxXMLNode& node, const wchar_t* name)
{
    CString value;
    return node.GetAttribute(name, value) ? Narrow(View(value)) : std::string();
}

void AddPolicies(const CkxXMLNode& root, const FiledPolicy& place, std::vector<FiledPolicy>& policies)
{
    CkxXMLNode node;
    bool more = root.GetFirstChild(L"Policy", node);
    while (more) {
        FiledPolicy policy = place;
        policy.name = AttributeOf(node, L"name");
        policy.id = AttributeOf(node, L"gpid");
        policies.push_back(std::move(policy));
        CkxXMLNode next;
        more = node.GetNextSibling(L"Policy", next);
        node = next;
    }
}

} // namespace

std::vector<FiledPolicy> ReadFiledPolicies(const RunResult& run)
{
    std::vector<FiledPolicy> policies;
    for (std::size_t pass = 0; pass < run.passes.size(); ++pass) {
        const bool appended = run.passes[pass].call == "append";
        for (std::size_t at = 0; at < run.passes[pass].gpos.size(); ++at) {
            const GpoInput& gpo = run.passes[pass].gpos[at].gpo;
            if (gpo.folder.empty() || gpo.deleted)
                continue;
            const std::wstring path = PolicyFilePath(Wide(gpo.folder), appended, PolicyFile::Policies);
            CkxXMLDocument document;
            CkxXMLNode root;
            if (document.LoadFromFile(path.c_str()) && document.GetRootElement(root))
                AddPolicies(root, {pass, at, {}, {}}, policies);
        }
    }
    return policies;
}

} // namespace kx
