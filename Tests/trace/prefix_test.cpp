#include "Common_CPP/trace/file_strip.h"
#include "Common_CPP/trace/level.h"
#include "Common_CPP/trace/prefix.h"
#include "Tests/oracle/prefix_oracle.h"

#include <gtest/gtest.h>

#include <random>

namespace {

struct StringSink {
    std::string text;

    void Append(std::string_view piece) { text += piece; }
};

std::string Prefix(const std::string& text, const kx::PrefixFields& fields)
{
    StringSink sink;
    kx::PrefixTemplate(text).Write(sink, fields);
    return sink.text;
}

kx::PrefixFields SomeFields()
{
    kx::PrefixFields fields;
    fields.processId = 12;
    fields.threadId = 34;
    fields.time = {2026, 3, 4, 5, 6, 7, 8};
    fields.file = ".../b/c/d.cpp";
    fields.line = 56;
    fields.level = 300;
    return fields;
}

TEST(Prefix, ShowsFields)
{
    const struct {
        const char* why;
        const char* text;
        const char* prefix;
    } rows[] = {
        {"the default", "<%PID>:<%FILE>(<%LINE>):", "12:.../b/c/d.cpp(56): "},
        {"a blank at the end is not doubled", "<%LINE> ", "56 "},
        {"only the first of a token", "<%LINE><%LINE>", "56<%LINE> "},
        {"date and time", "<%YEAR>-<%MONTH>-<%DAY> <%HOUR>:<%MIN>:<%SEC>.<%MSEC>",
         "2026-03-04 05:06:07.008 "},
        {"what is not there", "<%STACK> <%CLASS> <%TNAME>", "<no stack name> <no class name> 34 "},
        {"level by name", "<%LEVEL>", "KXT_INFO "},
        {"no indentation without filling", "<%INDENT>", ""},
        {"unknown tokens stay", "<%NONE>%<%", "<%NONE>%<% "},
    };

    for (const auto& row : rows)
        EXPECT_EQ(Prefix(row.text, SomeFields()), row.prefix) << row.why;
    kx::PrefixFields fields = SomeFields();
    fields.level = 610;
    fields.threadId = 0xFFFFFFFF;
    fields.depth = 3;
    fields.indentFilling = "| ";
    EXPECT_EQ(Prefix("<%LEVEL> <%TID> <%INDENT>x", fields), "610 <no thread> | | | x ");
    fields.level = KXT_NO_LEVEL;
    EXPECT_EQ(Prefix("<%LEVEL>", fields), "<no level> ");
}

TEST(Prefix, AnEmptyValueLetsItsNeighboursMeet)
{
    kx::PrefixFields fields = SomeFields();
    fields.stackName = "";
    EXPECT_EQ(Prefix("<<%STACK>%LINE>", fields), "56 ");
    EXPECT_TRUE(kx::PrefixTemplate("<<%STACK>%SEC>").NeedsTime(fields));
}

// Templates and values from an alphabet that makes tokens meet, overlap and hide in values.
TEST(Prefix, AgreesWithReplacingWordForWord)
{
    const char* const parts[] = {"<%PID>",   "<%LINE>",   "<%CLASS>", "<%FILE>", "<%TNAME>",
                                 "<%STACK>", "<%INDENT>", "<%LEVEL>", "<%",      "<",
                                 "%",        "LINE>",     "x ",       ">",       "CLASS>"};
    std::mt19937 random(20260101);
    const auto text = [&](unsigned most) {
        std::string made;
        for (auto count = random() % (most + 1); count > 0; --count)
            made += parts[random() % std::size(parts)];
        return made;
    };
    for (int round = 0; round < 20000; ++round) {
        kx::PrefixFields fields = SomeFields();
        const std::string threadName = text(2);
        const std::string stackName = text(2);
        const std::string file = text(2);
        const std::string className = text(2);
        const std::string filling = text(1);
        fields.threadName = threadName;
        fields.stackName = stackName.c_str();
        fields.file = file;
        fields.className = className.c_str();
        fields.indentFilling = filling;
        fields.depth = static_cast<std::uint32_t>(random() % 3);
        const std::string format = text(5);
        ASSERT_EQ(Prefix(format, fields), kx::oracle::Prefix(format, fields)) << format << " round " << round;
    }
}

TEST(Prefix, ReadsTheClockForATokenInAValueToo)
{
    kx::PrefixFields fields = SomeFields();
    EXPECT_FALSE(kx::PrefixTemplate("<%TNAME>").NeedsTime(fields));
    EXPECT_TRUE(kx::PrefixTemplate("<%MSEC>").NeedsTime(fields));
    fields.threadName = "<%YEAR>";
    EXPECT_TRUE(kx::PrefixTemplate("<%TNAME>").NeedsTime(fields));
    EXPECT_EQ(Prefix("<%TNAME>", fields), "2026 ");
}

TEST(FileStrip, KeepsTheLastComponents)
{
    const std::string longPath = std::string(3000, 'a') + "/b";

    const struct {
        const char* why;
        std::string path;
        unsigned level;
        std::string shown;
    } rows[] = {
        {"three components", "C:\\a\\b\\c\\d.cpp", 3, ".../b/c/d.cpp"},
        {"the whole path", "C:\\a\\d.cpp", 0, "C:/a/d.cpp"},
        {"no slash", "d.cpp", 3, "d.cpp"},
        {"nothing to gain within the first four characters", "abc/b/c/d.cpp", 3, "abc/b/c/d.cpp"},
        {"from the fifth on", "abcd/b/c/d.cpp", 3, ".../b/c/d.cpp"},
        {"a slash in front, level 1", "/d.cpp", 1, "d.cpp"},
        {"ends in a slash", "abcd/b/", 1, ""},
        {"cut at the limit", longPath, 1, std::string(kx::kMaxSourcePath, 'a')},
    };

    for (const auto& row : rows)
        EXPECT_EQ(kx::StrippedFile(row.path, row.level).View(), row.shown) << row.why;
}

TEST(TimeTokens, ExpandInFileNames)
{
    EXPECT_EQ(kx::ExpandFileTokens("C:\\t<%PID>_<%YEAR><%MONTH><%DAY>_<%MSEC>_<%PID>.log", 9,
                                   {2026, 1, 2, 3, 4, 5, 6}),
              "C:\\t9_20260102_006_<%PID>.log");
}

} // namespace
