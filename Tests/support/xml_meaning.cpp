#include "Tests/support/xml_meaning.h"

#include "Common_CPP/util/utf8.h"
#include "Common_CPP/xml/xml_document.h"

#include <map>

namespace {

std::string Narrow(const BSTR text)
{
    std::string narrow;
    return kx::WideToUtf8(text ? text : L"", narrow) ? narrow : "<ill-formed>";
}

std::string NameOf(IXMLDOMNode* node)
{
    CComBSTR name;
    node->get_nodeName(&name);
    return Narrow(name);
}

std::string ValueOf(IXMLDOMNode* node)
{
    CComBSTR text;
    node->get_text(&text);
    return Narrow(text);
}

std::string Attributes(IXMLDOMNode* node)
{
    CComPtr<IXMLDOMNamedNodeMap> map;
    std::map<std::string, std::string> sorted;
    CComPtr<IXMLDOMNode> attribute;
    if (node->get_attributes(&map) == S_OK)
        while (map->nextNode(&attribute) == S_OK && attribute) {
            sorted[NameOf(attribute)] = ValueOf(attribute);
            attribute.Release();
        }
    std::string text;
    for (const auto& [name, value] : sorted)
        text += " " + name + "=\"" + value + "\"";
    return text;
}

void Describe(IXMLDOMNode* node, std::size_t depth, std::string& out)
{
    DOMNodeType type = NODE_INVALID;
    node->get_nodeType(&type);
    const std::string indent(2 * depth, ' ');
    if (type == NODE_TEXT || type == NODE_CDATA_SECTION)
        out += indent + "text: " + ValueOf(node) + "\n";
    if (type != NODE_ELEMENT)
        return;
    out += indent + NameOf(node) + Attributes(node) + "\n";
    CComPtr<IXMLDOMNode> child;
    node->get_firstChild(&child);
    while (child) {
        Describe(child, depth + 1, out);
        CComPtr<IXMLDOMNode> next;
        child->get_nextSibling(&next);
        child = next;
    }
}

} // namespace

std::string XmlMeaning(const std::wstring& xml)
{
    CkxXMLDocument document;
    CkxXMLNode root;
    if (!document.Load(CString(xml.c_str())) || !document.GetRootElement(root))
        return "no XML: " + Narrow(CComBSTR(xml.c_str()));
    std::string meaning;
    Describe(root.Get(), 0, meaning);
    return meaning;
}
