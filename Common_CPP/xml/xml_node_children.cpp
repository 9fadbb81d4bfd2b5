// A node's children: walking, selecting, adding, moving and removing them.
#include "Common_CPP/trace/trace.h"
#include "Common_CPP/xml/xml_in_bstr.h"
#include "Common_CPP/xml/xml_node.h"
#include "Common_CPP/xml/xml_node_report.h"
#include "Common_CPP/xml/xml_query.h"
#include "Common_CPP/xml/xml_text.h"

#include <cwchar>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

KXT_CLASS("CkxXMLNode");

namespace {

using Report = CkxXMLNodeReport;

// What a walk does at each step is inline by request: as calls it would cost a twentieth more.

inline bool IsOfType(IXMLDOMNode* node, DOMNodeType wanted)
{
    DOMNodeType type = NODE_INVALID;
    const HRESULT hr = node->get_nodeType(&type);
    return Report::Found("IsOfType", "get_nodeType", hr) && type == wanted;
}

inline bool IsElementCalled(IXMLDOMNode* node, const wchar_t* name)
{
    if (!IsOfType(node, NODE_ELEMENT)) // costs next to nothing, and spares the name
        return false;
    CComBSTR nodeName;
    const HRESULT hr = node->get_nodeName(&nodeName);
    return Report::Found("IsElementCalled", "get_nodeName", hr) && nodeName &&
           std::wcscmp(nodeName, name) == 0;
}

inline bool NextOf(IXMLDOMNode* node, CComPtr<IXMLDOMNode>& next)
{
    const HRESULT hr = node->get_nextSibling(&next);
    return Report::Found("NextOf", "get_nextSibling", hr);
}

// Moves `node` on along its siblings until it is wanted; false when none is.
template <class IsWanted>
bool FindSibling(CComPtr<IXMLDOMNode>& node, const IsWanted& isWanted)
{
    while (node && !isWanted(node.p)) {
        CComPtr<IXMLDOMNode> next;
        if (!NextOf(node, next))
            return false;
        node = std::move(next);
    }
    return !!node;
}

template <class IsWanted>
bool FindChild(IXMLDOMNode* parent, const IsWanted& isWanted, CComPtr<IXMLDOMNode>& found)
{
    if (!parent)
        return Report::Empty("GetFirstChild");
    const HRESULT hr = parent->get_firstChild(&found);
    return Report::Found("GetFirstChild", "get_firstChild", hr) && FindSibling(found, isWanted);
}

template <class IsWanted>
bool FindNext(IXMLDOMNode* node, const IsWanted& isWanted, CComPtr<IXMLDOMNode>& found)
{
    if (!node)
        return Report::Empty("GetNextSibling");
    return NextOf(node, found) && FindSibling(found, isWanted);
}

bool IsAccepted(const char* method, const wchar_t* query)
{
    if (query && kx::IsSafeQuery(std::wstring_view(query)))
        return true;
    KXT_SCOPE(method);
    KXT_OUT(KXT_ERROR, "ERROR: The query is not accepted: [" << query << "]");
    return false;
}

} // namespace

void CkxXMLNode::_SetElement(CComPtr<IXMLDOMNode>&& element, std::wstring_view name)
{
    _m_node = std::move(element);
    _m_lineage.StartAt(name);
}

bool CkxXMLNode::GetFirstChild(const wchar_t* name, CkxXMLNode& child) const
{
    CComPtr<IXMLDOMNode> found;
    if (!FindChild(
            _m_node, [&](IXMLDOMNode* node) { return IsElementCalled(node, name); }, found))
        return false;
    child._SetElement(std::move(found), name);
    return true;
}

bool CkxXMLNode::GetFirstChild(DOMNodeType type, CkxXMLNode& child) const
{
    CComPtr<IXMLDOMNode> found;
    if (!FindChild(
            _m_node, [&](IXMLDOMNode* node) { return IsOfType(node, type); }, found))
        return false;
    child = CkxXMLNode(std::move(found));
    return true;
}

bool CkxXMLNode::GetNextSibling(const wchar_t* name, CkxXMLNode& sibling) const
{
    CComPtr<IXMLDOMNode> found;
    if (!FindNext(
            _m_node, [&](IXMLDOMNode* node) { return IsElementCalled(node, name); }, found))
        return false;
    sibling._SetElement(std::move(found), name);
    return true;
}

bool CkxXMLNode::GetNextSibling(DOMNodeType type, CkxXMLNode& sibling) const
{
    CComPtr<IXMLDOMNode> found;
    if (!FindNext(
            _m_node, [&](IXMLDOMNode* node) { return IsOfType(node, type); }, found))
        return false;
    sibling = CkxXMLNode(std::move(found));
    return true;
}

bool CkxXMLNode::SelectSingleNode(const wchar_t* query, CkxXMLNode& node) const
{
    if (IsNull())
        return Report::Empty("SelectSingleNode");
    if (!IsAccepted("SelectSingleNode", query))
        return false;
    CComPtr<IXMLDOMNode> selected;
    const HRESULT hr = _m_node->selectSingleNode(CkxInBSTR(query).Get(), &selected);
    if (FAILED(hr))
        return Report::Failed("SelectSingleNode", "selectSingleNode", hr);
    if (hr != S_OK || !selected)
        return false;
    node = CkxXMLNode(std::move(selected));
    return true;
}

