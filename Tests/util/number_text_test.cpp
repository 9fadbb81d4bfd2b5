// Compares the scanner with the platform's own, whose wide patterns it stands for. What short texts are, and
// what is written, the fuzz target checks.
#include "Common_CPP/util/number_text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <string_view>

// The platform's scanner is __ms_swscanf: the plain name is MinGW's, which treats overflow differently.

namespace {

template <class Int>
struct Pair {
    bool accepted;
    Int value;

    bool operator==(const Pair&) const = default;
};

template <class Int>
Pair<Int> Platform(const std::wstring& text, const wchar_t* format)
{
    Int value = 77;
    wchar_t next = 0;
    const bool accepted = __ms_swscanf(text.c_str(), format, &value, &next) == 1;
    return {accepted, accepted ? value : Int{77}};
}

template <class Int>
Pair<Int> Ours(const std::wstring& text, bool (*scan)(std::wstring_view, Int&) noexcept)
{
    Int value = 77;
    const bool accepted = scan(text, value);
    return {accepted, value};
}

bool Agree(const std::wstring& text)
{
    return Ours<std::int32_t>(text, kx::ScanInt32) == Platform<std::int32_t>(text, L"%d%c") &&
           Ours<std::uint32_t>(text, kx::ScanUInt32) == Platform<std::uint32_t>(text, L"%u%c") &&
           Ours<std::int64_t>(text, kx::ScanInt64) == Platform<std::int64_t>(text, L"%I64d%c") &&
           Ours<std::uint64_t>(text, kx::ScanUInt64) == Platform<std::uint64_t>(text, L"%I64u%c") &&
           Ours<std::int32_t>(text, kx::ScanAnyBaseInt32) == Platform<std::int32_t>(text, L"%i%c") &&
           Ours<std::int64_t>(text, kx::ScanAnyBaseInt64) == Platform<std::int64_t>(text, L"%I64i%c");
}

template <class Char>
Pair<std::int64_t> OfAnyBase(std::basic_string_view<Char> text)
{
    std::int64_t value = 77;
    const bool accepted = kx::ScanAnyBaseInt64(text, value);
    return {accepted, value};
}

std::string Codes(const std::wstring& text)
{
    std::string codes;
    for (const wchar_t character : text)
        codes += std::to_string(static_cast<unsigned>(character)) + ' ';
    return codes;
}

} // namespace

TEST(NumberText, AgreesOnEveryCharacterBeforeAndAfterADigit)
{
    for (unsigned code = 1; code <= 0xFFFF; ++code) {
        const auto character = static_cast<wchar_t>(code);
        EXPECT_TRUE(Agree({character, L'7'})) << code << " before";
        EXPECT_TRUE(Agree({L'7', character})) << code << " after";
    }
}

TEST(NumberText, AgreesOnLongNumbers)
{
    std::mt19937 random(20240229);
    for (int round = 0; round < 20000; ++round) {
        std::wstring text(random() % 3, L' ');
        text += std::wstring_view(L"-+").substr(random() % 3, 1);
        const bool marked = random() % 2 == 0;
        if (marked)
            text += random() % 2 == 0 ? L"0x" : L"0X";
        for (unsigned digits = 1 + random() % 45; digits > 0; --digits)
            text += L"0123456789abcdefABCDEF"[random() % (marked ? 22 : 10)];
        if (random() % 8 == 0)
            text += L" x."[random() % 3];
        ASSERT_TRUE(Agree(text)) << Codes(text);
        const std::string narrow(text.begin(), text.end());
        ASSERT_TRUE(OfAnyBase<char>(narrow) == OfAnyBase<wchar_t>(text)) << narrow;
    }
}
