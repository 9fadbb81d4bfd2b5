// The parser's own calls, without wrappers, as the bare sides of the benchmarks make them. What fails is
// thrown as a CAtlException. REQUIRES: COM.
#pragma once

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/xml/xml_interfaces.h"

#include <cwchar>
#include <string>

namespace kx::bare {

/// Throws unless `hr` is S_OK.
void Must(HRESULT hr);

/// Throws unless `done`.
void Must(bool done);

/// The parser's class factory.
[[nodiscard]] CComPtr<IClassFactory> ParserFactory();

/// Without a factory the class is looked up anew, as a plain program does.
[[nodiscard]] CComPtr<IXMLDOMDocument> NewDocument(IClassFactory* factory);

/// The plain way: the parser opens the file, in a document that is made anew. Null for a file that is not
/// there.
[[nodiscard]] CComPtr<IXMLDOMDocument> LoadByName(const std::wstring& path);

/// The fastest way known: the parser gets the file's bytes. Null for a file that is not there.
[[nodiscard]] CComPtr<IXMLDOMDocument> LoadByBytes(IClassFactory* factory, const std::wstring& path);

[[nodiscard]] CComPtr<IXMLDOMElement> ElementOf(IXMLDOMNode* node);

/// The number in an attribute that is there.
[[nodiscard]] int NumberOf(IXMLDOMElement* element, BSTR attribute);

void SetNumber(IXMLDOMElement* element, BSTR attribute, int number);

/// Calls `visit` with every child of that name; `visit` may move it away.
template <class Visit>
void ForEachChild(IXMLDOMNode* parent, const wchar_t* name, const Visit& visit)
{
    CComPtr<IXMLDOMNode> node;
    (void)parent->get_firstChild(&node);
    while (node) {
        CComPtr<IXMLDOMNode> next; // taken before the node moves away
        (void)node->get_nextSibling(&next);
        CComBSTR nodeName;
        Must(node->get_nodeName(&nodeName));
        if (std::wcscmp(nodeName, name) == 0)
            visit(static_cast<IXMLDOMNode*>(node));
        node = next;
    }
}

} // namespace kx::bare