bool CkxXMLNode::SelectNodes(const wchar_t* query, std::vector<CkxXMLNode>& nodes) const
{
    if (IsNull())
        return Report::Empty("SelectNodes");
    if (!IsAccepted("SelectNodes", query))
        return false;
    CComPtr<IXMLDOMNodeList> list;
    const HRESULT hr = _m_node->selectNodes(CkxInBSTR(query).Get(), &list);
    if (hr != S_OK || !list)
        return Report::Failed("SelectNodes", "selectNodes", hr);
    try {
        std::vector<CkxXMLNode> selected;
        CComPtr<IXMLDOMNode> node;
        HRESULT next = list->nextNode(&node);
        for (; next == S_OK && node; next = list->nextNode(&node)) {
            selected.emplace_back(node.p);
            node.Release();
        }
        if (FAILED(next))
            return Report::Failed("SelectNodes", "nextNode", next);
        nodes = std::move(selected);
        return true;
    } catch (const std::exception&) {
        return Report::Failed("SelectNodes", "nextNode", E_OUTOFMEMORY);
    }
}

bool CkxXMLNode::AddChild(const wchar_t* name, CkxXMLNode& child) const
{
    CComPtr<IXMLDOMDocument> document;
    if (!_GetDocument("AddChild", document))
        return false;
    CComPtr<IXMLDOMElement> element;
    HRESULT hr = document->createElement(CkxInBSTR(name).Get(), &element);
    if (hr != S_OK)
        return Report::Failed("AddChild", "createElement", hr);
    hr = _m_node->appendChild(element, nullptr); // a new element holds nothing
    if (hr != S_OK)
        return Report::Failed("AddChild", "appendChild", hr);
    child._SetElement(CComPtr<IXMLDOMNode>(element), name);
    return true;
}

bool CkxXMLNode::AddCDATASection(const wchar_t* text) const
{
    constexpr std::wstring_view c_end = L"]]>";
    std::wstring_view rest(text ? text : L"");
    // The end mark cannot stand inside a section: it is cut after its "]]".
    for (std::size_t mark = rest.find(c_end); mark != std::wstring_view::npos; mark = rest.find(c_end)) {
        if (!_AppendCDATASection(rest.data(), mark + 2))
            return false;
        rest.remove_prefix(mark + 2);
    }
    return _AppendCDATASection(rest.data(), rest.size());
}

bool CkxXMLNode::_AppendCDATASection(const wchar_t* text, std::size_t length) const
{
    constexpr const char* c_method = "AddCDATASection";
    CComPtr<IXMLDOMDocument> document;
    if (!_GetDocument(c_method, document))
        return false;
    CComBSTR data;
    data.Attach(length <= UINT_MAX ? ::SysAllocStringLen(text, static_cast<UINT>(length)) : nullptr);
    if (!data) {
        KXT_SCOPE(c_method);
        KXT_OUT(KXT_ERROR, "ERROR: ::SysAllocString failed.");
        return false;
    }
    kx::ReplaceInvalidXml(data.m_str, length);
    CComPtr<IXMLDOMCDATASection> section;
    HRESULT hr = document->createCDATASection(data, &section);
    if (hr != S_OK)
        return Report::Failed(c_method, "createCDATASection", hr);
    hr = _m_node->appendChild(section, nullptr);
    return hr == S_OK || Report::Failed(c_method, "appendChild(cData)", hr);
}

// Some parsers crash or lose the tree where a node is put under itself.
bool CkxXMLNode::_MayTake(const char* method, const CkxXMLNode& child) const
{
    if (IsNull() || child.IsNull())
        return Report::Empty(method);
    DOMNodeType type = NODE_INVALID;
    if (!Report::Found(method, "get_nodeType", child.Get()->get_nodeType(&type)))
        return false;
    switch (type) {
    case NODE_ELEMENT:
        return !_m_lineage.IsHeldBy(_m_node, child.Get(), child._m_lineage) ||
               Report::Failed(method, "appendChild", HRESULT_FROM_WIN32(ERROR_CIRCULAR_DEPENDENCY));
    case NODE_TEXT:
    case NODE_CDATA_SECTION:
    case NODE_COMMENT:
    case NODE_PROCESSING_INSTRUCTION:
    case NODE_ENTITY_REFERENCE:
        return true;
    default:
        return Report::Failed(method, "appendChild", E_INVALIDARG);
    }
}

bool CkxXMLNode::AppendChild(const CkxXMLNode& child) const
{
    if (!_MayTake("AppendChild", child))
        return false;
    const HRESULT hr = _m_node->appendChild(child.Get(), nullptr);
    child._m_lineage.Moved(child.Get());
    return hr == S_OK || Report::Failed("AppendChild", "appendChild", hr);
}

bool CkxXMLNode::RemoveChild(const CkxXMLNode& child) const
{
    if (IsNull() || child.IsNull())
        return Report::Empty("RemoveChild");
    const HRESULT hr = _m_node->removeChild(child.Get(), nullptr);
    return hr == S_OK || Report::Failed("RemoveChild", "removeChild", hr);
}

bool CkxXMLNode::ReplaceChild(const CkxXMLNode& replacement, const CkxXMLNode& child) const
{
    if (!_MayTake("ReplaceChild", replacement))
        return false;
    if (child.IsNull())
        return Report::Empty("ReplaceChild");
    const HRESULT hr = _m_node->replaceChild(replacement.Get(), child.Get(), nullptr);
    replacement._m_lineage.Moved(replacement.Get());
    return hr == S_OK || Report::Failed("ReplaceChild", "replaceChild", hr);
}
