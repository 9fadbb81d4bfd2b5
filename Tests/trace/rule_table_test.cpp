// The levels that rules and statements speak of, and the subjects of rules. Which rule decides for a
// statement, the fuzz target checks.
#include "Common_CPP/trace/level.h"
#include "Common_CPP/trace/rule_table.h"
#include "Common_CPP/trace/text_builder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <utility>

namespace {

using kx::LevelRange;

TEST(FileBase, IsTheNameUpToItsFirstDotInLowerCase)
{
    const std::pair<const char*, const char*> rows[] = {
        {"Agent\\engine\\kx_gpext\\GP_Xml.cpp", "gp_xml"},
        {"a.b/C:\\d/xml_node.impl.cpp", "xml_node"},
        {"PLAIN", "plain"},
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
    using kx::ScopeKind;
    const char* const stack[] = {"Outer", nullptr, "Inner"};

    const struct {
        const char* why;
        ScopeKind scope;
        const char* expression;
        const char* className;
        bool covers;
    } rows[] = {
        {"part of a base name", ScopeKind::File, "xml", nullptr, true},
        {"files know nothing of classes", ScopeKind::File, "Ckx", "CkxGpXml", false},
        {"part of a class", ScopeKind::Class, "Gp", "CkxGpXml", true},
        {"no class", ScopeKind::Class, "C", nullptr, false},
        {"everything covers no class", ScopeKind::Class, ".*", nullptr, true},
        {"innermost name", ScopeKind::Stack, "Inner", nullptr, true},
        {"names are not joined", ScopeKind::Stack, "OuterInner", nullptr, false},
        {"an unknown scope covers nothing", ScopeKind{9}, ".*", nullptr, false},
    };

    for (const auto& row : rows) {
        const kx::RuleKey key{row.scope, {}, *kx::Expr::Compile(row.expression)};
        EXPECT_EQ(kx::Covers(key, {"gp_xml", row.className, stack, 300}), row.covers) << row.why;
    }
}

TEST(RuleTable, CoversByLevel)
{
    const auto covers = [](LevelRange levels, std::uint32_t level) {
        kx::RuleSubject subject;
        subject.level = level;
        return kx::Covers({kx::ScopeKind::Class, levels, kx::Expr()}, subject);
    };
    const LevelRange range{200, 300, false};
    EXPECT_TRUE(covers(range, 200) && covers(range, 300));
    EXPECT_FALSE(covers(range, 199) || covers(range, 301));
    EXPECT_TRUE(covers({}, KXT_NO_LEVEL) && covers({0, 0xFFFFFFFF, false}, 0xFFFFFFFF));
    EXPECT_TRUE(covers(LevelRange::One(0), 0) && !covers(LevelRange::One(0), 1));
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
    const D_LevelStringInfo_c name("KXT_INFO");
    kx::FixedText<128> text;
    number.Print(text);
    name.Print(text.Append(" "));
    EXPECT_EQ(text.View(), "D_LevelNumberInfo_c: _no = [610] D_LevelStringInfo_c: _name = [KXT_INFO]");
    EXPECT_TRUE(number.Matches(610) && name.Matches(300));
    EXPECT_FALSE(number.Matches(600) || name.Matches(301));
    EXPECT_FALSE(D_LevelStringInfo_c("").Matches(610)) << "a level without a name is not the empty one";

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
