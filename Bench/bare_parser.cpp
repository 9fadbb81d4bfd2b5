#include "Bench/bare_parser.h"

#include "Common_CPP/util/unique_handle.h"

namespace kx::bare {

namespace {

// Not in every import library.
constexpr GUID kFreeThreadedDOMDocument30 = {
    0xF5078F33, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};

void ReadBytes(const CkxFileHandle& file, CComVariant& bytes)
{
    LARGE_INTEGER size{};
    Must(::GetFileSizeEx(file.Get(), &size) != FALSE);
    bytes.parray = ::SafeArrayCreateVector(VT_UI1, 0, size.LowPart);
    Must(bytes.parray != nullptr);
    bytes.vt = VT_ARRAY | VT_UI1;
    DWORD read = 0;
    Must(::ReadFile(file.Get(), bytes.parray->pvData, size.LowPart, &read, nullptr) && read == size.LowPart);
}

CComPtr<IXMLDOMDocument> Load(IClassFactory* factory, const VARIANT& source)
{
    CComPtr<IXMLDOMDocument> document = NewDocument(factory);
    VARIANT_BOOL parsed = VARIANT_FALSE;
    Must(document->put_async(VARIANT_FALSE));
    Must(document->load(source, &parsed));
    Must(parsed != VARIANT_FALSE);
    return document;
}

} // namespace

void Must(HRESULT hr)
{
    if (hr != S_OK)
        AtlThrow(FAILED(hr) ? hr : E_FAIL);
}

void Must(bool done)
{
    Must(done ? S_OK : E_FAIL);
}

CComPtr<IClassFactory> ParserFactory()
{
    CComPtr<IClassFactory> factory;
    Must(::CoGetClassObject(kFreeThreadedDOMDocument30, CLSCTX_SERVER, nullptr, __uuidof(IClassFactory),
                            reinterpret_cast<void**>(&factory)));
    return factory;
}

CComPtr<IXMLDOMDocument> NewDocument(IClassFactory* factory)
{
    CComPtr<IXMLDOMDocument> document;
    if (factory == nullptr)
        Must(document.CoCreateInstance(kFreeThreadedDOMDocument30));
    else
        Must(
            factory->CreateInstance(nullptr, __uuidof(IXMLDOMDocument), reinterpret_cast<void**>(&document)));
    return document;
}

CComPtr<IXMLDOMDocument> LoadByName(const std::wstring& path)
{
    if (::GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES)
        return {};
    return Load(nullptr, CComVariant(path.c_str()));
}

CComPtr<IXMLDOMDocument> LoadByBytes(IClassFactory* factory, const std::wstring& path)
{
    const CkxFileHandle file(
        ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!file)
        return {};
    CComVariant bytes;
    ReadBytes(file, bytes);
    return Load(factory, bytes);
}

CComPtr<IXMLDOMElement> ElementOf(IXMLDOMNode* node)
{
    CComPtr<IXMLDOMElement> element;
    Must(node->QueryInterface(__uuidof(IXMLDOMElement), reinterpret_cast<void**>(&element)));
    return element;
}

int NumberOf(IXMLDOMElement* element, BSTR attribute)
{
    CComVariant value;
    Must(element->getAttribute(attribute, &value));
    Must(value.vt == VT_BSTR);
    return static_cast<int>(std::wcstol(value.bstrVal, nullptr, 10));
}

void SetNumber(IXMLDOMElement* element, BSTR attribute, int number)
{
    wchar_t text[16];
    (void)::_itow(number, text, 10);
    Must(element->setAttribute(attribute, CComVariant(text)));
}

} // namespace kx::bare
