// Text laid out for a screen: widths of characters, what must not reach a terminal, and tables.

#include "Tools/kx_gpsim/text_table.h"
#include "Tools/kx_gpsim/text_width.h"

#include <gmock/gmock.h>

#include <sstream>

namespace {

using std::string;
using std::string_view;

TEST(Text, HasAWidthAndNoPowerOverATerminal)
{
    const struct {
        const char* why;
        string_view text;
        string_view visible;
        std::size_t width; ///< of the visible text
    } rows[] = {
        {"letters beyond ASCII are one column", "K\u00E4se", "K\u00E4se", 4},
        {"a mark stands on its letter", "e\u0301", "e\u0301", 1},
        {"East Asian letters are two", "\u6F22\u5B57", "\u6F22\u5B57", 4},
        {"fullwidth forms are two, halfwidth ones one", "\uFF21\uFF71", "\uFF21\uFF71", 3},
        {"a pictograph is two", "\U0001F9C0", "\U0001F9C0", 2},
        {"an escape sequence", "\x1b[2J", "\u241B[2J", 4},
        {"line ends do not break a table", "a\r\nb", "a\u240D\u240Ab", 4},
        {"a NUL", string_view("a\0_", 3), "a\u2400_", 3},
        {"delete", "\x7F", "\u2421", 1},
        {"the one-byte form of an escape sequence", "\u009B1m", "<U+009B>1m", 10},
        {"the direction of writing", "\u202Egpj.exe", "<U+202E>gpj.exe", 15},
        {"hidden tags", "a\U000E0041", "a<U+0E0041>", 11},
        {"a stray byte", "a\x9B", "a\uFFFD", 2},
    };

    for (const auto& row : rows) {
        EXPECT_EQ(kx::VisibleText(row.text), row.visible) << row.why;
        EXPECT_EQ(kx::DisplayWidth(row.visible), row.width) << row.why;
    }
}

TEST(Text, CountsEachIllFormedByte)
{
    const std::pair<string_view, std::size_t> rows[] = {
        {"\xC3\xC3(", 3},        // no second byte
        {"\xED\xA0\x80", 3},     // a surrogate
        {"\xC0\xAF", 2},         // an overlong slash
        {"a\xE6\xBC", 3},        // cut short
        {"\xF4\x90\x80\x80", 4}, // beyond the last character
    };
    for (const auto& [text, width] : rows)
        EXPECT_EQ(kx::DisplayWidth(text), width) << testing::PrintToString(text);
}

TEST(CutText, EndsInAnEllipsisWithinTheWidth)
{
    EXPECT_EQ(kx::CutText("policy", 6), "policy");
    EXPECT_EQ(kx::CutText("policies", 6), "polic\u2026");
    EXPECT_EQ(kx::CutText("\u6F22\u5B57\u6F22", 4), "\u6F22\u2026")
        << "a wide character that fits in half is left out";
    EXPECT_EQ(kx::CutText("policies", 0), "policies");
}

TEST(WholeCharacters, LeavesOutWhatIsCutShort)
{
    EXPECT_EQ(kx::WholeCharacters("ab\xE6\xBC"), "ab");
    EXPECT_EQ(kx::WholeCharacters("ab\xE6\xBC\xA2"), "ab\xE6\xBC\xA2");
    EXPECT_EQ(kx::WholeCharacters("\xBC\xBC\xBC\xBC\xBC"), "\xBC\xBC\xBC\xBC\xBC") << "always makes progress";
    EXPECT_EQ(kx::WholeCharacters("\xE6\xBC"), "\xE6\xBC") << "always makes progress";
}

const std::vector<kx::TableColumn> kColumns = {{"GPO", false}, {"Count", true}, {"Why", false}};

TEST(FormatTable, AlignsByWhatIsSeen)
{
    EXPECT_EQ(kx::FormatTable(kColumns,
                              {{"\u6F22\u5B57", "7", "a"}, {"e\u0301", "12"}, {"x", "1", "b", "surplus"}}, 0),
              "GPO   Count  Why\n"
              "\u2500\u2500\u2500\u2500  \u2500\u2500\u2500\u2500\u2500  \u2500\u2500\u2500\n"
              "\u6F22\u5B57      7  a\n"
              "e\u0301        12\n"
              "x         1  b\n");
}

std::vector<string> LinesOf(const string& text)
{
    std::vector<string> lines;
    std::istringstream stream(text);
    for (string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

TEST(FormatTable, WrapsAtBlanksAndKeepsNumbersWhole)
{
    const std::vector<string> lines = LinesOf(
        kx::FormatTable(kColumns, {{"Fernhill baseline", "123456", "the user is in no such group"}}, 32));
    const std::vector<string> expected = {"Fernhill     123456  the user is",
                                          "baseline             in no such", "                     group"};
    EXPECT_EQ(std::vector<string>(lines.begin() + 2, lines.end()), expected);
    EXPECT_THAT(kx::FormatTable(kColumns, {{"OU=Dairy,DC=fernhill"}}, 26),
                testing::HasSubstr("OU=Dairy,\nDC="));
}

TEST(FormatTable, StaysWithinTheWidthWhateverTheCells)
{
    for (const string& cell : {string(1000, 'w'), "a" + string(3000, '\xCC') + "\u0301", string(500, ' '),
                               string("\u6F22\u5B57\u6F22\u5B57\u6F22\u5B57\u6F22\u5B57\u6F22")}) {
        const std::vector<string> lines = LinesOf(kx::FormatTable(kColumns, {{cell, "1", cell}}, 30));
        EXPECT_LE(lines.size(), 6U) << "a long cell is cut after a few lines";
        for (const string& line : lines)
            EXPECT_LE(kx::DisplayWidth(line), 30U) << line;
    }
}

} // namespace
