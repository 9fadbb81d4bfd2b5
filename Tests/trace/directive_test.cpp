// From the text of a configuration file to directives: lines, numbers, grammar, and each complaint.
#include "Common_CPP/trace/config_number.h"
#include "Common_CPP/trace/directive_parser.h"
#include "Common_CPP/trace/line_reader.h"
#include "Tests/trace/recording_sink.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace {

using kx::ParseOutcome;

// What the other directives mean shows in the settings' dump, in settings_test.cpp.
TEST(DirectiveParser, TakesOutputsAsTheyAreWritten)
{
    CkxRecordingSink sink;
    const auto parsed = [&sink](const char* line) {
        const auto result = kx::ParseDirective(line, sink);
        EXPECT_TRUE(result.directive && result.outcome == ParseOutcome::Accepted) << line;
        return result.directive.value_or(kx::Dump());
    };
    EXPECT_EQ(std::get<kx::ToStream>(parsed("to_stream@nonsense")).name, "nonsense")
        << "outputs know the names";
    EXPECT_EQ(std::get<kx::ToAuxStream>(parsed("to_aux_stream@dbg")).name, "dbg");
    const auto file = std::get<kx::ToFile>(parsed("to_file@C:\\a b\\x@<%PID>.log"));
    EXPECT_TRUE(file.path == "C:\\a b\\x@<%PID>.log" && !file.truncate);
    EXPECT_TRUE(std::get<kx::ToFile>(parsed("to_new_file@x.log")).truncate);
    EXPECT_TRUE(std::holds_alternative<kx::Dump>(parsed("dump")));
    EXPECT_EQ(sink.Take(), "") << "confirmations are printed when a directive takes effect";
}

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

TEST(ConfigNumber, KeepsToItsMaximum)
{
    const std::pair<std::uint64_t, std::vector<const char*>> rows[] = {
        {5, {"7", "10"}}, {12, {"13"}}, {0x7FFFFFFFFFFFFFFF, {"9223372036854775808"}}};
    for (const auto& [max, tooLarge] : rows) {
        EXPECT_EQ(kx::ReadConfigNumber(std::to_string(max), max), max);
        for (const char* const text : tooLarge)
            EXPECT_EQ(kx::ReadConfigNumber(text, max), std::nullopt) << text;
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
