#include "Common_CPP/trace/file_strip.h"
#include "Common_CPP/trace/level.h"
#include "Common_CPP/trace/prefix.h"

#include <gtest/gtest.h>

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

} // namespace
