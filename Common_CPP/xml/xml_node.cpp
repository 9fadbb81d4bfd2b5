#include "Common_CPP/xml/xml_node.h"

#include "Common_CPP/trace/trace.h"
#include "Common_CPP/xml/xml_in_bstr.h"
#include "Common_CPP/xml/xml_namespaces.h"
#include "Common_CPP/xml/xml_node_report.h"
#include "Common_CPP/xml/xml_text.h"

#include <exception>
#include <string>
#include <string_view>

KXT_CLASS("CkxXMLNode");

namespace {

using Report = CkxXMLNodeReport;

// The element behind a node; null, traced, when it is something else.
CComPtr<IXMLDOMElement> ElementOf(IXMLDOMNode* node, const char* method)
{
    CComPtr<IXMLDOMElement> element;
    const HRESULT hr =
        node ? node->QueryInterface(__uuidof(IXMLDOMElement), reinterpret_cast<void**>(&element)) : E_POINTER;
    if (FAILED(hr))
        (void)Report::NoElement(method, hr);
    return element;
}

// Some parsers accept what no parser reads again.
void Clean(BSTR text, std::size_t length)
{
    if (kx::FindInvalidXml(std::wstring_view(text, length)) != std::wstring_view::npos)
        kx::ReplaceInvalidXml(text, length);
}

} // namespace

bool CkxXMLNode::GetNodeName(CString& name) const
{
    if (IsNull())
        return Report::Empty("GetNodeName");
    CComBSTR text;
    const HRESULT hr = _m_node->get_nodeName(&text);
    if (hr != S_OK)
        return Report::Failed("GetNodeName", "get_nodeName", hr);
    name.SetString(text.m_str, static_cast<int>(text.Length()));
    return true;
}

bool CkxXMLNode::GetXml(CString& xml) const
{
    CComBSTR text;
    if (!GetXml(text))
        return false;
    xml.SetString(text.m_str, static_cast<int>(text.Length()));
    return true;
}

bool CkxXMLNode::GetXml(CComBSTR& xml) const
{
    if (IsNull())
        return Report::Empty("GetXml");
    CComBSTR text;
    const HRESULT hr = _m_node->get_xml(&text);
    if (hr != S_OK)
        return Report::Failed("GetXml", "get_xml", hr);
    _EscapeNamespaces(text);
    xml = std::move(text);
    return true;
}

void CkxXMLNode::_EscapeNamespaces(CComBSTR& xml)
{
    std::wstring escaped;
    try {
        if (!kx::EscapeNamespaces(std::wstring_view(xml.m_str, xml.Length()), escaped))
            return;
    } catch (const std::exception&) {
        AtlThrow(E_OUTOFMEMORY);
    }
    xml = CComBSTR(static_cast<int>(escaped.size()), escaped.c_str());
}

bool CkxXMLNode::GetText(CString& text) const
{
    CComBSTR read;
    if (!_ReadText(read))
        return false;
    text.SetString(read.m_str, static_cast<int>(read.Length()));
    return true;
}

bool CkxXMLNode::_ReadText(CComBSTR& text) const
{
    if (IsNull())
        return Report::Empty("GetText");
    const HRESULT hr = _m_node->get_text(&text);
    return hr == S_OK || Report::Failed("GetText", "get_text", hr);
}

bool CkxXMLNode::SetText(const wchar_t* text) const
{
    if (IsNull())
        return Report::Empty("SetText");
    CkxInBSTR value(text);
    Clean(value.Get(), value.Length());
    CkxXMLNode existing;
    if (!GetFirstChild(NODE_TEXT, existing))
        return _CreateTextChild(value.Get());
    const HRESULT hr = existing.Get()->put_nodeValue(value.Lend());
    return hr == S_OK || Report::Failed("SetText", "put_nodeValue", hr);
}

bool CkxXMLNode::_CreateTextChild(BSTR text) const
{
    CComPtr<IXMLDOMDocument> document;
    if (!_GetDocument("SetText", document))
        return false;
    CComPtr<IXMLDOMText> child;
    HRESULT hr = document->createTextNode(text, &child);
    if (hr != S_OK)
        return Report::Failed("SetText", "createTextNode", hr);
    hr = _m_node->appendChild(child, nullptr);
    return hr == S_OK || Report::Failed("SetText", "appendChild", hr);
}

