#include "Common_CPP/util/kx_guid.h"

#include <gtest/gtest.h>

namespace {

constexpr GUID c_sample = {0x5B3E7C21, 0x9D4A, 0x4E86, {0xA1, 0xF2, 0x7C, 0x09, 0xD3, 0xB6, 0xE5, 0x4A}};
constexpr const wchar_t* c_text = L"{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}";

CkxGUID Parsed(const wchar_t* text)
{
    CkxGUID guid;
    EXPECT_TRUE(CkxGUID::Parse(text, guid)) << text;
    return guid;
}

} // namespace

TEST(Guid, FormatsAndReadsAsTheSystem)
{
    wchar_t system[39];
    ASSERT_EQ(::StringFromGUID2(c_sample, system, 39), 39);
    EXPECT_STREQ(CkxGUID(c_sample).Format(), system);
    EXPECT_STREQ(CkxGUID(c_sample).FormatBare(), L"5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A");
    for (const wchar_t* text : {c_text, L"5b3e7c21-9d4A-4e86-a1f2-7c09d3b6e54a"})
        EXPECT_TRUE(::IsEqualGUID(Parsed(text).Get(), c_sample)) << text;
}

TEST(Guid, RefusesWhatIsNotExactlyOne)
{
    const CkxGUID kept(c_sample);
    for (const wchar_t* const text :
         {L"", L"{}", L"{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A", L"5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}",
          L"5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54", L" 5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A",
          L"5B3E7C21-9D4A-4E86-A1F27-C09D3B6E54A", L"5B3E7C2G-9D4A-4E86-A1F2-7C09D3B6E54A",
          L"5B3E7C21+9D4A-4E86-A1F2-7C09D3B6E54A", L"(5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A)",
          L"{{B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}", L"\uFF15B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A"}) {
        CkxGUID guid = kept;
        EXPECT_FALSE(CkxGUID::Parse(text, guid)) << text;
        EXPECT_EQ(guid, kept);
    }
}

TEST(Guid, OrderIsTheOneOfTheTexts)
{
    const wchar_t* const ascending[] = {
        L"00000000-0000-0000-0000-000000000000", L"00000001-0000-0000-0000-000000000000",
        L"00000100-0000-0000-0000-000000000000", L"00000100-0000-0000-0000-000000000001",
        L"00000100-0000-0000-0100-000000000000", L"00000100-0000-0001-0000-000000000000",
        L"00000100-0100-0000-0000-000000000000", L"80000000-0000-0000-0000-000000000000",
    };
    for (std::size_t i = 1; i < std::size(ascending); ++i)
        EXPECT_LT(Parsed(ascending[i - 1]), Parsed(ascending[i])) << i;
    EXPECT_TRUE(Parsed(ascending[0]).IsNull());
}
