#include "Common_CPP/util/kx_time.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::uint64_t c_ticksPerSecond = 10'000'000;
constexpr std::size_t c_fractionDigits = 7;
constexpr WORD c_lastYear = 9999;

bool IsDigit(wchar_t character) noexcept
{
    return character >= L'0' && character <= L'9';
}

/// Takes a text apart from left to right.
class Reader {
  public:
    explicit Reader(std::wstring_view text) noexcept : _m_rest(text) {}

    [[nodiscard]] bool AtEnd() const noexcept { return _m_rest.empty(); }

    bool Take(wchar_t character) noexcept
    {
        if (AtEnd() || _m_rest.front() != character)
            return false;
        _m_rest.remove_prefix(1);
        return true;
    }

    /// Exactly `digits` digits.
    bool TakeNumber(std::size_t digits, WORD& number) noexcept
    {
        if (_m_rest.size() < digits || !std::all_of(_m_rest.begin(), _m_rest.begin() + digits, IsDigit))
            return false;
        number = 0;
        for (; digits > 0; --digits)
            number = static_cast<WORD>(number * 10 + _TakeDigit());
        return true;
    }

    /// At least one digit; the value in ticks.
    bool TakeFraction(std::uint64_t& ticks) noexcept
    {
        if (AtEnd() || !IsDigit(_m_rest.front()))
            return false;
        ticks = 0;
        for (std::size_t i = 0; i < c_fractionDigits; ++i)
            ticks = ticks * 10 + (!AtEnd() && IsDigit(_m_rest.front()) ? _TakeDigit() : 0u);
        while (!AtEnd() && IsDigit(_m_rest.front()))
            (void)_TakeDigit();
        return true;
    }

  private:
    unsigned _TakeDigit() noexcept
    {
        const auto digit = static_cast<unsigned>(_m_rest.front() - L'0');
        _m_rest.remove_prefix(1);
        return digit;
    }

    std::wstring_view _m_rest;
};

/// "2024-02-29T12:34:56"
bool TakeDateAndTime(Reader& reader, SYSTEMTIME& date) noexcept
{
    return reader.TakeNumber(4, date.wYear) && reader.Take(L'-') && reader.TakeNumber(2, date.wMonth) &&
           reader.Take(L'-') && reader.TakeNumber(2, date.wDay) && reader.Take(L'T') &&
           reader.TakeNumber(2, date.wHour) && reader.Take(L':') && reader.TakeNumber(2, date.wMinute) &&
           reader.Take(L':') && reader.TakeNumber(2, date.wSecond);
}

/// "+01:30"
bool TakeOffset(Reader& reader, kx::Ticks& offset) noexcept
{
    const bool east = reader.Take(L'+');
    WORD hours = 0;
    WORD minutes = 0;
    if ((!east && !reader.Take(L'-')) || !reader.TakeNumber(2, hours) || !reader.Take(L':') ||
        !reader.TakeNumber(2, minutes) || hours > 23 || minutes > 59)
        return false;
    const kx::Ticks size = std::chrono::hours(hours) + std::chrono::minutes(minutes);
    offset = east ? size : -size;
    return true;
}

/// The date and time with the ticks that a SYSTEMTIME has no room for.
void FormatDate(const SYSTEMTIME& date, std::uint64_t ticks, CString& text)
{
    text.Format(L"%.4u-%.2u-%.2uT%.2u:%.2u:%.2u.%.7u", date.wYear, date.wMonth, date.wDay, date.wHour,
                date.wMinute, date.wSecond, static_cast<unsigned>(ticks % c_ticksPerSecond));
}

} // namespace

CkxTime CkxTime::Now() noexcept
{
    FILETIME now = {};
    ::GetSystemTimeAsFileTime(&now);
    return CkxTime(now);
}

bool CkxTime::FromUtc(const SYSTEMTIME& utc, CkxTime& time) noexcept
{
    FILETIME found = {};
    SYSTEMTIME again = {}; // some systems take February 30th for a day in March
    if (!::SystemTimeToFileTime(&utc, &found) || !::FileTimeToSystemTime(&found, &again) ||
        again.wDay != utc.wDay)
        return false;
    time = CkxTime(found);
    return true;
}

