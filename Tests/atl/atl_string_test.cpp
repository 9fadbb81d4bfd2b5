#include "Common_CPP/atl/kx_atl.h"
#include "Tests/support/hook.h"

#include <gtest/gtest.h>

#include <climits>
#include <cwchar>
#include <string_view>
#include <utility>

namespace {

bool g_withoutMemory = false;

/// Fails once where it is told to: what is thrown then needs memory, too.
void* MallocThatFails(std::size_t size)
{
    return std::exchange(g_withoutMemory, false) ? nullptr : ImportHook<&MallocThatFails>::Original(size);
}

std::wstring_view View(const CString& text)
{
    return {text.GetString(), static_cast<std::size_t>(text.GetLength())};
}

/// The HRESULT that `step` throws, or S_OK.
template <class Step>
HRESULT Thrown(Step step)
{
    try {
        step();
        return S_OK;
    } catch (const CAtlException& exception) {
        return exception;
    }
}

} // namespace

TEST(CStringTest, FormatsAsThePlatformDoes)
{
    CString text;
    text.Format(L"%s|%S|%.8X|%I64d|%d%%", L"w\u00e4\u4e2d", "narrow", 0x2001Fu, -5000000000LL, -1);
    EXPECT_STREQ(text, L"w\u00e4\u4e2d|narrow|0002001F|-5000000000|-1%");

    text.Format(L"");
    EXPECT_TRUE(text.IsEmpty());

    text.Format(L"<%s>", CString(L'x', 100000).GetString());
    EXPECT_EQ(text.GetLength(), 100002);
    EXPECT_EQ(text.GetAt(100001), L'>');

    text = L"a";
    text.Format(L"%s-%s", text.GetString(), text.GetString());
    text.AppendFormat(L"/%s", text.GetString());
    EXPECT_STREQ(text, L"a-a/a-a");
    EXPECT_EQ(Thrown([&] { text.Format(nullptr); }), E_INVALIDARG);
}

TEST(CStringTest, ArgumentsMayBePartsOfTheString)
{
    const std::wstring before = L"0123456789abcdefghij"; // beyond any room inside the object
    const auto made = [&](auto change) {
        CString text = before.c_str();
        change(text);
        return std::wstring(View(text));
    };
    EXPECT_EQ(made([](CString& s) { s = *&s; }), before);
    EXPECT_EQ(made([](CString& s) { s = std::move(*&s); }), before);
    EXPECT_EQ(made([](CString& s) { s = s.GetString() + 18; }), L"ij");
    EXPECT_EQ(made([](CString& s) { s += s; }), before + before);
    EXPECT_EQ(made([](CString& s) { s += s.GetString() + 17; }), before + L"hij");
    EXPECT_EQ(made([](CString& s) { s = s + s.GetString(); }), before + before);
    EXPECT_EQ(made([](CString& s) { s.Replace(s.Right(2), s); }), L"0123456789abcdefgh" + before);
    EXPECT_EQ(made([](CString& s) { s.TrimRight(s.GetString() + 18); }), L"0123456789abcdefgh");
    EXPECT_EQ(made([](CString& s) { (s += L"10").Trim(s.GetString() + 20); }), L"23456789abcdefghij");
}

TEST(CStringTest, LengthsCountNulCharacters)
{
    CString text(L"a\0b", 3);
    text += CString(L"\0c", 2);
    text.Append(L"d\0", 2);
    const CString copy = text;
    EXPECT_EQ(View(copy), std::wstring_view(L"a\0b\0cd\0", 7));
    EXPECT_EQ(copy.Find(L'c'), 4);
    EXPECT_EQ(copy.ReverseFind(L'\0'), 6);
    EXPECT_EQ(View(copy.Mid(2, 2)), std::wstring_view(L"b\0", 2));
    EXPECT_EQ(text.Replace(L'\0', L'.'), 3);
    EXPECT_EQ(text.Replace(L".", L"<>"), 3);
    EXPECT_STREQ(text, L"a<>b<>cd<>");
}

TEST(CStringTest, NullCountsAsEmpty)
{
    const wchar_t* const null = nullptr;
    CString text(null);
    text = null;
    text += null;
    text.Append(null, 0);
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_STREQ(text.GetString(), L"");
    EXPECT_TRUE(text == null);
    EXPECT_EQ(text.Replace(null, L"x"), 0);
    EXPECT_EQ((L"a" + text + L'b').Replace(L"a", null), 1);
    EXPECT_EQ(text.Find(null), -1);
}

TEST(CStringTest, SlicesStayInsideTheText)
{
    const CString text = L"abcd";
    const std::pair<CString, const wchar_t*> rows[] = {
        {text.Left(2), L"ab"},
        {text.Left(-1), L""},
        {text.Left(INT_MAX), L"abcd"},
        {text.Right(3), L"bcd"},
        {text.Right(INT_MIN), L""},
        {text.Right(5), L"abcd"},
        {text.Mid(1, 2), L"bc"},
        {text.Mid(4), L""},
        {text.Mid(INT_MAX, INT_MAX), L""},
        {text.Mid(-2, 2), L"ab"},
        {text.Mid(2, INT_MAX), L"cd"}, // the sum wraps
    };
    for (const auto& [slice, expected] : rows)
        EXPECT_STREQ(slice, expected);
}

