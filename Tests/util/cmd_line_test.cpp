// The rules against the system's own reader. That any arguments come back from the line that is made of them,
// or are refused, the fuzz target checks.
#include "Common_CPP/util/cmd_line.h"
#include "Common_CPP/util/unique_handle.h"

#include <gtest/gtest.h>

#include <shellapi.h>

namespace {

using Strings = std::vector<std::wstring>;

Strings SystemSplit(const std::wstring& line)
{
    int count = 0;
    const CkxLocalMemory<LPWSTR> arguments(::CommandLineToArgvW(line.c_str(), &count));
    return {arguments.Get(), arguments.Get() + count};
}

} // namespace

TEST(CmdLine, SplitsAsTheSystem)
{
    for (const wchar_t* line :
         {L"p.exe", L" a b", L"\"C:\\My Files\\p.exe\" a", L"\"C:\\dir\\\" a", L"\"p\\\" r", L"\"p a",
          L"p \t a\t\tb \t", L"p \"\" a", L"p a\" b \"c d", L"p a\\\\b \\\\", L"p a\\\\\\\"b",
          L"p a\\\\\"b c\"", L"p \"a\\\\\" b", L"p a\"\"b c", L"p \"a b", L"p a\nb"})
        EXPECT_EQ(CkxCmdLine::Split(line), SystemSplit(line)) << line;
}

TEST(CmdLine, SplitsByItsOwnRulesWhereTheSystemHasOthers)
{
    const struct {
        const char* why;
        std::wstring line;
        Strings arguments;
    } rows[] = {
        {"nothing", L"", {}},
        {"program quoted in parts", L"C:\\\"My Files\"\\p.exe a", {L"C:\\My Files\\p.exe", L"a"}},
        {"doubled mark inside quotes, which go on", L"p \"a\"\"b c\" d", {L"p", L"a\"b c", L"d"}},
        {"ends at a NUL", std::wstring(L"p a\0b", 5), {L"p", L"a"}},
    };

    for (const auto& row : rows)
        EXPECT_EQ(CkxCmdLine::Split(row.line), row.arguments) << row.why;
}

TEST(CmdLine, TheSystemSplitsWhatWasJoined)
{
    const wchar_t* const texts[] = {L"",       L" ",         L"a b",        L"\"", L"\\",
                                    L"\\\\\"", L"a\\\" b\\", L"\t\"\"\\\\", L"\n"};
    std::wstring line;
    for (const wchar_t* first : texts)
        for (const wchar_t* second : texts) {
            const Strings arguments{L"C:\\a b\\p.exe", first, second};
            ASSERT_TRUE(CkxCmdLine::Join(arguments, line));
            EXPECT_EQ(SystemSplit(line), arguments) << line;
        }
    ASSERT_TRUE(CkxCmdLine::Join(Strings{L"C:\\p.exe", L"/a:b\\c\\", L"", L"d e\\"}, line));
    EXPECT_EQ(line, L"C:\\p.exe /a:b\\c\\ \"\" \"d e\\\\\"") << "quotes only where needed";
}
