#include "Agent/engine/kx_gpext/rsop_log_groups.h"

#include "Common_CPP/trace/trace.h"

#include <utility>

KXT_CLASS("CkxRsopLog");

namespace {

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
        ForEachChild(targets, L"ApplicationGroup",
                     [&](const CkxXMLNode& group) { _SetNameToGroup(policy, group); });
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
    if (!_m_read)
        _ReadDefinitions();
    const auto found = _m_definitions.find(id);
    return found == _m_definitions.end() ? nullptr : &found->second;
}

// Of two definitions with one id the first counts. An id that holds a quotation mark names no group.
void CkxRsopLogGroups::_ReadDefinitions()
{
    ForEachChild(_m_root, L"ApplicationGroup", [&](const CkxXMLNode& group) {
        Definition definition;
        if (!group.GetAttribute(L"id", definition.id))
            return;
        const std::wstring_view id(definition.id.m_str, definition.id.Length());
        if (id.find(L'"') != id.npos)
            return;
        (void)group.GetAttribute(L"name", definition.name);
        _m_definitions.try_emplace(id, std::move(definition));
    });
    _m_read = true;
}
