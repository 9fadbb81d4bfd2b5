#include "Agent/engine/kx_gpext/rsop_log_groups.h"

#include "Common_CPP/trace/trace.h"

#include <utility>

KXT_CLASS("CkxRsopLog");

namespace {

constexpr const wchar_t* kGroup = L"ApplicationGroup";

template <class Visit>
void ForEachChild(const CkxXMLNode& parent, const wchar_t* name, const Visit& visit)
{
    CkxXMLNode child;
    for (bool more = parent.GetFirstChild(name, child); more; more = child.GetNextSibling(name, child))
        visit(child);
}

// For the lines about faults.
CString NameOf(const CkxXMLNode& policy)
{
    CString name;
    (void)policy.GetAttribute(L"name", name);
    return name;
}

} // namespace

void CkxRsopLogGroups::SetNamesToGroups(const CkxXMLNode& policy)
{
    if (_m_root.IsNull())
        return;
    KXT_SCOPE("_SetNamesToGroups");
    ForEachChild(policy, L"Targets", [&](const CkxXMLNode& targets) {
        ForEachChild(targets, kGroup, [&](const CkxXMLNode& group) { _SetNameToGroup(policy, group); });
    });
}

void CkxRsopLogGroups::_SetNameToGroup(const CkxXMLNode& policy, const CkxXMLNode& group)
{
    CComBSTR id;
    const bool hasId = group.GetAttribute(L"id", id);
    const Definition* const definition = hasId ? _Find({id.m_str, id.Length()}) : nullptr;
    if (definition && definition->name && group.SetAttribute(L"name", definition->name))
        return;
    const CString policyName = NameOf(policy);
    if (!hasId)
        KXT_OUT(KXT_ERROR, "ERROR: policy " << policyName << " contains group without id ");
    else if (!definition)
        KXT_OUT(KXT_ERROR, "ERROR: policy " << policyName << " contains group id " << id.m_str
                                            << " which is not found in AppGroups");
    else if (!definition->name)
        KXT_OUT(KXT_ERROR, "ERROR: group id " << id.m_str << " has no name");
    else
        KXT_OUT(KXT_ERROR, "ERROR: policy " << policyName << ": error setting name to group id " << id.m_str);
}

const CkxRsopLogGroups::Definition* CkxRsopLogGroups::_Find(std::wstring_view id)
{
    if (const auto known = _m_definitions.find(id); known != _m_definitions.end())
        return &known->second;
    while (_m_more)
        if (const auto* const read = _ReadNext(); read && read->first == id)
            return &read->second;
    return nullptr;
}

// Of two definitions with one id the first counts. An id that holds a quotation mark names no group. A
// definition that memory runs out for is read again when the next group is looked for.
const CkxRsopLogGroups::Definitions::value_type* CkxRsopLogGroups::_ReadNext()
{
    CkxXMLNode group;
    const bool isThere =
        _m_last.IsNull() ? _m_root.GetFirstChild(kGroup, group) : _m_last.GetNextSibling(kGroup, group);
    Definition definition;
    const Definitions::value_type* read = nullptr;
    if (isThere && group.GetAttribute(L"id", definition.id)) {
        const std::wstring_view id(definition.id.m_str, definition.id.Length());
        if (id.find(L'"') == id.npos) {
            (void)group.GetAttribute(L"name", definition.name);
            read = &*_m_definitions.try_emplace(id, std::move(definition)).first;
        }
    }
    _m_last = std::move(group);
    _m_more = isThere;
    return read;
}
