// CStringW, and CString as its usual name: wide text with ATL's names and documented behaviour.
#pragma once

#include "Common_CPP/atl/atl_exception.h"

#include <windows.h>

#include <cstdarg>
#include <cwchar>
#include <string>

namespace ATL {

/// A value of UTF-16 text. The length is counted, so NUL characters may stand inside; comparisons end at
/// the first one, as _wcscmp does. A null pointer counts as empty text. Arguments may point into the string
/// that is changed. Throws CAtlException: E_OUTOFMEMORY without memory or beyond INT_MAX characters,
/// E_INVALIDARG for an index or length outside the text; the string then keeps its value.
class CStringW {
  public:
    using XCHAR = wchar_t;
    using PXSTR = wchar_t*;
    using PCXSTR = const wchar_t*;

    /// Empty.
    CStringW() noexcept = default;

    /// A copy of `source`.
    CStringW(const CStringW& source) : CStringW(source.GetString(), source.GetLength()) {}

    /// Takes the text of `source`, which becomes empty.
    CStringW(CStringW&& source) noexcept : _m_text(std::move(source._m_text)) { source._m_text.clear(); }

    /// A copy of a text that ends in NUL.
    CStringW(PCXSTR text) { SetString(text); }

    /// A copy of exactly `length` characters.
    CStringW(PCXSTR text, int length) { SetString(text, length); }

    /// `repeat` times `character`.
    explicit CStringW(XCHAR character, int repeat = 1);

    ~CStringW() = default;

    CStringW& operator=(const CStringW& source) { return _Assign(source.GetString(), source.GetLength()); }

    CStringW& operator=(CStringW&& source) noexcept
    {
        if (this != &source) {
            _m_text = std::move(source._m_text);
            source._m_text.clear();
        }
        return *this;
    }

    CStringW& operator=(PCXSTR text) { return _Assign(text, _LengthOf(text)); }

    CStringW& operator=(XCHAR character) { return _Assign(&character, 1); }

    /// Becomes a copy of a text that ends in NUL.
    void SetString(PCXSTR text) { _Assign(text, _LengthOf(text)); }

    /// Becomes a copy of exactly `length` characters.
    void SetString(PCXSTR text, int length) { _Assign(text, length); }

    /// The text, ending in NUL; valid until the string changes.
    operator PCXSTR() const noexcept { return _m_text.c_str(); }

    /// The text, ending in NUL; valid until the string changes. To be used in argument lists of Format.
    [[nodiscard]] PCXSTR GetString() const noexcept { return _m_text.c_str(); }

    /// Characters without the final NUL.
    [[nodiscard]] int GetLength() const noexcept { return static_cast<int>(_m_text.size()); }

    [[nodiscard]] bool IsEmpty() const noexcept { return _m_text.empty(); }

    /// Becomes empty and gives its memory back.
    void Empty() noexcept { _m_text = std::wstring(); }

    /// The character at `index`; the final NUL may be read.
    [[nodiscard]] XCHAR GetAt(int index) const;

    XCHAR operator[](int index) const { return GetAt(index); }

    /// Overwrites the character at `index`, which must lie within the text.
    void SetAt(int index, XCHAR character);

    CStringW& operator+=(const CStringW& text) { return _Append(text.GetString(), text.GetLength()); }

    CStringW& operator+=(PCXSTR text) { return _Append(text, _LengthOf(text)); }

    CStringW& operator+=(XCHAR character) { return _Append(&character, 1); }

    /// Adds a copy of the text at the end.
    void Append(PCXSTR text) { _Append(text, _LengthOf(text)); }

    /// Adds exactly `length` characters at the end.
    void Append(PCXSTR text, int length) { _Append(text, length); }

    /// Adds one character at the end.
    void AppendChar(XCHAR character) { _Append(&character, 1); }

    /// Below, equal to or above 0 as _wcscmp: by code unit.
    [[nodiscard]] int Compare(PCXSTR text) const noexcept { return std::wcscmp(GetString(), _OrEmpty(text)); }

    /// As Compare, without regard to the case of ASCII letters.
    [[nodiscard]] int CompareNoCase(PCXSTR text) const noexcept
    {
        return ::_wcsicmp(GetString(), _OrEmpty(text));
    }

    /// Up to `count` characters from the start.
    [[nodiscard]] CStringW Left(int count) const { return Mid(0, count); }

    /// Everything from `first` on.
    [[nodiscard]] CStringW Mid(int first) const { return Mid(first, GetLength()); }

    /// Up to `count` characters from `first` on; values outside the text are brought to its limits.
    [[nodiscard]] CStringW Mid(int first, int count) const;

