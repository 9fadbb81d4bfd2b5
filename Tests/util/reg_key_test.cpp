#include "Common_CPP/util/reg_key.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

using namespace std::string_literals;

namespace {

/// A key of the test's own, removed at its end.
class RegKeyTest : public ::testing::Test {
  protected:
    void SetUp() override
    {
        _m_path.Format(L"Software\\KxRegKeyTest%lu", ::GetCurrentProcessId());
        ASSERT_EQ(::RegCreateKeyExW(HKEY_CURRENT_USER, _m_path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                    writer.Put(), nullptr),
                  ERROR_SUCCESS);
        ASSERT_EQ(key.Open(HKEY_CURRENT_USER, _m_path, KEY_QUERY_VALUE), ERROR_SUCCESS);
    }

    void TearDown() override { EXPECT_EQ(::RegDeleteKeyW(HKEY_CURRENT_USER, _m_path), ERROR_SUCCESS); }

    /// Stores exactly these bytes: the system adds a NUL that it finds behind them, so there is none.
    void Store(DWORD type, std::wstring text, DWORD size) const
    {
        text += L"##";
        ASSERT_EQ(::RegSetValueExW(writer.Get(), L"value", 0, type,
                                   reinterpret_cast<const BYTE*>(text.c_str()), size),
                  ERROR_SUCCESS);
    }

    CkxRegKey key;
    CkxRegKeyHandle writer;

  private:
    CString _m_path;
};

} // namespace

TEST_F(RegKeyTest, TextsAreCheckedBeforeTheyAreTrusted)
{
    const std::wstring longest(63, L'x');

    const struct {
        const char* name;
        DWORD type;
        std::wstring text;
        DWORD bytes;
        LSTATUS expected;
        std::wstring value;
    } rows[] = {
        {"text", REG_SZ, L"text\0"s, 10, ERROR_SUCCESS, L"text"},
        {"expandable, not expanded", REG_EXPAND_SZ, L"%TEMP%\0"s, 14, ERROR_SUCCESS, L"%TEMP%"},
        {"as long as allowed", REG_SZ, longest + L'\0', 128, ERROR_SUCCESS, longest},
        {"too long", REG_SZ, longest + L"x\0"s, 130, ERROR_MORE_DATA, L""},
        {"no bytes", REG_SZ, L"", 0, ERROR_SUCCESS, L""},
        {"only a NUL", REG_SZ, L"\0"s, 2, ERROR_SUCCESS, L""},
        {"cut at the first NUL", REG_SZ, L"a\0b\0"s, 8, ERROR_SUCCESS, L"a"},
        {"no NUL at the end", REG_SZ, L"text", 8, ERROR_INVALID_DATA, L""},
        {"no NUL in a full buffer", REG_SZ, longest + L'x', 128, ERROR_INVALID_DATA, L""},
        {"odd number of bytes", REG_SZ, L"text\0"s, 9, ERROR_INVALID_DATA, L""},
        {"one byte", REG_SZ, L"\0"s, 1, ERROR_INVALID_DATA, L""},
        {"number", REG_DWORD, L"1\0"s, 4, ERROR_INVALID_DATA, L""},
        {"list of texts", REG_MULTI_SZ, L"a\0\0"s, 6, ERROR_INVALID_DATA, L""},
        {"binary of no bytes", REG_BINARY, L"", 0, ERROR_INVALID_DATA, L""},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Store(row.type, row.text, row.bytes);
        CString value = L"untouched";
        EXPECT_EQ(key.QueryString(L"value", value, 128), row.expected);
        EXPECT_STREQ(value, row.expected == ERROR_SUCCESS ? row.value.c_str() : L"untouched");
    }
}

TEST_F(RegKeyTest, NumbersAreOfTheirTypeAndSize)
{
    const struct {
        const char* name;
        DWORD type;
        std::wstring text;
        DWORD bytes;
        LSTATUS expected;
    } rows[] = {
        {"number", REG_DWORD, L"\x5678\x1234", 4, ERROR_SUCCESS},
        {"text", REG_SZ, L"1\0"s, 4, ERROR_INVALID_DATA},
        {"long text", REG_SZ, L"1234\0"s, 10, ERROR_INVALID_DATA},
        {"short number", REG_DWORD, L"1", 2, ERROR_INVALID_DATA},
        {"64 bits", REG_QWORD, L"1111", 8, ERROR_INVALID_DATA},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Store(row.type, row.text, row.bytes);
        DWORD value = 77;
        EXPECT_EQ(key.QueryDword(L"value", value), row.expected);
        EXPECT_EQ(value, row.expected == ERROR_SUCCESS ? 0x12345678u : 77u);
    }
}

TEST_F(RegKeyTest, WhatIsNotThereChangesNothing)
{
    const HKEY held = key.Get();
    EXPECT_EQ(key.Open(HKEY_CURRENT_USER, L"Software\\KxNoSuchKey", KEY_QUERY_VALUE), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(key.Get(), held);
    CString text = L"untouched";
    EXPECT_EQ(key.QueryString(L"absent", text, 128), ERROR_FILE_NOT_FOUND);
    EXPECT_STREQ(text, L"untouched");
    DWORD value = 77;
    EXPECT_EQ(key.QueryDword(L"absent", value), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(CkxRegKey().QueryDword(L"value", value), ERROR_INVALID_HANDLE);
    EXPECT_EQ(value, 77u);
}
