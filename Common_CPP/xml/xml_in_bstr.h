// Text lent to a COM call.
#pragma once

#include "Common_CPP/atl/kx_atl.h"

#include <cstddef>

/// A BSTR for an [in] parameter, which the callee only reads: short text stands in the object itself, so
/// that a call in a long loop allocates nothing. Never to be handed over to anybody who frees it. Throws
/// CAtlException(E_OUTOFMEMORY) where longer text cannot be allocated.
class CkxInBSTR {
  public:
    /// A copy of a text that ends in NUL; null counts as empty.
    explicit CkxInBSTR(const wchar_t* text)
    {
        std::size_t length = 0;
        if (text) // measured and copied in one go: names are short
            for (; length < c_room - 1 && text[length] != L'\0'; ++length)
                _m_short.text[length] = text[length];
        _m_short.text[length] = L'\0';
        _m_short.bytes = static_cast<UINT>(length * sizeof(wchar_t));
        if (text && text[length] != L'\0')
            _m_long = CComBSTR(text);
    }

    CkxInBSTR(const CkxInBSTR&) = delete;
    CkxInBSTR& operator=(const CkxInBSTR&) = delete;

    /// The string, valid as long as this object; its characters may be overwritten.
    [[nodiscard]] BSTR Get() { return _m_long ? _m_long.m_str : _m_short.text; }

    [[nodiscard]] std::size_t Length() const
    {
        return _m_long ? _m_long.Length() : _m_short.bytes / sizeof(wchar_t);
    }

    /// A VT_BSTR variant that lends the string: not to be cleared.
    [[nodiscard]] VARIANT Lend()
    {
        VARIANT lent;
        ::VariantInit(&lent);
        lent.vt = VT_BSTR;
        lent.bstrVal = Get();
        return lent;
    }

  private:
    static constexpr std::size_t c_room = 120;

    // As the system lays one out: the length in bytes directly before an aligned text.
    struct alignas(16) Short {
        UINT unused[3];
        UINT bytes;
        wchar_t text[c_room];
    };

    static_assert(offsetof(Short, text) == 16 && offsetof(Short, bytes) == 12);

    Short _m_short;
    CComBSTR _m_long;
};
