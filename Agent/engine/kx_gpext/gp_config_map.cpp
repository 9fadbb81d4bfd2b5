#include "Agent/engine/kx_gpext/gp_config_map.h"

#include "Common_CPP/trace/trace.h"
#include "Common_CPP/util/util.h"

#include <vector>

KXT_CLASS("CkxGpConfigMap");

namespace {

// Paths that are never reported.
constexpr const wchar_t* kExcludedPaths[] = {L"/Configuration/Common/DomainId"};

bool IsExcluded(const std::wstring& path)
{
    for (const wchar_t* const excluded : kExcludedPaths)
        if (CString(path.c_str()).CompareNoCase(excluded) == 0)
            return true;
    return false;
}

bool HasChildElement(const CkxXMLNode& element)
{
    CkxXMLNode child;
    return element.GetFirstChild(NODE_ELEMENT, child);
}

// An element on the way down, and where the path of its parent ends.
struct Step {
    CkxXMLNode element;
    std::size_t parentLength;
};

} // namespace

bool CkxGpConfigMap::Insert(const CkxKxGroupPolicyObject& gpo, const CkxXMLNode& policy, DWORD precedence)
{
    KXT_SCOPE("Insert");
    const Source source{gpo, precedence};
    CkxXMLNode configuration;
    bool whole =
        !policy.GetFirstChild(L"Configuration", configuration) || _InsertConfigValues(source, configuration);
    CkxXMLNode messages;
    for (bool more = policy.GetFirstChild(L"Messages", messages); more;
         more = messages.GetNextSibling(L"Messages", messages)) {
        CkxXMLNode message;
        for (bool another = messages.GetFirstChild(L"Message", message); another;
             another = message.GetNextSibling(L"Message", message))
            whole = _InsertMessageValue(source, message) && whole;
    }
    return whole;
}

// In document order, with a stack of its own: the file decides how deep it is nested, not the thread's stack.
bool CkxGpConfigMap::_InsertConfigValues(const Source& source, const CkxXMLNode& configuration)
{
    KXT_SCOPE("_InsertConfigValues");
    std::wstring path;
    std::vector<Step> way{{configuration, 0}};
    while (!way.empty()) {
        const Step step = std::move(way.back());
        way.pop_back();
        CString name;
        if (!step.element.GetNodeName(name))
            return false;
        path.resize(step.parentLength);
        path.append(1, L'/').append(kx::View(name));
        _InsertElementValue(source, step.element, path);
        CkxXMLNode next;
        const bool isRoot = step.parentLength == 0;
        if (!isRoot && step.element.GetNextSibling(NODE_ELEMENT, next))
            way.push_back({next, step.parentLength});
        if (step.element.GetFirstChild(NODE_ELEMENT, next))
            way.push_back({next, path.size()});
    }
    return true;
}

// An element that only holds others has no value of its own.
void CkxGpConfigMap::_InsertElementValue(const Source& source, const CkxXMLNode& element,
                                         const std::wstring& path)
{
    CString value;
    const bool hasText = element.GetText(value) && !value.IsEmpty();
    if (hasText || !HasChildElement(element))
        _InsertValue(source, path, value);
}

bool CkxGpConfigMap::_InsertMessageValue(const Source& source, const CkxXMLNode& message)
{
    KXT_SCOPE("_InsertMessageValue");
    CString id;
    CString text;
    if (!message.GetAttribute(L"id", id) || !message.GetText(text)) {
        KXT_OUT(KXT_ERROR, "ERROR: incorrect format of message. GPO " << source.gpo);
        return false;
    }
    _InsertValue(source, std::wstring(L"/Messages/").append(kx::View(id)), text);
    return true;
}

void CkxGpConfigMap::_InsertValue(const Source& source, const std::wstring& path, const CString& value)
{
    KXT_SCOPE("_InsertValue");
    if (IsExcluded(path))
        return;
    const auto found = _m_entries.find(path);
    if (found != _m_entries.end() && found->second.precedence < source.precedence)
        return;
    _m_entries.insert_or_assign(path, Entry{value, source.gpo, source.precedence});
}
