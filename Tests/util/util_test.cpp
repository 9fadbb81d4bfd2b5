#include "Common_CPP/util/util.h"

#include "Common_CPP/util/scope_exit.h"
#include "Common_CPP/util/utf8.h"
#include "Common_CPP/util/wipe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

using namespace std::string_literals;

TEST(UtilTest, FindsTheModule)
{
    CString file;
    CString folder;
    ASSERT_TRUE(CkxUtil::GetModuleFile(file, nullptr));
    ASSERT_TRUE(CkxUtil::GetModuleDir(folder, nullptr));
    EXPECT_TRUE(CkxUtil::FileExists(file) && CkxUtil::FileExists(folder));
    EXPECT_FALSE(CkxUtil::FileExists(file + L"x") || CkxUtil::FileExists(folder + L"\\none\\x") ||
                 CkxUtil::FileExists(L""));
    const int length = folder.GetLength();
    EXPECT_EQ(file.Left(length), folder);
    EXPECT_TRUE(file[length] == L'\\' && file.ReverseFind(L'\\') == length);

    const auto notLoaded = reinterpret_cast<HMODULE>(std::uintptr_t{0x10});
    CString untouched = L"untouched";
    EXPECT_FALSE(CkxUtil::GetModuleFile(untouched, notLoaded));
    EXPECT_FALSE(CkxUtil::GetModuleDir(untouched, notLoaded));
    EXPECT_STREQ(untouched, L"untouched");
}

TEST(UtilTest, ReadsTheEnvironment)
{
    for (const int length : {0, MAX_PATH - 1, MAX_PATH, 32766}) { // around the first room, the longest
        const std::wstring expected(static_cast<std::size_t>(length), L'v');
        ASSERT_TRUE(::SetEnvironmentVariableW(L"KX_UTIL_TEST", expected.c_str())) << length;
        CString value = L"before";
        ::SetLastError(0x12345678);
        const bool found = CkxUtil::GetEnvironment(L"KX_UTIL_TEST", value);
        const DWORD error = ::GetLastError();
        EXPECT_TRUE(found) << length;
        EXPECT_TRUE(kx::View(value) == expected) << length << ' ' << value.GetLength();
        EXPECT_EQ(error, 0x12345678u) << length;
    }
    ::SetEnvironmentVariableW(L"KX_UTIL_TEST", nullptr);
    CString untouched = L"untouched";
    EXPECT_FALSE(CkxUtil::GetEnvironment(L"KX_UTIL_TEST", untouched));
    EXPECT_STREQ(untouched, L"untouched");
}

TEST(Utf8Test, ConvertsBothWays)
{
    std::string large;
    for (int i = 0; i < 100000; ++i)
        large += "\xE4\xB8\xAD";

    const struct {
        const char* name;
        std::wstring wide;
        std::string utf8;
    } rows[] = {
        {"empty", L"", ""},
        {"two, three and four bytes", L"a\u00e4\u4e2d\xD83D\xDE00", "a\xC3\xA4\xE4\xB8\xAD\xF0\x9F\x98\x80"},
        {"inner NUL", L"a\0b"s, "a\0b"s},
        {"large", std::wstring(100000, L'\u4e2d'), large},
    };

    for (const auto& row : rows) {
        std::string utf8 = "before";
        EXPECT_TRUE(kx::WideToUtf8(row.wide, utf8)) << row.name;
        EXPECT_TRUE(utf8 == row.utf8) << row.name;
        CString wide = L"before";
        EXPECT_TRUE(kx::Utf8ToWide(row.utf8, wide)) << row.name;
        EXPECT_TRUE(kx::View(wide) == row.wide) << row.name;
    }
}

TEST(Utf8Test, IllFormedTextIsReportedOrReadAsAnsi)
{
    for (const wchar_t* const text : {L"a\xD83D", L"\xDE00z", L"\xDE00\xD83D"}) {
        std::string utf8 = "untouched";
        EXPECT_FALSE(kx::WideToUtf8(text, utf8));
        EXPECT_EQ(utf8, "untouched");
    }
    if (::GetACP() != 1252)
        GTEST_SKIP() << "the rest needs code page 1252";
    CString wide;
    EXPECT_TRUE(kx::Utf8ToWide("\xE4\xC3\xA4", wide));
    EXPECT_STREQ(wide, L"\u00e4\u00c3\u00a4");
}

TEST(WipeTest, ClearsExactlyTheRangeAsTheScopeEnds)
{
    std::array<char, 6> secret = {'a', 'b', 'c', 'd', 'e', 'f'};
    {
        const kx::ScopeExit wipe([&]() noexcept { kx::Wipe(secret.data() + 1, 4); });
        EXPECT_EQ(secret[1], 'b');
    }
    EXPECT_EQ(std::string(secret.data(), secret.size()), "a\0\0\0\0f"s);
    kx::Wipe(nullptr, 0);
}
