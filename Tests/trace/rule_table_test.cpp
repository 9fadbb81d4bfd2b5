// Which rule decides for a statement, and the levels that rules and statements speak of.
#include "Common_CPP/trace/level.h"
#include "Common_CPP/trace/rule_table.h"
#include "Common_CPP/trace/text_builder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <utility>

namespace {

using kx::LevelRange;
using kx::ScopeKind;

kx::RuleKey Key(ScopeKind scope, std::string_view expression, LevelRange levels = {})
{
    auto compiled = kx::Expr::Compile(expression);
    EXPECT_TRUE(compiled) << expression;
    return {scope, levels, *std::move(compiled)};
}

kx::RuleSubject Subject(std::string_view fileBase, std::uint32_t level = 300)
{
    kx::RuleSubject subject;
    subject.fileBase = fileBase;
    subject.level = level;
    return subject;
}

TEST(FileBase, IsTheNameUpToItsFirstDotInLowerCase)
{
    const std::pair<const char*, const char*> rows[] = {
        {"Agent\\engine\\kx_gpext\\GP_Xml.cpp", "gp_xml"},
        {"a.b/C:\\d/xml_node.impl.cpp", "xml_node"},
        {"PLAIN", "plain"},
        {"", ""},
        {"dir/", ""},
        {"dir/.hidden", ""},
        {"\xC3\x84X.h", "\xC3\x84x"}, // other letters stay
    };
    char buffer[kx::kMaxFileBase];
    for (const auto& [path, expected] : rows)
        EXPECT_EQ(kx::FileBase(path, buffer), expected) << path;
    char small[3];
    EXPECT_EQ(kx::FileBase("x/ABCDEF.cpp", small), "abc");
}

TEST(RuleTable, CoversByScope)
{
    const char* const stack[] = {"Outer", nullptr, "Inner"};
    const char* const other[] = {"Other"};

    struct Row {
        const char* why;
        ScopeKind scope;
        const char* expression;
        const char* className;
        std::span<const char* const> scopeNames;
        bool covers;
    };

    const Row rows[] = {
        {"part of a base name", ScopeKind::File, "xml", nullptr, {}, true},
        {"files know nothing of classes", ScopeKind::File, "Ckx", "CkxGpXml", {}, false},
        {"regard to case", ScopeKind::File, "XML", nullptr, {}, false},
        {"part of a class", ScopeKind::Class, "Gp", "CkxGpXml", {}, true},
        {"another class", ScopeKind::Class, "Gp", "CkxUtil", {}, false},
        {"no class", ScopeKind::Class, "C", nullptr, {}, false},
        {"everything covers no class", ScopeKind::Class, ".*", nullptr, {}, true},
        {"outermost name", ScopeKind::Stack, "Outer", nullptr, stack, true},
        {"innermost name", ScopeKind::Stack, "Inner", nullptr, stack, true},
        {"names are not joined", ScopeKind::Stack, "OuterInner", nullptr, stack, false},
        {"another stack", ScopeKind::Stack, "Inner", nullptr, other, false},
        {"empty stack", ScopeKind::Stack, "Inner", nullptr, {}, false},
        {"everything covers an empty stack", ScopeKind::Stack, ".*", nullptr, {}, true},
        {"an unknown scope covers nothing", ScopeKind{9}, ".*", nullptr, {}, false},
    };
    for (const Row& row : rows) {
        kx::RuleSubject subject = Subject("gp_xml");
        subject.className = row.className;
        subject.scopeNames = row.scopeNames;
        EXPECT_EQ(kx::Covers(Key(row.scope, row.expression), subject), row.covers) << row.why;
    }
}

TEST(RuleTable, CoversByLevel)
{
    const auto covers = [](LevelRange levels, std::uint32_t level) {
        return kx::Covers(Key(ScopeKind::File, "x", levels), Subject("x", level));
    };
    const LevelRange range{200, 300, false};
    EXPECT_TRUE(covers(range, 200) && covers(range, 300));
    EXPECT_FALSE(covers(range, 199) || covers(range, 301));
    EXPECT_TRUE(covers({}, KXT_NO_LEVEL) && covers({0, 0xFFFFFFFF, false}, 0xFFFFFFFF));
    EXPECT_TRUE(covers(LevelRange::One(0), 0) && !covers(LevelRange::One(0), 1));
}

TEST(RuleTable, HighestNumberDecidesAndTheLaterOfEquals)
{
    kx::RuleTable<int> table;
    EXPECT_EQ(table.Find(Subject("a")), nullptr);
    table.Add(1, Key(ScopeKind::File, "prog"), 10);
    table.Add(kx::FileRuleSequence(7), Key(ScopeKind::File, ".*"), 7);
    table.Add(kx::FileRuleSequence(3), Key(ScopeKind::File, ".*"), 3);
    table.Add(kx::FileRuleSequence(9), Key(ScopeKind::File, "nine"), 9);
    table.Add(kx::FileRuleSequence(9), Key(ScopeKind::File, "nine_b"), 99);
    EXPECT_EQ(*table.Find(Subject("other")), 7);
    EXPECT_EQ(*table.Find(Subject("nine")), 9);
    EXPECT_EQ(*table.Find(Subject("nine_b")), 99);
    EXPECT_EQ(*table.Find(Subject("nine_b_prog")), 10);

    table.RemoveFileRules();
    EXPECT_EQ(table.Find(Subject("nine")), nullptr);
    EXPECT_EQ(*table.Find(Subject("prog")), 10);
    table.Add(kx::FileRuleSequence(1), Key(ScopeKind::File, ".*"), 1);
    EXPECT_EQ(*table.Find(Subject("nine")), 1);
    EXPECT_EQ(*table.Find(Subject("prog")), 10);
}

TEST(RuleTable, FileRulesStayBelowProgramRulesWhateverTheLine)
{
    EXPECT_EQ(kx::FileRuleSequence(1), -2147483647);
    EXPECT_LT(kx::FileRuleSequence(0), kx::FileRuleSequence(1));
    EXPECT_LT(kx::FileRuleSequence(0xFFFFFFFF), 0);
}

TEST(Level, DescriptorsMatchAndPrint)
{
    const D_LevelNumberInfo_c number(610);
    const D_LevelNumberInfo_c info(KXT_INFO);
    const D_LevelStringInfo_c name("KXT_INFO");
    const D_LevelStringInfo_c noName("");

    const struct {
        const D_LevelInfo_c& level;
        std::uint32_t matches;
        std::uint32_t differs;
        const char* text;
    } rows[] = {
        {number, 610, 600, "D_LevelNumberInfo_c: _no = [610]"},
        {info, 300, 3000, "D_LevelNumberInfo_c: _no = [300]"},
        {name, 300, 301, "D_LevelStringInfo_c: _name = [KXT_INFO]"},
    };

    for (const auto& row : rows) {
        kx::FixedText<64> text;
        row.level.Print(text);
        EXPECT_EQ(text.View(), row.text);
        EXPECT_TRUE(row.level.Matches(row.matches)) << row.text;
        EXPECT_FALSE(row.level.Matches(row.differs)) << row.text;
    }
    const std::pair<std::uint32_t, const char*> names[] = {{100, "KXT_ERROR"},
                                                           {200, "KXT_WARNING"},
                                                           {300, "KXT_INFO"},
                                                           {400, "KXT_TRACE"},
                                                           {500, "KXT_VERBOSE"},
                                                           {600, "KXT_DEBUG"},
                                                           {3700, "KXT_FLASHBACK_ERROR"},
                                                           {3710, "KXT_FLASHBACK_WARNING"},
                                                           {3720, "KXT_FLASHBACK_INFO"},
                                                           {3838, "KXT_REDIRECTED"},
                                                           {610, ""}};
    for (const auto& [level, called] : names)
        EXPECT_EQ(kx::LevelName(level), called);
    EXPECT_FALSE(noName.Matches(610)) << "a level without a name is not the one with the empty name";
}

TEST(TextBuilder, WritesNumbersAtTheirExtremes)
{
    EXPECT_EQ(kx::Decimal(0).View(), "0");
    EXPECT_EQ(kx::Decimal(std::numeric_limits<std::int64_t>::min()).View(), "-9223372036854775808");
    EXPECT_EQ(kx::Decimal(std::numeric_limits<std::uint64_t>::max()).View(), "18446744073709551615");
    EXPECT_EQ(kx::Decimal(std::int8_t{-128}).View(), "-128");
    EXPECT_EQ(kx::Decimal(7, 3).View(), "007");
    EXPECT_EQ(kx::Decimal(12345, 3).View(), "12345");
    EXPECT_EQ(kx::Decimal(1, 99).View(), "00000000000000000001");
}

TEST(TextBuilder, CutsWhatDoesNotFit)
{
    kx::FixedText<5> text;
    EXPECT_EQ(text.Append("abc").AppendSigned(-7).View(), "abc-7");
    EXPECT_FALSE(text.IsTruncated());
    EXPECT_EQ(text.Append({}).View(), "abc-7");
    EXPECT_EQ(text.Append("x").View(), "abc-7");
    EXPECT_TRUE(text.IsTruncated());
    text.Clear();
    EXPECT_EQ(text.AppendPadded(5, 2).AppendUnsigned(123456).View(), "05123");
}

} // namespace
