#include "Tools/rsop_store/wmi_scanner.h"

#include "Common_CPP/util/ascii_case.h"

#include <algorithm>
#include <limits>

namespace {

bool IsDigit(wchar_t character) noexcept
{
    return character >= L'0' && character <= L'9';
}

} // namespace

namespace kx {

bool SameName(std::wstring_view a, std::wstring_view b) noexcept
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](wchar_t x, wchar_t y) { return LowerAscii(x) == LowerAscii(y); });
}

bool IsNameCharacter(wchar_t character) noexcept
{
    const wchar_t lower = LowerAscii(character);
    return IsDigit(character) || (lower >= L'a' && lower <= L'z') || character == L'_' || character >= 0x80;
}

void WmiScanner::SkipBlanks() noexcept
{
    const std::size_t next = _m_rest.find_first_not_of(L" \t\r\n");
    _m_rest.remove_prefix((std::min)(next, _m_rest.size()));
}

bool WmiScanner::Take(std::wstring_view piece) noexcept
{
    if (!_m_rest.starts_with(piece))
        return false;
    _m_rest.remove_prefix(piece.size());
    return true;
}

bool WmiScanner::TakeName(std::wstring& name)
{
    std::wstring_view run;
    if (AtEnd() || IsDigit(_m_rest.front()) || !TakeRun(IsNameCharacter, run))
        return false;
    name = run;
    return true;
}

bool WmiScanner::TakeNumber(std::int64_t& number) noexcept
{
    const bool isNegative = _m_rest.starts_with(L'-');
    const std::size_t start = isNegative || _m_rest.starts_with(L'+') ? 1 : 0;
    constexpr auto most = static_cast<std::uint64_t>((std::numeric_limits<std::int64_t>::max)());
    const std::uint64_t limit = isNegative ? most + 1 : most;
    std::uint64_t size = 0;
    std::size_t end = start;
    for (; end < _m_rest.size() && IsDigit(_m_rest[end]); ++end) {
        const auto digit = static_cast<std::uint64_t>(_m_rest[end] - L'0');
        if (size > (limit - digit) / 10)
            return false;
        size = size * 10 + digit;
    }
    if (end == start || (end < _m_rest.size() && IsNameCharacter(_m_rest[end])))
        return false;
    number = static_cast<std::int64_t>(isNegative ? 0 - size : size);
    _m_rest.remove_prefix(end);
    return true;
}

bool WmiScanner::TakeText(std::wstring& text)
{
    if (!_m_rest.starts_with(L'"') && !_m_rest.starts_with(L'\''))
        return false;
    const wchar_t quote = _m_rest.front();
    std::wstring read;
    for (std::size_t i = 1; i < _m_rest.size(); ++i) {
        if (_m_rest[i] == quote) {
            text = std::move(read);
            _m_rest.remove_prefix(i + 1);
            return true;
        }
        if (_m_rest[i] == L'\\' && ++i == _m_rest.size())
            break;
        read += _m_rest[i];
    }
    return false; // no closing quote
}

} // namespace kx
