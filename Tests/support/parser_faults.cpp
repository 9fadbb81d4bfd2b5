#include "Tests/support/parser_faults.h"

#include <cwchar>
#include <stdexcept>

namespace {

// Places in the tables, IUnknown's and IDispatch's methods counted.
constexpr std::size_t kAppendChild = 21;
constexpr std::size_t kGetXml = 34;
constexpr std::size_t kSetAttribute = 45;  // of an element
constexpr std::size_t kCreateElement = 47; // of a document
constexpr std::size_t kLoadXml = 65;

constexpr wchar_t c_halfOfPair = 0xD800;

std::wstring NameOf(IXMLDOMNode* node)
{
    CComBSTR name;
    return node && node->get_nodeName(&name) == S_OK ? std::wstring(name.m_str, name.Length())
                                                     : std::wstring();
}

} // namespace

ParserFaults* ParserFaults::s_self = nullptr;

ParserFaults::ParserFaults()
{
    if (!_m_parsed.Load(CString(L"<e/>")) || !_m_parsed.GetFirstChild(L"e", _m_element) ||
        _m_element.Get()->get_ownerDocument(&_m_document) != S_OK)
        throw std::runtime_error("no parser");
    s_self = this;
    _m_appendChild.emplace(_m_element.Get(), kAppendChild, reinterpret_cast<void*>(&_AppendChild));
    _m_setAttribute.emplace(_m_element.Get(), kSetAttribute, reinterpret_cast<void*>(&_SetAttribute));
    _m_getXml.emplace(_m_element.Get(), kGetXml, reinterpret_cast<void*>(&_GetXml));
    _m_loadXml.emplace(_m_document, kLoadXml, reinterpret_cast<void*>(&_LoadXml));
    _m_createElement.emplace(_m_document, kCreateElement, reinterpret_cast<void*>(&_CreateElement));
}

ParserFaults::~ParserFaults() = default;

void ParserFaults::Refuse(const wchar_t* call)
{
    _m_call = call;
    _m_refused = false;
}

bool ParserFaults::_Refuses(const std::wstring& call)
{
    if (_m_call.empty() || !call.starts_with(_m_call) ||
        (call.size() > _m_call.size() && !_m_call.starts_with(L"load ")))
        return false;
    _m_call.clear();
    _m_refused = true;
    return true;
}

HRESULT ParserFaults::_AppendChild(IXMLDOMNode* self, IXMLDOMNode* child, IXMLDOMNode** added)
{
    if (s_self->_Refuses(NameOf(child)))
        return E_FAIL;
    return s_self->_m_appendChild->Original<decltype(&_AppendChild)>()(self, child, added);
}

HRESULT ParserFaults::_SetAttribute(IXMLDOMElement* self, BSTR name, VARIANT value)
{
    if (s_self->_Refuses(std::wstring(L"@") + name))
        return E_FAIL;
    return s_self->_m_setAttribute->Original<decltype(&_SetAttribute)>()(self, name, value);
}

HRESULT ParserFaults::_GetXml(IXMLDOMNode* self, BSTR* xml)
{
    if (s_self->_Refuses(L"xml " + NameOf(self)))
        return E_FAIL;
    const HRESULT hr = s_self->_m_getXml->Original<decltype(&_GetXml)>()(self, xml);
    if (hr == S_OK && s_self->_Refuses(L"spoil " + NameOf(self)))
        (*xml)[::SysStringLen(*xml) - 1] = c_halfOfPair;
    return hr;
}

HRESULT ParserFaults::_LoadXml(IXMLDOMDocument* self, BSTR xml, VARIANT_BOOL* done)
{
    if (s_self->_Refuses(std::wstring(L"load ") + (xml ? xml : L"")))
        return E_FAIL;
    if (xml && std::wcschr(xml, c_halfOfPair)) {
        *done = VARIANT_TRUE;
        return S_OK;
    }
    return s_self->_m_loadXml->Original<decltype(&_LoadXml)>()(self, xml, done);
}

HRESULT ParserFaults::_CreateElement(IXMLDOMDocument* self, BSTR name, IXMLDOMElement** element)
{
    if (s_self->_Refuses(std::wstring(L"new ") + name))
        return E_FAIL;
    return s_self->_m_createElement->Original<decltype(&_CreateElement)>()(self, name, element);
}
