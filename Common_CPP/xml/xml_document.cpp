#include "Common_CPP/xml/xml_document.h"

#include "Common_CPP/trace/trace.h"
#include "Common_CPP/util/read_file.h"
#include "Common_CPP/util/scope_exit.h"
#include "Common_CPP/util/util.h"
#include "Common_CPP/util/wipe.h"
#include "Common_CPP/xml/xml_in_bstr.h"
#include "Common_CPP/xml/xml_text.h"

#include <exception>
#include <string>
#include <utility>

KXT_CLASS("CkxXMLDocument");

namespace {

// Not in every import library.
constexpr GUID kFreeThreadedDOMDocument30 = {
    0xF5078F33, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};

constexpr long kMostDepth = 256; // deeper ones could exhaust the stack of whoever walks them
constexpr const wchar_t* kNoDocument = L"the XML parser is not available";
constexpr const wchar_t* kHasDoctype = L"a document type declaration is not allowed";
constexpr const wchar_t* kUnknownDoctype = L"the parser does not tell the document type declaration";

// Running out of memory is never just a failed operation.
bool ReportFailed(const char* method, const char* call, HRESULT hr)
{
    KXT_SCOPE(method);
    KXT_OUT(KXT_ERROR, "ERROR: " << call << " failed. hr=" << hr);
    if (hr == E_OUTOFMEMORY)
        AtlThrow(hr);
    return false;
}

void WipeBytes(const VARIANT& bytes) noexcept
{
    if (bytes.vt == (VT_ARRAY | VT_UI1) && bytes.parray)
        kx::Wipe(bytes.parray->pvData, bytes.parray->rgsabound[0].cElements);
}

// True when the document holds its document element and nothing beside it.
bool IsOnlyChild(IXMLDOMNode* node)
{
    CComPtr<IXMLDOMNode> beside;
    if (node->get_previousSibling(&beside) == S_OK && beside)
        return false;
    beside.Release();
    return node->get_nextSibling(&beside) != S_OK || !beside;
}

} // namespace

CkxXMLDocumentFactory::CkxXMLDocumentFactory()
{
    const HRESULT hr = ::CoGetClassObject(kFreeThreadedDOMDocument30, CLSCTX_SERVER, nullptr,
                                          __uuidof(IClassFactory), reinterpret_cast<void**>(&_m_factory));
    if (FAILED(hr))
        (void)ReportFailed("CkxXMLDocumentFactory", "CoGetClassObject(FreeThreadedDOMDocument30)", hr);
}

CkxXMLDocument::CkxXMLDocument()
{
    _Attach(::CoCreateInstance(kFreeThreadedDOMDocument30, nullptr, CLSCTX_SERVER, __uuidof(IXMLDOMDocument),
                               reinterpret_cast<void**>(&_m_document)));
}

CkxXMLDocument::CkxXMLDocument(const CkxXMLDocumentFactory& factory)
{
    _Attach(factory.Get() ? factory.Get()->CreateInstance(nullptr, __uuidof(IXMLDOMDocument),
                                                          reinterpret_cast<void**>(&_m_document))
                          : CO_E_NOTINITIALIZED);
}

void CkxXMLDocument::_Attach(HRESULT created)
{
    if (FAILED(created) || !_m_document) {
        _m_document.Release();
        (void)ReportFailed("CkxXMLDocument", "CoCreateInstance(FreeThreadedDOMDocument30)", created);
        return;
    }
    const HRESULT hr = _m_document.QueryInterface(&_m_node);
    if (FAILED(hr)) {
        _m_document.Release();
        (void)ReportFailed("CkxXMLDocument", "QueryInterface(IXMLDOMNode)", hr);
        return;
    }
    // Otherwise a load would be done before the text is read.
    if (const HRESULT synchronous = _m_document->put_async(VARIANT_FALSE); FAILED(synchronous)) {
        _m_node.Release();
        _m_document.Release();
        (void)ReportFailed("CkxXMLDocument", "put_async", synchronous);
        return;
    }
    _Harden();
}

