// The values of texts and attributes that are not strings.
#include "Common_CPP/trace/trace.h"
#include "Common_CPP/util/number_text.h"
#include "Common_CPP/xml/xml_node.h"

#include <cstdint>
#include <string_view>

KXT_CLASS("CkxXMLNode");

namespace {

std::wstring_view View(const CComBSTR& text)
{
    return {text.m_str ? text.m_str : L"", text.Length()};
}

bool ScanBool(std::wstring_view text, bool& value)
{
    if (text != L"true" && text != L"false")
        return false;
    value = text == L"true";
    return true;
}

bool ScanUnsignedLong(std::wstring_view text, unsigned long& value)
{
    std::uint32_t scanned = 0;
    if (!kx::ScanUInt32(text, scanned))
        return false;
    value = scanned;
    return true;
}

// The range is that of an unsigned number, although the type's name is not.
bool NarrowToShort(int wide, SHORT& value, const char* method)
{
    if (static_cast<unsigned>(wide) > 0xFFFF) {
        KXT_SCOPE(method);
        KXT_OUT(KXT_ERROR, "ERROR: Conversion from INT " << wide << " to SHORT causes loss of data");
        return false;
    }
    value = static_cast<SHORT>(static_cast<USHORT>(wide));
    return true;
}

HRESULT ScanGuid(const wchar_t* text, GUID& value)
{
    GUID scanned{};
    const HRESULT hr = ::IIDFromString(text, &scanned);
    if (hr == S_OK)
        value = scanned;
    return hr;
}

// A GUID in braces and upper case.
struct GuidText {
    wchar_t text[64] = {};

    bool Format(const GUID& value, const char* method)
    {
        if (::StringFromGUID2(value, text, static_cast<int>(std::size(text))) != 0)
            return true;
        KXT_SCOPE(method);
        KXT_OUT(KXT_ERROR, "ERROR: StringFromGUID2 failed");
        return false;
    }
};

} // namespace

template <class Parse>
bool CkxXMLNode::_ParseText(const Parse& parse) const
{
    CComBSTR text;
    return _ReadText(text) && parse(View(text));
}

template <class Parse>
bool CkxXMLNode::_ParseAttribute(const wchar_t* name, const Parse& parse) const
{
    CComBSTR text;
    return _ReadAttribute(name, text) && parse(View(text));
}

bool CkxXMLNode::GetText(bool& value) const
{
    return _ParseText([&](std::wstring_view text) { return ScanBool(text, value); });
}

bool CkxXMLNode::GetText(int& value) const
{
    return _ParseText([&](std::wstring_view text) { return kx::ScanAnyBaseInt32(text, value); });
}

bool CkxXMLNode::GetText(unsigned& value) const
{
    return _ParseText([&](std::wstring_view text) { return kx::ScanUInt32(text, value); });
}

bool CkxXMLNode::GetText(unsigned long& value) const
{
    return _ParseText([&](std::wstring_view text) { return ScanUnsignedLong(text, value); });
}

bool CkxXMLNode::GetText(long long& value) const
{
    std::int64_t scanned = 0;
    if (!_ParseText([&](std::wstring_view text) { return kx::ScanAnyBaseInt64(text, scanned); }))
        return false;
    value = scanned;
    return true;
}

bool CkxXMLNode::GetText(unsigned long long& value) const
{
    return _ParseText([&](std::wstring_view text) { return kx::ScanUInt64(text, value); });
}

bool CkxXMLNode::GetText(SHORT& value) const
{
    int wide = 0;
    return _ParseText([&](std::wstring_view text) { return kx::ScanInt32(text, wide); }) &&
           NarrowToShort(wide, value, "GetText");
}

bool CkxXMLNode::GetText(GUID& value) const
{
    CString text;
    if (!GetText(text))
        return false;
    const HRESULT hr = ScanGuid(text, value);
    if (hr == S_OK)
        return true;
    KXT_SCOPE("GetText");
    KXT_OUT(KXT_ERROR, "ERROR: IIDFromString(" << text << ") failed. hr=" << hr);
    return false;
}

bool CkxXMLNode::SetText(const GUID& value) const
{
    GuidText guid;
    return guid.Format(value, "SetText") && SetText(guid.text);
}

bool CkxXMLNode::GetAttribute(const wchar_t* name, bool& value) const
{
    return _ParseAttribute(name, [&](std::wstring_view text) { return ScanBool(text, value); });
}

bool CkxXMLNode::GetAttribute(const wchar_t* name, int& value) const
{
    return _ParseAttribute(name, [&](std::wstring_view text) { return kx::ScanInt32(text, value); });
}

bool CkxXMLNode::GetAttribute(const wchar_t* name, unsigned& value) const
{
    return _ParseAttribute(name, [&](std::wstring_view text) { return kx::ScanUInt32(text, value); });
}

bool CkxXMLNode::GetAttribute(const wchar_t* name, unsigned long& value) const
{
    return _ParseAttribute(name, [&](std::wstring_view text) { return ScanUnsignedLong(text, value); });
}

bool CkxXMLNode::GetAttribute(const wchar_t* name, long long& value) const
{
    return _ParseAttribute(name, [&](std::wstring_view text) { return kx::ScanInt64(text, value); });
}

bool CkxXMLNode::GetAttribute(const wchar_t* name, unsigned long long& value) const
{
    return _ParseAttribute(name, [&](std::wstring_view text) { return kx::ScanUInt64(text, value); });
}

bool CkxXMLNode::GetAttribute(const wchar_t* name, SHORT& value) const
{
    int wide = 0;
    return GetAttribute(name, wide) && NarrowToShort(wide, value, "GetAttribute");
}

bool CkxXMLNode::GetAttribute(const wchar_t* name, GUID& value) const
{
    CString text;
    if (!GetAttribute(name, text))
        return false;
    const HRESULT hr = ScanGuid(text, value);
    if (hr == S_OK)
        return true;
    KXT_SCOPE("GetAttribute");
    KXT_OUT(KXT_ERROR, "ERROR: Attribute '" << name << "'. IIDFromString(" << text << ") failed. hr=" << hr);
    return false;
}

bool CkxXMLNode::SetAttribute(const wchar_t* name, int value) const
{
    return SetAttribute(name, kx::FormatInt<wchar_t>(value).Get());
}

bool CkxXMLNode::SetAttribute(const wchar_t* name, unsigned value) const
{
    return SetAttribute(name, kx::FormatInt<wchar_t>(value).Get());
}

bool CkxXMLNode::SetAttribute(const wchar_t* name, unsigned long value) const
{
    return SetAttribute(name, kx::FormatInt<wchar_t>(value).Get());
}

bool CkxXMLNode::SetAttribute(const wchar_t* name, long long value) const
{
    return SetAttribute(name, kx::FormatInt<wchar_t>(value).Get());
}

bool CkxXMLNode::SetAttribute(const wchar_t* name, unsigned long long value) const
{
    return SetAttribute(name, kx::FormatInt<wchar_t>(value).Get());
}

bool CkxXMLNode::SetAttribute(const wchar_t* name, SHORT value) const
{
    return SetAttribute(name, kx::FormatInt<wchar_t>(static_cast<USHORT>(value)).Get());
}

bool CkxXMLNode::SetAttribute(const wchar_t* name, const GUID& value) const
{
    GuidText guid;
    return guid.Format(value, "SetAttribute") && SetAttribute(name, guid.text);
}