bool CkxXMLNode::_GetDocument(const char* method, CComPtr<IXMLDOMDocument>& document) const
{
    if (IsNull())
        return Report::Empty(method);
    const HRESULT hr = _m_node->get_ownerDocument(&document);
    return (hr == S_OK && document) || Report::Failed(method, "get_ownerDocument", hr);
}

bool CkxXMLNode::GetAttribute(const wchar_t* name, CString& value) const
{
    CComBSTR found;
    if (!_ReadAttribute(name, found))
        return false;
    value.SetString(found, static_cast<int>(found.Length()));
    return true;
}

bool CkxXMLNode::GetAttribute(const wchar_t* name, CkxSecretText& value) const
{
    CComBSTR found;
    if (!_ReadAttribute(name, found))
        return false;
    value.Attach(found.Detach());
    return true;
}

bool CkxXMLNode::_ReadAttribute(const wchar_t* name, CComBSTR& value) const
{
    const CComPtr<IXMLDOMElement> element = ElementOf(_m_node, "GetAttribute");
    if (!element)
        return false;
    VARIANT found;
    found.vt = VT_EMPTY;
    const HRESULT hr = element->getAttribute(CkxInBSTR(name).Get(), &found);
    if (found.vt == VT_BSTR)
        value.Attach(found.bstrVal);
    else
        (void)::VariantClear(&found);
    return Report::Found("GetAttribute", "getAttribute", hr) && found.vt == VT_BSTR;
}

bool CkxXMLNode::LacksAttribute(const wchar_t* name) const
{
    const CComPtr<IXMLDOMElement> element = ElementOf(_m_node, "LacksAttribute");
    if (!element)
        return false;
    CComPtr<IXMLDOMAttribute> found;
    const HRESULT hr = element->getAttributeNode(CkxInBSTR(name).Get(), &found);
    return !Report::Found("LacksAttribute", "getAttributeNode", hr) && SUCCEEDED(hr);
}

bool CkxXMLNode::_ReportIfMissing(const wchar_t* name) const
{
    CString value;
    if (IsNull() || GetAttribute(name, value)) // there, but not of the type asked for
        return false;
    CString nodeName;
    (void)GetNodeName(nodeName);
    KXT_SCOPE("GetRequiredAttribute");
    KXT_OUT(KXT_ERROR, "ERROR: Exiting <" << nodeName << "> is missing '" << name << "' attribute.");
    return false;
}

bool CkxXMLNode::SetAttribute(const wchar_t* name, const wchar_t* value) const
{
    CkxInBSTR text(value);
    return _PutAttribute(name, text.Get(), text.Length());
}

bool CkxXMLNode::SetAttribute(const wchar_t* name, CkxSecretText& value) const
{
    return _PutAttribute(name, value.Get(), ::SysStringLen(value.Get()));
}

bool CkxXMLNode::_PutAttribute(const wchar_t* name, BSTR value, std::size_t length) const
{
    const CComPtr<IXMLDOMElement> element = ElementOf(_m_node, "SetAttribute");
    if (!element)
        return false;
    Clean(value, length);
    VARIANT lent; // VT_BSTR only: other types are not converted the same way everywhere
    ::VariantInit(&lent);
    lent.vt = VT_BSTR;
    lent.bstrVal = value;
    const HRESULT hr = element->setAttribute(CkxInBSTR(name).Get(), lent);
    if (SUCCEEDED(hr))
        return true;
    if (hr == E_OUTOFMEMORY)
        return Report::Failed("SetAttribute", "setAttribute", hr);
    KXT_SCOPE("SetAttribute");
    KXT_OUT(KXT_ERROR, "ERROR: setAttribute(" << name << ") failed");
    return false;
}

bool CkxXMLNode::RemoveAttribute(const wchar_t* name) const
{
    const CComPtr<IXMLDOMElement> element = ElementOf(_m_node, "RemoveAttribute");
    if (!element)
        return false;
    if (SUCCEEDED(element->removeAttribute(CkxInBSTR(name).Get())))
        return true;
    KXT_SCOPE("RemoveAttribute");
    KXT_OUT(KXT_ERROR, "ERROR: removeAttribute(" << name << ") failed");
    return false;
}