// Settings that a parser does not know are made up for after parsing, in _Accept.
void CkxXMLDocument::_Harden() const
{
    (void)_m_document->put_validateOnParse(VARIANT_FALSE);
    (void)_m_document->put_resolveExternals(VARIANT_FALSE);
    CComPtr<IXMLDOMDocument2> document2;
    if (FAILED(_m_document.QueryInterface(&document2)))
        return;
    (void)document2->setProperty(CkxInBSTR(L"ProhibitDTD").Get(), CComVariant(true));
    (void)document2->setProperty(CkxInBSTR(L"MaxElementDepth").Get(), CComVariant(kMostDepth));
}

bool CkxXMLDocument::_Accept(HRESULT hr, VARIANT_BOOL parsed)
{
    if (hr != S_OK || parsed == VARIANT_FALSE) {
        _m_loadError = CkxXMLParseError::Of(_m_document);
        _Clear();
        return hr != E_OUTOFMEMORY ? false : ReportFailed("Load", "load", hr);
    }
    CComPtr<IXMLDOMDocumentType> doctype;
    const HRESULT asked = _m_document->get_doctype(&doctype);
    if (SUCCEEDED(asked) && !doctype)
        return true;
    if (asked == E_OUTOFMEMORY) {
        (void)_Refuse(kUnknownDoctype);
        return ReportFailed("Load", "get_doctype", asked);
    }
    doctype.Release();
    return _Refuse(SUCCEEDED(asked) ? kHasDoctype : kUnknownDoctype);
}

bool CkxXMLDocument::_Refuse(const wchar_t* reason)
{
    _m_loadError.reason = reason;
    _Clear();
    return false;
}

// The parser drops its content when it cannot read the new one.
void CkxXMLDocument::_Clear() const
{
    VARIANT_BOOL parsed = VARIANT_FALSE;
    if (_m_document)
        (void)_m_document->loadXML(CkxInBSTR(L"").Get(), &parsed);
}

bool CkxXMLDocument::Load(const CString& text)
{
    _m_loadError = {};
    if (!_m_document)
        return _Refuse(kNoDocument);
    VARIANT_BOOL parsed = VARIANT_FALSE;
    const HRESULT hr = _m_document->loadXML(CComBSTR(text.GetLength(), text), &parsed);
    return _Accept(hr, parsed);
}

bool CkxXMLDocument::LoadFromFile(const CString& path, DWORD* readError, FILETIME* written)
{
    _m_loadError = {};
    if (readError)
        *readError = ERROR_SUCCESS;
    if (!_m_document)
        return _Refuse(kNoDocument);
    // The parser gets the bytes, not the path: it would open the file from a thread of its own, without
    // the caller's identity, and misreads paths that look like escaped ones.
    CComVariant bytes;
    const kx::ScopeExit wipe([&]() noexcept {
        if (_m_holdsSecret)
            WipeBytes(bytes);
    });
    if (const DWORD error = ReadFileToVariant(path, bytes, written); error != ERROR_SUCCESS) {
        if (readError)
            *readError = error;
        CString reason;
        reason.Format(L"the file cannot be read, error %lu", error);
        return _Refuse(reason);
    }
    VARIANT_BOOL parsed = VARIANT_FALSE;
    const HRESULT hr = _m_document->load(bytes, &parsed);
    return _Accept(hr, parsed);
}

bool CkxXMLDocument::SaveToFile(const CString& path) const
{
    if (!_m_document)
        return ReportFailed("SaveToFile", "save", E_POINTER);
    const HRESULT hr = _m_document->save(CComVariant(path.GetString()));
    return hr == S_OK || ReportFailed("SaveToFile", "save", hr);
}

