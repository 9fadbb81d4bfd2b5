#include "Tools/rsop_store/store_value.h"

#include "Common_CPP/util/ascii_case.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace kx {
namespace {

struct TypeRow {
    CimType type;
    const wchar_t* name;
    std::int64_t low; // of whole numbers; low == high for other types
    std::int64_t high;
};

constexpr std::int64_t kLow64 = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kHigh64 = std::numeric_limits<std::int64_t>::max();

constexpr TypeRow kTypes[] = {
    {CimType::SInt8, L"sint8", -128, 127},
    {CimType::UInt8, L"uint8", 0, 255},
    {CimType::SInt16, L"sint16", -32768, 32767},
    {CimType::UInt16, L"uint16", 0, 65535},
    {CimType::SInt32, L"sint32", -2147483648LL, 2147483647},
    {CimType::UInt32, L"uint32", 0, 4294967295},
    {CimType::SInt64, L"sint64", kLow64, kHigh64},
    {CimType::UInt64, L"uint64", kLow64, kHigh64}, // by its bits
    {CimType::Char16, L"char16", 0, 65535},
    {CimType::Real32, L"real32", 0, 0},
    {CimType::Real64, L"real64", 0, 0},
    {CimType::Boolean, L"boolean", 0, 0},
    {CimType::String, L"string", 0, 0},
    {CimType::DateTime, L"datetime", 0, 0},
    {CimType::Reference, L"ref", 0, 0},
};

const TypeRow* FindType(CimType type)
{
    const auto* const row = std::find_if(std::begin(kTypes), std::end(kTypes),
                                         [type](const TypeRow& r) { return r.type == type; });
    return row == std::end(kTypes) ? nullptr : row;
}

bool IsLetter(wchar_t character)
{
    return (LowerAscii(character) >= L'a' && LowerAscii(character) <= L'z') || character >= 0x80;
}

bool IsDigit(wchar_t character)
{
    return character >= L'0' && character <= L'9';
}

/// Digits only, without overflow.
bool ParseMagnitude(std::wstring_view digits, std::uint64_t& value)
{
    std::uint64_t result = 0;
    for (const wchar_t character : digits) {
        if (!IsDigit(character))
            return false;
        const auto digit = static_cast<std::uint64_t>(character - L'0');
        if (result > (std::numeric_limits<std::uint64_t>::max() - digit) / 10)
            return false;
        result = result * 10 + digit;
    }
    value = result;
    return !digits.empty();
}

} // namespace

const wchar_t* CimTypeName(CimType type)
{
    const TypeRow* const row = FindType(type);
    return row == nullptr ? nullptr : row->name;
}

bool IsInteger(CimType type)
{
    const TypeRow* const row = FindType(type);
    return row != nullptr && row->low != row->high;
}

bool IsText(CimType type)
{
    return type == CimType::String || type == CimType::DateTime || type == CimType::Reference;
}

bool CanBeKey(CimType type)
{
    return type != CimType::Real32 && type != CimType::Real64;
}

std::wstring IntegerText(CimType type, std::int64_t value)
{
    return type == CimType::UInt64 ? std::to_wstring(static_cast<std::uint64_t>(value))
                                   : std::to_wstring(value);
}

bool ParseInteger(CimType type, std::wstring_view text, std::int64_t& value)
{
    const bool negative = !text.empty() && text.front() == L'-';
    std::uint64_t magnitude = 0;
    if (!ParseMagnitude(text.substr(negative ? 1 : 0), magnitude))
        return false;
    if (type == CimType::UInt64) {
        if (negative && magnitude != 0)
            return false;
        value = static_cast<std::int64_t>(magnitude);
        return true;
    }
    const auto limit = static_cast<std::uint64_t>(kHigh64) + (negative ? 1 : 0);
    if (magnitude > limit)
        return false;
    const auto result = static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
    if (!InRange(type, result))
        return false;
    value = result;
    return true;
}

bool InRange(CimType type, std::int64_t value)
{
    const TypeRow* const row = FindType(type);
    return row != nullptr && value >= row->low && value <= row->high;
}

bool EqualNames(std::wstring_view one, std::wstring_view other)
{
    return one.size() == other.size() && CompareIgnoringCase(one, other) == 0;
}

int CompareIgnoringCase(std::wstring_view one, std::wstring_view other)
{
    const std::size_t common = std::min(one.size(), other.size());
    for (std::size_t i = 0; i < common; ++i) {
        const wchar_t a = LowerAscii(one[i]);
        const wchar_t b = LowerAscii(other[i]);
        if (a != b)
            return a < b ? -1 : 1;
    }
    if (one.size() == other.size())
        return 0;
    return one.size() < other.size() ? -1 : 1;
}

std::wstring FoldedName(std::wstring_view name)
{
    return LowerAscii(name);
}

bool IsValidName(std::wstring_view name)
{
    return !name.empty() && IsLetter(name.front()) && name.back() != L'_' &&
           std::all_of(name.begin(), name.end(),
                       [](wchar_t c) { return IsLetter(c) || IsDigit(c) || c == L'_'; });
}

} // namespace kx