bool CkxTime::FromLocal(const SYSTEMTIME& local, CkxTime& time) noexcept
{
    SYSTEMTIME utc = {};
    CkxTime checked; // the system may take a date that does not exist
    return FromUtc(local, checked) && ::TzSpecificLocalTimeToSystemTime(nullptr, &local, &utc) &&
           FromUtc(utc, time);
}

bool CkxTime::Parse(std::wstring_view text, CkxTime& time) noexcept
{
    Reader reader(text);
    SYSTEMTIME date = {};
    std::uint64_t fraction = 0;
    if (!TakeDateAndTime(reader, date))
        return false;
    if ((reader.Take(L'.') || reader.Take(L',')) && !reader.TakeFraction(fraction))
        return false;
    const bool local = reader.AtEnd();
    kx::Ticks offset{};
    if (!local && !reader.Take(L'Z') && !TakeOffset(reader, offset))
        return false;
    CkxTime read;
    if (!reader.AtEnd() || !(local ? FromLocal(date, read) : FromUtc(date, read)) || !read.Add(-offset))
        return false;
    time = CkxTime(read._m_ticks + fraction);
    return true;
}

FILETIME CkxTime::ToFileTime() const noexcept
{
    return {static_cast<DWORD>(_m_ticks), static_cast<DWORD>(_m_ticks >> 32)};
}

bool CkxTime::ToUtc(SYSTEMTIME& utc) const noexcept
{
    const FILETIME time = ToFileTime();
    SYSTEMTIME found = {};
    if (!::FileTimeToSystemTime(&time, &found))
        return false;
    utc = found;
    return true;
}

bool CkxTime::ToLocal(SYSTEMTIME& local) const noexcept
{
    SYSTEMTIME utc = {};
    SYSTEMTIME found = {};
    if (!ToUtc(utc) || !::SystemTimeToTzSpecificLocalTime(nullptr, &utc, &found))
        return false;
    local = found;
    return true;
}

bool CkxTime::FormatUtc(CString& text) const
{
    SYSTEMTIME utc = {};
    if (!ToUtc(utc) || utc.wYear > c_lastYear)
        return false;
    FormatDate(utc, _m_ticks, text);
    text += L'Z';
    return true;
}

bool CkxTime::FormatLocal(CString& text) const
{
    SYSTEMTIME utc = {};
    SYSTEMTIME local = {};
    CkxTime atUtc;
    CkxTime atLocal;
    if (!ToUtc(utc) || !ToLocal(local) || local.wYear > c_lastYear || !FromUtc(utc, atUtc) ||
        !FromUtc(local, atLocal))
        return false;
    const auto minutes = std::chrono::duration_cast<std::chrono::minutes>(atLocal - atUtc).count();
    const auto size = static_cast<unsigned>(minutes < 0 ? -minutes : minutes);
    FormatDate(local, _m_ticks, text); // an offset has whole minutes, so the fraction is the same
    text.AppendFormat(L"%c%.2u:%.2u", minutes < 0 ? L'-' : L'+', size / 60, size % 60);
    return true;
}

bool CkxTime::Add(kx::Ticks ticks) noexcept
{
    const auto change = static_cast<std::uint64_t>(ticks.count());
    const std::uint64_t sum = _m_ticks + change;
    if (ticks.count() < 0 ? sum >= _m_ticks : sum < _m_ticks)
        return false;
    _m_ticks = sum;
    return true;
}

kx::Ticks operator-(CkxTime a, CkxTime b) noexcept
{
    constexpr auto most = static_cast<std::uint64_t>((std::numeric_limits<std::int64_t>::max)());
    const bool negative = a < b;
    const std::uint64_t size = negative ? b._m_ticks - a._m_ticks : a._m_ticks - b._m_ticks;
    const auto bounded = static_cast<std::int64_t>((std::min)(size, most));
    return kx::Ticks(negative ? -bounded : bounded);
}