bool CkxXMLDocument::SaveToString(CString& xml) const
{
    CComBSTR text;
    if (!SaveToString(text))
        return false;
    xml.SetString(text, static_cast<int>(text.Length()));
    return true;
}

bool CkxXMLDocument::SaveToString(CComBSTR& xml) const
{
    if (!_m_document)
        return ReportFailed("SaveToString", "get_xml", E_POINTER);
    // The text of the document node costs the square of its size on some platforms; that of the element
    // does not, and says the same where nothing stands beside it.
    CComPtr<IXMLDOMElement> root;
    const bool rootIsAll = _m_document->get_documentElement(&root) == S_OK && root && IsOnlyChild(root);
    CComBSTR text;
    const HRESULT hr = rootIsAll ? root->get_xml(&text) : _m_document->get_xml(&text);
    if (hr != S_OK)
        return ReportFailed("SaveToString", "get_xml", hr);
    _EscapeNamespaces(text);
    xml = std::move(text);
    return true;
}

bool CkxXMLDocument::CreateElement(const wchar_t* name, CkxXMLNode& element) const
{
    if (!_m_document)
        return ReportFailed("CreateElement", "createElement", E_POINTER);
    CComPtr<IXMLDOMElement> created;
    const HRESULT hr = _m_document->createElement(CkxInBSTR(name).Get(), &created);
    if (hr != S_OK)
        return ReportFailed("CreateElement", "createElement", hr);
    element = CkxXMLNode(created);
    return true;
}

bool CkxXMLDocument::SetRootElement(const CkxXMLNode& node) const
{
    CComPtr<IXMLDOMElement> element;
    HRESULT hr = E_POINTER;
    if (_m_document && !node.IsNull())
        hr = node.Get()->QueryInterface(__uuidof(IXMLDOMElement), reinterpret_cast<void**>(&element));
    if (FAILED(hr)) {
        KXT_SCOPE("SetRootElement");
        KXT_OUT(KXT_ERROR, "ERROR: Cannot get IXMLDOMElement");
        if (hr == E_OUTOFMEMORY)
            AtlThrow(hr);
        return false;
    }
    hr = _m_document->putref_documentElement(element);
    return hr == S_OK || ReportFailed("SetRootElement", "putref_documentElement", hr);
}

bool CkxXMLDocument::GetRootElement(CkxXMLNode& root) const
{
    if (!_m_document)
        return ReportFailed("GetRootElement", "get_documentElement", E_POINTER);
    CComPtr<IXMLDOMElement> element;
    const HRESULT hr = _m_document->get_documentElement(&element);
    if (hr != S_OK || !element)
        return ReportFailed("GetRootElement", "get_documentElement", hr);
    root = CkxXMLNode(element);
    return true;
}

bool CkxXMLDocument::IsEmpty() const
{
    CComPtr<IXMLDOMElement> element;
    return !_m_document || _m_document->get_documentElement(&element) != S_OK || !element;
}

void CkxXMLDocument::ReplaceInvalidCharacters(CString& text, wchar_t replacement)
{
    kx::ReplaceInvalidCharacters(text.GetBuffer(), static_cast<std::size_t>(text.GetLength()), replacement);
}

int CkxXMLDocument::ObfuscateTagText(CString& xml, const wchar_t* tag)
{
    kx::ObfuscatedTags done;
    try {
        std::wstring masked;
        done = kx::ObfuscateTagText(kx::View(xml), std::wstring_view(tag ? tag : L""), masked);
        if (done.count > 0) {
            if (masked.size() > INT_MAX)
                AtlThrow(E_OUTOFMEMORY);
            xml.SetString(masked.c_str(), static_cast<int>(masked.size()));
        }
    } catch (const std::exception&) {
        AtlThrow(E_OUTOFMEMORY);
    }
    if (done.unclosed) {
        KXT_SCOPE("ObfuscateTagText");
        KXT_OUT(KXT_ERROR, "Incorrect XML when replacing tag " << tag);
    }
    return done.count;
}
