#include "Common_CPP/util/utf8.h"

#include <windows.h>

#include <climits>
#include <exception>
#include <utility>

namespace kx {
namespace {

bool Decode(UINT codePage, DWORD flags, std::string_view bytes, CString& text)
{
    const int size = static_cast<int>(bytes.size());
    const int length = ::MultiByteToWideChar(codePage, flags, bytes.data(), size, nullptr, 0);
    if (length <= 0)
        return false;
    CString decoded;
    wchar_t* const buffer = decoded.GetBufferSetLength(length);
    if (::MultiByteToWideChar(codePage, flags, bytes.data(), size, buffer, length) != length)
        return false;
    text = std::move(decoded);
    return true;
}

} // namespace

bool WideToUtf8(std::wstring_view text, std::string& utf8) noexcept
{
    if (text.size() > INT_MAX)
        return false;
    const int length = static_cast<int>(text.size());
    std::string encoded;
    if (length > 0) { // the system refuses a length of zero
        const int size = ::WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), length, nullptr, 0,
                                               nullptr, nullptr);
        if (size <= 0)
            return false;
        try {
            encoded.resize(static_cast<std::size_t>(size));
        } catch (const std::exception&) {
            return false;
        }
        if (::WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), length, encoded.data(), size,
                                  nullptr, nullptr) != size)
            return false;
    }
    utf8 = std::move(encoded);
    return true;
}

bool Utf8ToWide(std::string_view bytes, CString& text) noexcept
{
    if (bytes.size() > INT_MAX)
        return false;
    if (bytes.empty()) { // the system refuses a length of zero
        text.Empty();
        return true;
    }
    try {
        return Decode(CP_UTF8, MB_ERR_INVALID_CHARS, bytes, text) || Decode(CP_ACP, 0, bytes, text);
    } catch (const CAtlException&) {
        return false;
    }
}

} // namespace kx
