#include "Common_CPP/atl/atl_string.h"

#include <algorithm>
#include <climits>
#include <cwctype>
#include <new>
#include <stdexcept>

namespace ATL {
namespace {

/// Runs a step that may allocate, and turns the library's exceptions into the documented one.
template <class Step>
decltype(auto) Allocating(Step&& step)
{
    try {
        return step();
    } catch (const std::bad_alloc&) {
        AtlThrow(E_OUTOFMEMORY);
    } catch (const std::length_error&) {
        AtlThrow(E_OUTOFMEMORY);
    }
}

/// An int length as a size; negative ones are refused.
std::size_t Size(int length)
{
    if (length < 0)
        AtlThrow(E_INVALIDARG);
    return static_cast<std::size_t>(length);
}

/// The sum of two lengths, which must still be an int.
std::size_t SumOfSizes(int left, int right)
{
    const std::size_t sum = Size(left) + Size(right);
    if (sum > INT_MAX)
        AtlThrow(E_OUTOFMEMORY);
    return sum;
}

bool IsSpace(wchar_t character) noexcept
{
    return std::iswspace(character) != 0;
}

int AsIndex(std::size_t position) noexcept
{
    return position == std::wstring::npos ? -1 : static_cast<int>(position);
}

/// The formatted text, by the platform's wide formatting: the language library's would read "%s" as narrow.
std::wstring Formatted(const wchar_t* format, va_list arguments)
{
    if (format == nullptr)
        AtlThrow(E_INVALIDARG);
    va_list again;
    va_copy(again, arguments);
    const int length = ::_vscwprintf(format, again);
    va_end(again);
    if (length < 0)
        AtlThrow(E_INVALIDARG);

    std::wstring text = Allocating([&] { return std::wstring(Size(length), L'\0'); });
    // Exactly the counted characters: the terminator is the string's own.
    if (length > 0 && ::_vsnwprintf(text.data(), text.size(), format, arguments) != length)
        AtlThrow(E_INVALIDARG);
    return text;
}

} // namespace

CStringW::CStringW(XCHAR character, int repeat)
{
    Allocating([&] { _m_text.assign(Size(repeat), character); });
}

CStringW::XCHAR CStringW::GetAt(int index) const
{
    if (Size(index) > _m_text.size())
        AtlThrow(E_INVALIDARG);
    return _m_text.c_str()[index];
}

void CStringW::SetAt(int index, XCHAR character)
{
    if (Size(index) >= _m_text.size())
        AtlThrow(E_INVALIDARG);
    _m_text[Size(index)] = character;
}

CStringW CStringW::Mid(int first, int count) const
{
    const int start = std::clamp(first, 0, GetLength());
    return CStringW(GetString() + start, std::clamp(count, 0, GetLength() - start));
}

CStringW CStringW::Right(int count) const
{
    const int taken = std::clamp(count, 0, GetLength());
    return CStringW(GetString() + (GetLength() - taken), taken);
}

int CStringW::Find(XCHAR character, int start) const noexcept
{
    return start < 0 ? -1 : AsIndex(_m_text.find(character, static_cast<std::size_t>(start)));
}

int CStringW::Find(PCXSTR text, int start) const noexcept
{
    if (start < 0 || text == nullptr)
        return -1;
    return AsIndex(_m_text.find(text, static_cast<std::size_t>(start)));
}

int CStringW::ReverseFind(XCHAR character) const noexcept
{
    return AsIndex(_m_text.rfind(character));
}

int CStringW::Replace(XCHAR from, XCHAR to) noexcept
{
    int count = 0;
    for (wchar_t& character : _m_text) {
        if (character == from) {
            character = to;
            ++count;
        }
    }
    return count;
}

int CStringW::Replace(PCXSTR from, PCXSTR to)
{
    const std::size_t fromLength = Size(_LengthOf(from));
    const int toLength = _LengthOf(to);
    std::size_t match = fromLength == 0 ? std::wstring::npos : _m_text.find(from, 0, fromLength);
    if (match == std::wstring::npos)
        return 0;

    // Built aside in one pass, so that the cost is linear and both arguments may be parts of this text.
    CStringW result;
    int count = 0;
    std::size_t done = 0;
    for (; match != std::wstring::npos; match = _m_text.find(from, done, fromLength)) {
        result._Append(GetString() + done, static_cast<int>(match - done));
        result._Append(to, toLength);
        done = match + fromLength;
        ++count;
    }
    result._Append(GetString() + done, static_cast<int>(_m_text.size() - done));
    *this = std::move(result);
    return count;
}

CStringW& CStringW::Trim(PCXSTR targets)
{
    const CStringW kept = targets; // the second half would read it changed if it were part of this text
    return TrimRight(kept).TrimLeft(kept);
}

CStringW& CStringW::TrimLeft()
{
    _m_text.erase(_m_text.begin(), std::find_if_not(_m_text.begin(), _m_text.end(), IsSpace));
    return *this;
}

CStringW& CStringW::TrimLeft(XCHAR target)
{
    _m_text.erase(0, _m_text.find_first_not_of(target));
    return *this;
}

CStringW& CStringW::TrimLeft(PCXSTR targets)
{
    _m_text.erase(0, _m_text.find_first_not_of(_OrEmpty(targets)));
    return *this;
}

CStringW& CStringW::TrimRight()
{
    _m_text.erase(std::find_if_not(_m_text.rbegin(), _m_text.rend(), IsSpace).base(), _m_text.end());
    return *this;
}

CStringW& CStringW::TrimRight(XCHAR target)
{
    _m_text.erase(_m_text.find_last_not_of(target) + 1); // npos + 1 is 0: all of it
    return *this;
}

CStringW& CStringW::TrimRight(PCXSTR targets)
{
    _m_text.erase(_m_text.find_last_not_of(_OrEmpty(targets)) + 1);
    return *this;
}

CStringW& CStringW::MakeLower() noexcept
{
    ::_wcslwr(_m_text.data());
    return *this;
}

CStringW& CStringW::MakeUpper() noexcept
{
    ::_wcsupr(_m_text.data());
    return *this;
}

void CStringW::Format(PCXSTR format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    FormatV(format, arguments);
    va_end(arguments);
}

void CStringW::FormatV(PCXSTR format, va_list arguments)
{
    _m_text = Formatted(format, arguments);
}

void CStringW::AppendFormat(PCXSTR format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const std::wstring text = Formatted(format, arguments);
    va_end(arguments);
    _Append(text.c_str(), static_cast<int>(text.size()));
}

CStringW::PXSTR CStringW::GetBuffer(int minimum)
{
    return GetBufferSetLength(std::max(minimum, GetLength()));
}

CStringW::PXSTR CStringW::GetBufferSetLength(int length)
{
    Allocating([&] { _m_text.resize(Size(length)); });
    return _m_text.data();
}

void CStringW::ReleaseBuffer(int length)
{
    const std::size_t size = length == -1 ? std::wcslen(_m_text.c_str()) : Size(length);
    if (size > _m_text.size())
        AtlThrow(E_INVALIDARG);
    _m_text.resize(size);
}

void CStringW::Preallocate(int length)
{
    Allocating([&] { _m_text.reserve(Size(length)); });
}

int CStringW::_LengthOf(PCXSTR text)
{
    const std::size_t length = std::wcslen(_OrEmpty(text));
    if (length > INT_MAX)
        AtlThrow(E_OUTOFMEMORY);
    return static_cast<int>(length);
}

CStringW CStringW::_Join(PCXSTR left, int leftLength, PCXSTR right, int rightLength)
{
    CStringW result;
    result.Preallocate(static_cast<int>(SumOfSizes(leftLength, rightLength)));
    result._Append(left, leftLength);
    result._Append(right, rightLength);
    return result;
}

CStringW& CStringW::_Assign(PCXSTR text, int length)
{
    if (text == nullptr && length > 0)
        AtlThrow(E_INVALIDARG);
    Allocating([&] { _m_text.assign(_OrEmpty(text), Size(length)); });
    return *this;
}

CStringW& CStringW::_Append(PCXSTR text, int length)
{
    if (text == nullptr && length > 0)
        AtlThrow(E_INVALIDARG);
    SumOfSizes(GetLength(), length);
    Allocating([&] { _m_text.append(_OrEmpty(text), Size(length)); });
    return *this;
}

} // namespace ATL
