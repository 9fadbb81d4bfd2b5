#include "Common_CPP/util/cmd_line.h"

#include <gtest/gtest.h>

namespace {

using Strings = std::vector<std::wstring>;

/// All texts of up to `length` characters that matter to a command line.
Strings AllTexts(std::size_t length)
{
    Strings texts{L""};
    for (std::size_t i = 0; i < texts.size() && texts[i].size() < length; ++i)
        for (const wchar_t character : {L'a', L' ', L'\t', L'"', L'\\'})
            texts.push_back(texts[i] + character);
    return texts;
}

struct SplitRow {
    const char* why;
    std::wstring line;
    Strings arguments;
};

const SplitRow c_splitRows[] = {
    {"nothing", L"", {}},
    {"program alone", L"p.exe", {L"p.exe"}},
    {"blank first: an empty program name", L" a b", {L"", L"a", L"b"}},
    {"quoted program", L"\"C:\\My Files\\p.exe\" a", {L"C:\\My Files\\p.exe", L"a"}},
    {"backslashes mean nothing in the program", L"\"C:\\dir\\\" a", {L"C:\\dir\\", L"a"}},
    {"program quoted in parts", L"C:\\\"My Files\"\\p.exe a", {L"C:\\My Files\\p.exe", L"a"}},
    {"program quoted to the end", L"\"p a", {L"p a"}},
    {"blanks and tabs in between and at the end", L"p \t a\t\tb \t", {L"p", L"a", L"b"}},
    {"empty argument", L"p \"\" a", {L"p", L"", L"a"}},
    {"quotes inside an argument", L"p a\" b \"c d", {L"p", L"a b c", L"d"}},
    {"backslashes alone", L"p a\\\\b \\\\", {L"p", L"a\\\\b", L"\\\\"}},
    {"odd backslashes before a mark", L"p a\\\\\\\"b", {L"p", L"a\\\"b"}},
    {"even backslashes before a mark", L"p a\\\\\"b c\"", {L"p", L"a\\b c"}},
    {"even backslashes before the closing mark", L"p \"a\\\\\" b", {L"p", L"a\\", L"b"}},
    {"doubled mark inside quotes, which go on", L"p \"a\"\"b c\" d", {L"p", L"a\"b c", L"d"}},
    {"doubled mark outside quotes is an empty part", L"p a\"\"b c", {L"p", L"ab", L"c"}},
    {"quotes not closed", L"p \"a b", {L"p", L"a b"}},
    {"line feeds do not separate", L"p a\nb", {L"p", L"a\nb"}},
    {"ends at a NUL", std::wstring(L"p a\0b", 5), {L"p", L"a"}},
};

} // namespace

TEST(CmdLine, SplitsByTheRules)
{
    for (const SplitRow& row : c_splitRows)
        EXPECT_EQ(CkxCmdLine::Split(row.line), row.arguments) << row.why;
}

TEST(CmdLine, ArgumentsAloneFollowTheArgumentRule)
{
    EXPECT_EQ(CkxCmdLine::SplitArguments(L"  \"a\\\\\" b"), (Strings{L"a\\", L"b"}));
    EXPECT_EQ(CkxBasicCmdLine<char16_t>::SplitArguments(u"a b"), (std::vector<std::u16string>{u"a", u"b"}));
}

TEST(CmdLine, JoinsToWhatSplitsAlike)
{
    for (const std::wstring& text : AllTexts(5)) {
        const bool fitsProgram = text.find(L'"') == std::wstring::npos;
        const Strings arguments{fitsProgram ? text : L"p", text, L"\\", text};
        std::wstring line;
        ASSERT_TRUE(CkxCmdLine::Join(arguments, line));
        ASSERT_EQ(CkxCmdLine::Split(line), arguments);
    }
    std::wstring line;
    ASSERT_TRUE(CkxCmdLine::Join(Strings{L"C:\\p.exe", L"/a:b\\c\\", L"", L"d e\\"}, line));
    EXPECT_EQ(line, L"C:\\p.exe /a:b\\c\\ \"\" \"d e\\\\\"") << "quotes only where needed";
}

TEST(CmdLine, RefusesWhatNoLineCanCarry)
{
    const Strings refused[] = {{L"p\"q"}, {std::wstring(L"p\0", 2)}, {L"p", L"a", std::wstring(L"\0b", 2)}};
    for (const Strings& arguments : refused) {
        std::wstring line = L"kept";
        EXPECT_FALSE(CkxCmdLine::Join(arguments, line));
        EXPECT_EQ(line, L"kept");
    }
}