    /// Up to `count` characters from the end.
    [[nodiscard]] CStringW Right(int count) const;

    /// Index of the first match at or after `start`, or -1.
    [[nodiscard]] int Find(XCHAR character, int start = 0) const noexcept;

    /// Index of the first match at or after `start`, or -1.
    [[nodiscard]] int Find(PCXSTR text, int start = 0) const noexcept;

    /// Index of the last match, or -1.
    [[nodiscard]] int ReverseFind(XCHAR character) const noexcept;

    /// Replaces every match and returns their number.
    int Replace(XCHAR from, XCHAR to) noexcept;

    /// Replaces every match, from left to right, and returns their number; an empty `from` matches nowhere.
    int Replace(PCXSTR from, PCXSTR to);

    /// Without argument these take white space (iswspace) off, else the characters given.
    CStringW& Trim() { return TrimRight().TrimLeft(); }

    CStringW& Trim(XCHAR target) { return TrimRight(target).TrimLeft(target); }

    CStringW& Trim(PCXSTR targets);
    CStringW& TrimLeft();
    CStringW& TrimLeft(XCHAR target);
    CStringW& TrimLeft(PCXSTR targets);
    CStringW& TrimRight();
    CStringW& TrimRight(XCHAR target);
    CStringW& TrimRight(PCXSTR targets);

    /// Changes ASCII letters up to the first NUL.
    CStringW& MakeLower() noexcept;
    CStringW& MakeUpper() noexcept;

    /// Becomes the formatted text. "%s" is wide and "%S" narrow; text arguments may point into this string.
    void Format(PCXSTR format, ...);
    void FormatV(PCXSTR format, va_list arguments);

    /// Adds the formatted text at the end.
    void AppendFormat(PCXSTR format, ...);

    /// The text to write on, of the present length.
    [[nodiscard]] PXSTR GetBuffer() noexcept { return _m_text.data(); }

    /// The text to write on, with room for `minimum` characters and a NUL. ReleaseBuffer must follow before
    /// anything else is asked of the string.
    [[nodiscard]] PXSTR GetBuffer(int minimum);

    /// Makes the text exactly `length` characters long (added ones are NUL) and returns it to write on.
    PXSTR GetBufferSetLength(int length);

    /// Ends writing: the text has `length` characters, or those before the first NUL for -1.
    void ReleaseBuffer(int length = -1);

    /// Makes room for `length` characters; neither text nor length change.
    void Preallocate(int length);

    friend CStringW operator+(const CStringW& left, const CStringW& right)
    {
        return _Join(left, left.GetLength(), right, right.GetLength());
    }

    friend CStringW operator+(const CStringW& left, PCXSTR right)
    {
        return _Join(left, left.GetLength(), right, _LengthOf(right));
    }

    friend CStringW operator+(PCXSTR left, const CStringW& right)
    {
        return _Join(left, _LengthOf(left), right, right.GetLength());
    }

    friend CStringW operator+(const CStringW& left, XCHAR right)
    {
        return _Join(left, left.GetLength(), &right, 1);
    }

    friend CStringW operator+(XCHAR left, const CStringW& right)
    {
        return _Join(&left, 1, right, right.GetLength());
    }

    friend bool operator==(const CStringW& a, const CStringW& b) noexcept { return a.Compare(b) == 0; }

    friend bool operator==(const CStringW& a, PCXSTR b) noexcept { return a.Compare(b) == 0; }

    friend bool operator==(PCXSTR a, const CStringW& b) noexcept { return b.Compare(a) == 0; }

    friend bool operator!=(const CStringW& a, const CStringW& b) noexcept { return a.Compare(b) != 0; }

    friend bool operator!=(const CStringW& a, PCXSTR b) noexcept { return a.Compare(b) != 0; }

    friend bool operator!=(PCXSTR a, const CStringW& b) noexcept { return b.Compare(a) != 0; }

    friend bool operator<(const CStringW& a, const CStringW& b) noexcept { return a.Compare(b) < 0; }

    friend bool operator<(const CStringW& a, PCXSTR b) noexcept { return a.Compare(b) < 0; }

    friend bool operator<(PCXSTR a, const CStringW& b) noexcept { return b.Compare(a) > 0; }

  private:
    static PCXSTR _OrEmpty(PCXSTR text) noexcept { return text != nullptr ? text : L""; }

    static int _LengthOf(PCXSTR text);
    static CStringW _Join(PCXSTR left, int leftLength, PCXSTR right, int rightLength);

    CStringW& _Assign(PCXSTR text, int length);
    CStringW& _Append(PCXSTR text, int length);

    std::wstring _m_text;
};

using CString = CStringW;

} // namespace ATL