TEST(CStringTest, SearchesReplacesAndTrims)
{
    CString text = L"abcabc";
    EXPECT_EQ(text.Find(L"bc", 2), 4);
    EXPECT_EQ(text.Find(L"bc", 5), -1);
    EXPECT_TRUE(text.Find(L'a', -1) == -1 && text.Find(L'a', 7) == -1);
    EXPECT_TRUE(text.ReverseFind(L'a') == 3 && text.ReverseFind(L'x') == -1);
    EXPECT_EQ(text.Replace(L"", L"x"), 0);
    EXPECT_EQ(text.Replace(L"c", L"cc"), 2) << "what was put in is not searched again";
    EXPECT_STREQ(text, L"abccabcc");
    EXPECT_EQ(text.Replace(L"cc", L""), 2);
    EXPECT_STREQ(text, L"abab");

    EXPECT_STREQ(CString(L" \t\r\n a b \u3000").Trim(), L"a b");
    EXPECT_STREQ(CString(L"\\\\a\\b\\").TrimRight(L'\\'), L"\\\\a\\b");
    EXPECT_STREQ(CString(L"\\\\").Trim(L'\\'), L"");
    EXPECT_STREQ(CString(L"xyaxy").Trim(L"yx"), L"a");
    EXPECT_STREQ(CString(L" a").TrimLeft(L""), L" a");
}

TEST(CStringTest, ComparesByCodeUnit)
{
    const CString lower = L"abc";
    EXPECT_TRUE(lower != L"ABC" && lower == CString(L"abc") && L"abc" == lower);
    EXPECT_TRUE(L"ABC" < lower && lower < L"abd" && !(lower < L"abc"));
    EXPECT_EQ(lower.CompareNoCase(L"ABC"), 0);
    EXPECT_NE(CString(L"\u00e4").CompareNoCase(L"\u00c4"), 0) << "only ASCII letters fold";
    EXPECT_STREQ(CString(L"aZ\u00e4").MakeUpper(), L"AZ\u00e4");
    EXPECT_STREQ(CString(L"aZ\u00c4").MakeLower(), L"az\u00c4");
}

TEST(CStringTest, BuffersAreWrittenAndReleased)
{
    CString text = L"ab";
    std::wmemcpy(text.GetBuffer(300) + 2, L"cdef", 5);
    text.ReleaseBuffer();
    EXPECT_EQ(View(text), L"abcdef");

    EXPECT_STREQ(text.GetBuffer(1), L"abcdef") << "a small minimum cuts nothing off";
    text.ReleaseBuffer(3);
    EXPECT_EQ(View(text), L"abc");

    std::wmemset(text.GetBufferSetLength(5), L'x', 5);
    EXPECT_EQ(View(text), L"xxxxx");
    text.Preallocate(1000);
    EXPECT_EQ(View(text), L"xxxxx");
}

TEST(CStringTest, RefusesWhatLiesOutside)
{
    CString text = L"abc";
    EXPECT_EQ(text[3], L'\0');
    EXPECT_EQ(Thrown([&] { (void)text[4]; }), E_INVALIDARG);
    EXPECT_EQ(Thrown([&] { (void)text[-1]; }), E_INVALIDARG);
    EXPECT_EQ(Thrown([&] { text.SetAt(3, L'x'); }), E_INVALIDARG);
    EXPECT_EQ(Thrown([&] { text.ReleaseBuffer(4); }), E_INVALIDARG);
    EXPECT_EQ(Thrown([&] { text.Append(L"x", -1); }), E_INVALIDARG);
    EXPECT_EQ(Thrown([&] { text.SetString(nullptr, 1); }), E_INVALIDARG);
    EXPECT_EQ(Thrown([&] { text.Append(L"x", INT_MAX); }), E_OUTOFMEMORY) << "the sum is no int";
    EXPECT_STREQ(text, L"abc");
}

TEST(CStringTest, KeepsItsTextWithoutMemory)
{
    const wchar_t* const longText = L"longer than any room inside the object itself";
    CString text = L"abc";
    const CString longer = longText;
    const ImportHook<&MallocThatFails> hook("malloc");
    const auto withoutMemory = [](auto step) {
        g_withoutMemory = true;
        return Thrown(step);
    };
    EXPECT_EQ(withoutMemory([&] { const CString copy(longer.GetString()); }), E_OUTOFMEMORY);
    EXPECT_EQ(withoutMemory([&] { text = longer; }), E_OUTOFMEMORY);
    EXPECT_EQ(withoutMemory([&] { text += longText; }), E_OUTOFMEMORY);
    EXPECT_EQ(withoutMemory([&] { text.Format(L"%s", longText); }), E_OUTOFMEMORY);
    EXPECT_EQ(withoutMemory([&] { text.Replace(L"b", longText); }), E_OUTOFMEMORY);
    EXPECT_EQ(withoutMemory([&] { (void)text.GetBuffer(1000); }), E_OUTOFMEMORY);
    EXPECT_STREQ(text, L"abc");
}
