#include "Common_CPP/util/kx_guid.h"

#include <algorithm>
#include <iterator>

namespace {

/// The groups of digits as the text has them, eight bytes after the hyphens included.
constexpr std::wstring_view c_form = L"XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX";

constexpr std::size_t c_byteCount = 16;

/// The value of a hexadecimal digit, or -1.
int DigitValue(wchar_t character) noexcept
{
    if (character >= L'0' && character <= L'9')
        return character - L'0';
    if (character >= L'A' && character <= L'F')
        return character - L'A' + 10;
    if (character >= L'a' && character <= L'f')
        return character - L'a' + 10;
    return -1;
}

/// The bytes in the order of the text become the fields.
GUID FromTextOrder(const BYTE (&bytes)[c_byteCount]) noexcept
{
    GUID guid = {};
    guid.Data1 = static_cast<unsigned long>(bytes[0]) << 24 | static_cast<unsigned long>(bytes[1]) << 16 |
                 static_cast<unsigned long>(bytes[2]) << 8 | bytes[3];
    guid.Data2 = static_cast<unsigned short>(bytes[4] << 8 | bytes[5]);
    guid.Data3 = static_cast<unsigned short>(bytes[6] << 8 | bytes[7]);
    std::copy_n(bytes + 8, std::size(guid.Data4), guid.Data4);
    return guid;
}

} // namespace

HRESULT CkxGUID::Create(CkxGUID& guid) noexcept
{
    GUID made = {};
    const HRESULT hr = ::CoCreateGuid(&made);
    if (SUCCEEDED(hr))
        guid = made;
    return hr;
}

bool CkxGUID::Parse(std::wstring_view text, CkxGUID& guid) noexcept
{
    if (text.size() == c_form.size() + 2 && text.front() == L'{' && text.back() == L'}')
        text = text.substr(1, c_form.size());
    if (text.size() != c_form.size())
        return false;
    BYTE bytes[c_byteCount] = {};
    std::size_t digits = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (c_form[i] == L'-') {
            if (text[i] != L'-')
                return false;
            continue;
        }
        const int value = DigitValue(text[i]);
        if (value < 0)
            return false;
        BYTE& pair = bytes[digits++ / 2];
        pair = static_cast<BYTE>(pair << 4 | value);
    }
    guid = FromTextOrder(bytes);
    return true;
}

CString CkxGUID::Format() const
{
    return L"{" + FormatBare() + L"}";
}

CString CkxGUID::FormatBare() const
{
    CString text;
    text.Format(L"%.8lX-%.4X-%.4X-%.2X%.2X-%.2X%.2X%.2X%.2X%.2X%.2X", _m_guid.Data1, _m_guid.Data2,
                _m_guid.Data3, _m_guid.Data4[0], _m_guid.Data4[1], _m_guid.Data4[2], _m_guid.Data4[3],
                _m_guid.Data4[4], _m_guid.Data4[5], _m_guid.Data4[6], _m_guid.Data4[7]);
    return text;
}

std::strong_ordering operator<=>(const CkxGUID& a, const CkxGUID& b) noexcept
{
    const GUID& left = a._m_guid;
    const GUID& right = b._m_guid;
    if (const auto order = left.Data1 <=> right.Data1; std::is_neq(order))
        return order;
    if (const auto order = left.Data2 <=> right.Data2; std::is_neq(order))
        return order;
    if (const auto order = left.Data3 <=> right.Data3; std::is_neq(order))
        return order;
    return std::lexicographical_compare_three_way(std::begin(left.Data4), std::end(left.Data4),
                                                  std::begin(right.Data4), std::end(right.Data4));
}
