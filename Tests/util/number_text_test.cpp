#include "Common_CPP/util/number_text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

using namespace std::string_literals;

namespace {

template <class Char>
std::basic_string<Char> Widened(std::string_view text)
{
    return std::basic_string<Char>(text.begin(), text.end());
}

} // namespace

template <class Char>
class NumberText : public ::testing::Test {
};

using Chars = ::testing::Types<char, char16_t, wchar_t>;
// The empty third argument is the default for names, without a variadic macro's warning.
// cppcheck-suppress syntaxError
TYPED_TEST_SUITE(NumberText, Chars, );

TYPED_TEST(NumberText, ReadsExactlyOneField)
{
    const std::pair<const char*, std::int32_t> accepted[] = {
        {"12", 12},
        {" \t\n\v\f\r+7", 7},
        {"-0012", -12},
        {"2147483647", 2147483647},
        {"-2147483648", std::numeric_limits<std::int32_t>::min()},
        {"2147483648", std::numeric_limits<std::int32_t>::min()},
        {"4294967296", 0},
        {"99999999999", 1215752191},
        {"-4294967297", -1},
        {"340282366920938463463374607431768211457", 1},
    };
    for (const auto& [text, expected] : accepted) {
        std::int32_t value = -77;
        EXPECT_TRUE(kx::ScanInt32<TypeParam>(Widened<TypeParam>(text), value)) << text;
        EXPECT_EQ(value, expected) << text;
    }
    for (const std::string& text :
         {""s, " "s, "-"s, "- 7"s, "+-7"s, "7 "s, "7\n"s, "12x"s, "x"s, "0x10"s, "1.5"s, "7\0"s}) {
        std::int32_t value = -77;
        EXPECT_FALSE(kx::ScanInt32<TypeParam>(Widened<TypeParam>(text), value)) << text;
        EXPECT_EQ(value, -77) << text;
    }
}

TYPED_TEST(NumberText, TheMarkOfABaseCounts)
{
    const struct {
        const char* text;
        bool accepted;
        std::int64_t expected;
    } rows[] = {
        {"12", true, 12},   {" -0x1F", true, -31}, {"0Xff", true, 255},
        {"010", true, 8},   {"0", true, 0},        {"0x100000001", true, 4294967297},
        {"08", false, 0},   {"0x", false, 0},      {"0xg", false, 0},
        {"0x-1", false, 0}, {"0x1 ", false, 0},    {"1f", false, 0},
        {"-", false, 0},    {"", false, 0},        {"0x0x1", false, 0},
    };

    for (const auto& row : rows) {
        const auto text = Widened<TypeParam>(row.text);
        std::int64_t wide = -77;
        EXPECT_EQ(kx::ScanAnyBaseInt64<TypeParam>(text, wide), row.accepted) << row.text;
        EXPECT_EQ(wide, row.accepted ? row.expected : -77) << row.text;
        std::int32_t narrow = -77;
        EXPECT_EQ(kx::ScanAnyBaseInt32<TypeParam>(text, narrow), row.accepted) << row.text;
        EXPECT_EQ(narrow, row.accepted ? static_cast<std::int32_t>(row.expected) : -77) << row.text;
    }
}

TYPED_TEST(NumberText, WhatIsWrittenIsReadBack)
{
    const auto check = [](auto value, const char* expected, auto scan) {
        const auto text = kx::FormatInt<TypeParam>(value);
        EXPECT_EQ(text.View(), Widened<TypeParam>(expected));
        EXPECT_EQ(text.View(), text.Get()) << "must end in NUL";
        decltype(value) back = 77;
        EXPECT_TRUE(scan(text.View(), back)) << expected;
        EXPECT_EQ(back, value);
    };
    check(std::numeric_limits<std::int32_t>::min(), "-2147483648", kx::ScanInt32<TypeParam>);
    check(std::numeric_limits<std::int32_t>::max(), "2147483647", kx::ScanInt32<TypeParam>);
    check(std::int32_t{0}, "0", kx::ScanInt32<TypeParam>);
    check(std::numeric_limits<std::uint32_t>::max(), "4294967295", kx::ScanUInt32<TypeParam>);
    check(std::numeric_limits<std::int64_t>::min(), "-9223372036854775808", kx::ScanInt64<TypeParam>);
    check(std::numeric_limits<std::int64_t>::max(), "9223372036854775807", kx::ScanInt64<TypeParam>);
    check(std::numeric_limits<std::uint64_t>::max(), "18446744073709551615", kx::ScanUInt64<TypeParam>);
}
