// From the text of a configuration file to directives: lines, and each complaint. What directives mean shows
// in the settings' dump, in settings_test.cpp.
#include "Common_CPP/trace/directive_parser.h"
#include "Common_CPP/trace/line_reader.h"
#include "Tests/trace/recording_sink.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using kx::ParseOutcome;

TEST(DirectiveParser, RefusesWithTheRightComplaint)
{
    constexpr auto Illegal = ParseOutcome::NotADirective;
    constexpr auto Reported = ParseOutcome::Reported;

    const struct {
        const char* line;
        ParseOutcome outcome;
        const char* message; // after "D_Lib: ", without the line feed
    } rows[] = {
        {"fstrip@x", Illegal, "attempt to change file name stripping level to illegal value [x]"},
        {"fstrip@", Illegal, "attempt to change file name stripping level to illegal value []"},
        {"fstrip@ 0", Illegal, "attempt to change file name stripping level to illegal value [ 0]"},
        {"fstrip@2147483648", Illegal,
         "attempt to change file name stripping level to illegal value [2147483648]"},
        {"rotation@x@y", Illegal, "attempt to setting of rotated files number to illegal value [x]"},
        {"rotation@3@-5@p", Illegal, "attempt to setting of log file size limit to illegal value [-5]"},
        {"rotation@3@20000000000000000000", Illegal, // wraps to one that would be allowed
         "attempt to setting of log file size limit to illegal value [20000000000000000000]"},
        {"rotation@3@9223372036854775808", Illegal,
         "attempt to setting of log file size limit to illegal value [9223372036854775808]"},
        {"rotation@3", Illegal, nullptr},
        {"Print@file@x@all@on", Illegal, nullptr},
        {"fstrip", Illegal, nullptr},
        {"print@file@x@all", Reported, "illegal format of the print directive: [file@x@all]"},
        {"prefix@module@x@all@t", Reported, "illegal format of the prefix directive: [module@x@all@t]"},
        {"print@file@x@KXT_INFO@on", Reported,
         "illegal format of the print directive: [file@x@KXT_INFO@on] (level [KXT_INFO])"},
        {"prefix@file@x@300-100@t", Reported,
         "illegal format of the prefix directive: [file@x@300-100@t] (level [300-100])"},
        {"print@file@x@1-@on", Reported,
         "illegal format of the print directive: [file@x@1-@on] (level [1-])"},
        {"print@file@x@-5@on", Reported,
         "illegal format of the print directive: [file@x@-5@on] (level [-5])"},
        {"print@file@x@4294967296@on", Reported,
         "illegal format of the print directive: [file@x@4294967296@on] (level [4294967296])"},
        {"selftest@file@x@all@On", Reported,
         "illegal format of the selftest directive: [file@x@all@On] (flag [On])"},
        {"print@file@(@all@on", Reported,
         "illegal format of the print directive: [(] (illegal regular expression)"},
        {"indent@ab", Reported, "illegal filling of indent [indent@ab]"},
        {"stacktrace@on", Reported, "illegal stacktrace directive [stacktrace@on]"},
        {"stacktrace@a@b@c", Reported, "illegal stacktrace directive [stacktrace@a@b@c]"},
    };

    CkxRecordingSink sink;
    for (const auto& row : rows) {
        const auto result = kx::ParseDirective(row.line, sink);
        EXPECT_EQ(result.outcome, row.outcome) << row.line;
        EXPECT_FALSE(result.directive) << row.line;
        EXPECT_EQ(sink.Take(), row.message ? std::string("D_Lib: ") + row.message + "\n" : "") << row.line;
    }
}

std::string ReadAll(std::string_view text)
{
    std::string all;
    kx::LineReader reader(text);
    while (const auto line = reader.Next())
        all += std::to_string(line->number) + (line->isTooLong ? "!" : ":") + std::string(line->text) + ";";
    return all;
}

TEST(LineReader, GivesTheLinesThatSaySomething)
{
    struct Row {
        const char* why;
        std::string text;
        std::string expected;
    };

    const std::string longest(1023, 'x');
    const std::string mark = "\xEF\xBB\xBF";
    const Row rows[] = {
        {"nothing", "", ""},
        {"numbers count every line", "# c\n\n  \t\na\n#b\nc", "4:a;6:c;"},
        {"ends of both kinds", "a\r\nb\n\r\nc\r", "1:a;2:b;4:c;"},
        {"white space at the ends only", " \v\fa  b\t \n", "1:a  b;"},
        {"a comment behind white space", "  # a\nb", "2:b;"},
        {"a byte order mark", mark + "a\n" + mark + "b", "1:a;2:" + mark + "b;"},
        {"a byte order mark alone", mark, ""},
        {"a zero character", std::string("a\0b\n", 4), std::string("1:a\0b;", 6)},
        {"the longest line", longest + "\r\nb", "1:" + longest + ";2:b;"},
        {"one too long is cut and marked", longest + "yz\nb", "1!" + longest + ";2:b;"},
        {"white space makes a line too long", " " + longest, "1!" + longest + ";"},
        {"a long comment says nothing", "#" + longest + "\nb", "2:b;"},
        {"a long empty line says nothing", std::string(5000, ' ') + "\nb", "2:b;"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(ReadAll(row.text), row.expected) << row.why;
}

} // namespace
