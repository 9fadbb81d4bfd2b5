#pragma once

#include "Common_CPP/xml/xml.h"
#include "Tests/support/patched_slot.h"

#include <optional>
#include <string>

/// While it lives, the XML parser fails where it is told to, though not for want of memory. One at a time.
/// REQUIRES: a thread with COM.
class ParserFaults {
  public:
    ParserFaults();
    ~ParserFaults();
    ParserFaults(const ParserFaults&) = delete;
    ParserFaults& operator=(const ParserFaults&) = delete;

    /// Refuses one call whose subject has that name: the child that is appended ("Policy"), the attribute
    /// that is set ("@order"), the element whose text is asked for ("xml Policy"), the text that is parsed,
    /// by its beginning ("load <Policy"), or the element that is created ("new Policy").
    void Refuse(const wchar_t* call);

    /// Whether that call came, and was refused.
    [[nodiscard]] bool HasRefused() const { return _m_refused; }

  private:
    static HRESULT STDMETHODCALLTYPE _AppendChild(IXMLDOMNode* self, IXMLDOMNode* child, IXMLDOMNode** added);
    static HRESULT STDMETHODCALLTYPE _SetAttribute(IXMLDOMElement* self, BSTR name, VARIANT value);
    static HRESULT STDMETHODCALLTYPE _GetXml(IXMLDOMNode* self, BSTR* xml);
    static HRESULT STDMETHODCALLTYPE _LoadXml(IXMLDOMDocument* self, BSTR xml, VARIANT_BOOL* done);
    static HRESULT STDMETHODCALLTYPE _CreateElement(IXMLDOMDocument* self, BSTR name,
                                                    IXMLDOMElement** element);
    [[nodiscard]] bool _Refuses(const std::wstring& call);

    static ParserFaults* s_self;
    CkxXMLDocument _m_parsed; // an element and a document of the classes that the calls are made on
    CkxXMLNode _m_element;
    CComPtr<IXMLDOMDocument> _m_document;
    std::wstring _m_call;
    bool _m_refused = false;
    std::optional<PatchedSlot> _m_appendChild;
    std::optional<PatchedSlot> _m_setAttribute;
    std::optional<PatchedSlot> _m_getXml;
    std::optional<PatchedSlot> _m_loadXml;
    std::optional<PatchedSlot> _m_createElement;
};
