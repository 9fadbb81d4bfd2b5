// What stands for a value that is not there, and which components of a path stay. What a template of any text
// means, the fuzz target checks.
#include "Common_CPP/trace/file_strip.h"
#include "Common_CPP/trace/level.h"
#include "Common_CPP/trace/prefix.h"
#include "Common_CPP/trace/text_builder.h"

#include <gtest/gtest.h>

namespace {

std::string Prefix(const std::string& text, const kx::PrefixFields& fields)
{
    kx::FixedText<200> prefix;
    kx::PrefixTemplate(text).Write(prefix, fields);
    return std::string(prefix.View());
}

TEST(Prefix, ShowsFields)
{
    kx::PrefixFields fields;
    fields.processId = 12;
    fields.threadId = 34;
    fields.time = {2026, 3, 4, 5, 6, 7, 8};
    fields.file = ".../b/c/d.cpp";
    fields.line = 56;
    fields.level = 300;
    EXPECT_EQ(Prefix("<%PID>:<%FILE>(<%LINE>):", fields), "12:.../b/c/d.cpp(56): ");
    EXPECT_EQ(Prefix("<%YEAR>-<%MONTH>-<%DAY> <%HOUR>:<%MIN>:<%SEC>.<%MSEC>", fields),
              "2026-03-04 05:06:07.008 ");
    EXPECT_EQ(Prefix("<%STACK> <%CLASS> <%TNAME> <%LEVEL> <%INDENT>x", fields),
              "<no stack name> <no class name> 34 KXT_INFO x ");
    fields.level = KXT_NO_LEVEL;
    fields.threadId = 0xFFFFFFFF;
    EXPECT_EQ(Prefix("<%LEVEL> <%TID>", fields), "<no level> <no thread> ");
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
