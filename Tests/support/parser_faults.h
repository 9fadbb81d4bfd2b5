#pragma once

#include "Common_CPP/xml/xml.h"
#include "Tests/support/hook.h"

#include <cwchar>
#include <string>

/// While it lives, the XML parser fails where it is told to, though not for want of memory. One at a time.
/// REQUIRES: a thread with COM.
class ParserFaults {
  public:
    ParserFaults() = default;
    ParserFaults(const ParserFaults&) = delete;
    ParserFaults& operator=(const ParserFaults&) = delete;

    /// Refuses one call whose subject has that name: the child that is appended ("Policy"), the attribute
    /// that is set ("@order"), the element whose text is asked for ("xml Policy"), the text that is parsed,
    /// by its beginning ("load <Policy"), or the element that is created ("new Policy").
    void Refuse(const wchar_t* call)
    {
        _m_call = call;
        _m_refused = false;
    }

    /// Whether that call came, and was refused.
    [[nodiscard]] bool HasRefused() const { return _m_refused; }

  private:
    static constexpr wchar_t c_halfOfPair = 0xD800;

    static bool _Refuses(const std::wstring& call)
    {
        std::wstring& refused = s_self->_m_call;
        if (refused.empty() || !call.starts_with(refused) ||
            (call.size() > refused.size() && !refused.starts_with(L"load ")))
            return false;
        refused.clear();
        s_self->_m_refused = true;
        return true;
    }

    static std::wstring _NameOf(IXMLDOMNode* node)
    {
        CComBSTR name;
        return node && node->get_nodeName(&name) == S_OK ? std::wstring(name.m_str, name.Length()) : L"";
    }

    static HRESULT STDMETHODCALLTYPE _AppendChild(IXMLDOMNode* self, IXMLDOMNode* child, IXMLDOMNode** added)
    {
        return _Refuses(_NameOf(child)) ? E_FAIL : SlotHook<&_AppendChild>::Original(self, child, added);
    }

    static HRESULT STDMETHODCALLTYPE _SetAttribute(IXMLDOMElement* self, BSTR name, VARIANT value)
    {
        return _Refuses(std::wstring(L"@") + name) ? E_FAIL
                                                   : SlotHook<&_SetAttribute>::Original(self, name, value);
    }

    static HRESULT STDMETHODCALLTYPE _GetXml(IXMLDOMNode* self, BSTR* xml)
    {
        if (_Refuses(L"xml " + _NameOf(self)))
            return E_FAIL;
        const HRESULT hr = SlotHook<&_GetXml>::Original(self, xml);
        if (hr == S_OK && _Refuses(L"spoil " + _NameOf(self)))
            (*xml)[::SysStringLen(*xml) - 1] = c_halfOfPair;
        return hr;
    }

    static HRESULT STDMETHODCALLTYPE _LoadXml(IXMLDOMDocument* self, BSTR xml, VARIANT_BOOL* done)
    {
        if (_Refuses(std::wstring(L"load ") + (xml ? xml : L"")))
            return E_FAIL;
        if (!xml || !std::wcschr(xml, c_halfOfPair))
            return SlotHook<&_LoadXml>::Original(self, xml, done);
        *done = VARIANT_TRUE;
        return S_OK;
    }

    static HRESULT STDMETHODCALLTYPE _CreateElement(IXMLDOMDocument* self, BSTR name,
                                                    IXMLDOMElement** element)
    {
        return _Refuses(std::wstring(L"new ") + name)
                   ? E_FAIL
                   : SlotHook<&_CreateElement>::Original(self, name, element);
    }

    // An element and a document of the classes that the calls are made on.
    static CComPtr<IXMLDOMElement> _Element()
    {
        CkxXMLDocument parsed;
        CkxXMLNode element;
        CComPtr<IXMLDOMElement> found;
        if (parsed.Load(CString(L"<e/>")) && parsed.GetFirstChild(L"e", element))
            (void)element.Get()->QueryInterface(&found);
        return found;
    }

    CComPtr<IXMLDOMDocument> _Document() const
    {
        CComPtr<IXMLDOMDocument> document;
        (void)_m_element->get_ownerDocument(&document);
        return document;
    }

    static inline ParserFaults* s_self = nullptr;
    ParserFaults* const _m_self = s_self = this; ///< before the hooks
    std::wstring _m_call;
    bool _m_refused = false;
    // With the methods' places in the tables, IUnknown's and IDispatch's counted.
    CComPtr<IXMLDOMElement> _m_element = _Element();
    CComPtr<IXMLDOMDocument> _m_document = _Document();
    SlotHook<&_AppendChild> _m_appendChild{_m_element.p, 21U};
    SlotHook<&_GetXml> _m_getXml{_m_element.p, 34U};
    SlotHook<&_SetAttribute> _m_setAttribute{_m_element.p, 45U};
    SlotHook<&_CreateElement> _m_createElement{_m_document.p, 47U};
    SlotHook<&_LoadXml> _m_loadXml{_m_document.p, 65U};
};
