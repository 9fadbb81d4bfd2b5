// What directives bring about, what the library says meanwhile, and the dump that can be read again.
#include "Common_CPP/trace/directive_parser.h"
#include "Common_CPP/trace/level.h"
#include "Common_CPP/trace/line_reader.h"
#include "Common_CPP/trace/settings.h"
#include "Common_CPP/trace/settings_dump.h"
#include "Tests/trace/recording_sink.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>

namespace {

using kx::ScopeKind;

/// Settings that are fed with configuration text.
class Settings : public testing::Test {
  protected:
    // Lets all lines take effect.
    void Read(std::string_view text)
    {
        kx::LineReader reader(text);
        while (const auto line = reader.Next()) {
            const auto result = kx::ParseDirective(line->text, sink);
            if (line->isTooLong || !result.directive)
                kx::messages::IllegalLine(sink, "x.cfg", line->text);
            else
                (void)kx::Apply(settings, *result.directive, line->number, sink);
        }
    }

    [[nodiscard]] std::string Dump(const kx::OutputState& outputs = {}) const
    {
        CkxRecordingSink dump;
        kx::DumpSettings(settings, outputs, dump);
        return dump.Take();
    }

    [[nodiscard]] bool Prints(std::string_view fileBase, std::uint32_t level) const
    {
        kx::RuleSubject subject;
        subject.fileBase = fileBase;
        subject.level = level;
        const bool* flag = settings.printRules.Find(subject);
        return flag == nullptr || *flag;
    }

    kx::Settings settings;
    CkxRecordingSink sink;
};

TEST_F(Settings, ConfirmsEachDirectiveInItsWords)
{
    const std::pair<const char*, const char*> rows[] = {
        {"fstrip@2", "D_Lib: file name strip level changed to 2\n"},
        {"refresh@10", "D_Lib: refresh interval changed to 10\n"},
        {"rotation@0@500", "D_Lib: log file size is limited by 500 bytes\n"},
        {"rotation@3@1048576",
         "D_Lib: log file will be rotated on size 1048576 bytes, 3 log files will be saved\n"},
        {"rotation@off", "D_Lib: log file rotation turned off\n"},
        {"indent@  @", ""},
        {"stacktrace@in@out", "D_Lib: stack tracing is turned on, enter [in] leave [out]\n"},
        {"stacktrace@off", "D_Lib: stack tracing is turned off\n"},
        {"print@file@gp_xml@400@on", "D_Lib: print for files [gp_xml] and level [400] is turned on\n"},
        {"print@class@@all@0", "D_Lib: print for classes [.*] and level [all] is turned off\n"},
        {"selftest@stack@Send@5@yes", "D_Lib: selftest for stacks [Send] and level [5] is turned on\n"},
        {"prefix@file@x@@<%TID> ", "D_Lib: prefix for files [x] and level [all] is changed to [<%TID>]\n"},
        {"print@file@x@8-10@on", "D_Lib: print for files [x] and level [8] is turned on\n"
                                 "D_Lib: print for files [x] and level [9] is turned on\n"
                                 "D_Lib: print for files [x] and level [10] is turned on\n"},
        {"print@file@x@0-1000@on", "D_Lib: print for files [x] and level [0-1000] is turned on\n"},
        {"prefix@file@x@0-4294967295@p",
         "D_Lib: prefix for files [x] and level [0-4294967295] is changed to [p]\n"},
        {"nonsense", "D_Lib: configuration file x.cfg contains illegal line [nonsense]\n"},
        {"fstrip@x", "D_Lib: attempt to change file name stripping level to illegal value [x]\n"
                     "D_Lib: configuration file x.cfg contains illegal line [fstrip@x]\n"},
    };
    for (const auto& [line, said] : rows) {
        Read(line);
        EXPECT_EQ(sink.Take(), said) << line;
    }
    EXPECT_EQ(settings.stripLevel, 2U) << "the illegal line changed nothing";
    Read("print@file@x@1-1000@on");
    const std::string thousand = sink.Take();
    EXPECT_EQ(std::count(thousand.begin(), thousand.end(), '\n'), 1000);
}

TEST_F(Settings, TheSameRotationAgainIsNoChange)
{
    Read("rotation@3@100@a<%NUM>");
    sink.Take();
    const auto before = settings.generation;
    Read("rotation@3@100@a<%NUM>");
    EXPECT_EQ(settings.generation, before);
    Read("rotation@3@100@b<%NUM>");
    EXPECT_EQ(sink.Take(), "") << "limits unchanged";
    EXPECT_EQ(settings.rotation->pattern, "b<%NUM>");
    Read("rotation@off\nrotation@3@100@b<%NUM>");
    EXPECT_NE(sink.Take().find("3 log files"), std::string::npos) << "turning it on again is a change";
}

TEST_F(Settings, ProgramRulesOutrankTheFileAndOutliveIt)
{
    const auto before = settings.generation;
    kx::AddBuiltInRules(settings, sink);
    EXPECT_GT(settings.generation, before);
    Read("print@file@.*@300@off\nprint@file@gp_xml@400@on\nprint@file@.*@500@off\nprint@file@gp_xml@500@on");
    EXPECT_TRUE(Prints("gp_xml", KXT_INFO)) << "errors, warnings and information always print";
    EXPECT_TRUE(Prints("gp_xml", KXT_VERBOSE)) << "the later line decides";
    EXPECT_FALSE(Prints("gp_utils", KXT_VERBOSE));

    kx::ClearFileRules(settings, sink);
    Read("print@file@.*@all@off");
    EXPECT_TRUE(Prints("gp_xml", KXT_ERROR));
    EXPECT_FALSE(Prints("gp_xml", KXT_VERBOSE));
    EXPECT_TRUE(kx::AddProgramRule(settings, ScopeKind::File, "", kx::LevelRange::One(100), false, sink));
    EXPECT_FALSE(Prints("gp_xml", KXT_ERROR)) << "of two program rules the later one decides";
}

TEST_F(Settings, ProgramRulesAreConfirmedLikeThoseOfTheFile)
{
    EXPECT_TRUE(kx::AddProgramRule(settings, ScopeKind{7}, "x", {}, true, sink));
    EXPECT_FALSE(kx::AddProgramRule(settings, ScopeKind::File, "(", {}, true, sink));
    EXPECT_EQ(sink.Take(),
              "D_Lib: print for <unknown scope> [x] and level [all] is turned on\n"
              "D_Lib: illegal format of the print directive: [(] (illegal regular expression)\n");
    EXPECT_EQ(settings.printRules.Rules().size(), 1U);
}

TEST_F(Settings, DefaultPrefixGivesWayToAnyRuleOfTheFile)
{
    const auto prefixOf = [this](std::string_view file) {
        kx::RuleSubject subject;
        subject.fileBase = file;
        const kx::PrefixTemplate* found = settings.prefixRules.Find(subject);
        return found ? found->Text() : "none";
    };
    kx::ClearFileRules(settings, sink);
    EXPECT_EQ(prefixOf("a"), "<%PID>:<%FILE>(<%LINE>):");
    Read("prefix@file@a@@mine");
    EXPECT_EQ(prefixOf("a"), "mine");
    kx::ClearFileRules(settings, sink);
    EXPECT_EQ(prefixOf("a"), "<%PID>:<%FILE>(<%LINE>):");
    EXPECT_EQ(settings.prefixRules.Rules().size(), 1U);
}

TEST_F(Settings, ScalarsOutliveTheFileRules)
{
    EXPECT_EQ(Dump(), "# --- Dump of D_lib settings ---\nrefresh@5\nfstrip@3\nrotation@off\nindent@@\n"
                      "stacktrace@off\n# --- End of dump ---\n")
        << "the defaults";
    Read("fstrip@1\nrefresh@9\nrotation@2@5\nindent@.@\nstacktrace@a@b");
    kx::ClearFileRules(settings, sink);
    EXPECT_EQ(Dump(),
              "# --- Dump of D_lib settings ---\nrefresh@9\nfstrip@1\nrotation@2@5\nindent@.@\n"
              "prefix@file@.*@all@<%PID>:<%FILE>(<%LINE>):\nstacktrace@a@b@\n# --- End of dump ---\n");
}

TEST_F(Settings, DumpShowsWhereOutputGoes)
{
    const auto shows = [&](const kx::OutputState& outputs, const std::string& lines) {
        return Dump(outputs).find("stacktrace@off\n" + lines + "\n#") != std::string::npos;
    };
    EXPECT_TRUE(shows({"err", "", ""}, "to_stream@err"));
    EXPECT_TRUE(shows({"dbg", "out", ""}, "to_stream@dbg\nto_aux_stream@out"));
    EXPECT_TRUE(shows({"", "err", "C:\\<%PID>.trace"}, "to_aux_stream@err\nto_file@C:\\<%PID>.trace"));
}

TEST_F(Settings, DumpSaysWhatALineMeans)
{
    const std::pair<const char*, const char*> rows[] = {
        {"fstrip@12abc", "fstrip@12"}, // the digits at the beginning count
        {"fstrip@ +7", "fstrip@7"},
        {"fstrip@2147483647", "fstrip@2147483647"},
        {"refresh@0060", "refresh@60"},
        {"rotation@0@9223372036854775807@", "rotation@0@9223372036854775807"},
        {"rotation@1@0@old_<%NUM>@<%YEAR>", "rotation@1@0@old_<%NUM>@<%YEAR>"},
        {"print@file@@all@1", "print@file@.*@all@on"},
        {"print@class@Ckx@@no", "print@class@Ckx@all@off"},
        {"print@stack@.*@1001-3000@yes", "print@stack@.*@1001-3000@on"},
        {"selftest@file@x@4294967295@0", "selftest@file@x@4294967295@off"},
        {"prefix@file@x@7-7@a@b<%LINE>@", "prefix@file@x@7@a@b<%LINE>@"}, // a template may hold "@"
        {"prefix@class@@@", "prefix@class@.*@all@"},
        {"indent@ | @", "indent@ | @"},
        {"indent@ab@cd", "indent@ab@"},
        {"stacktrace@> @< @", "stacktrace@> @< @"},
        {"stacktrace@off@x", "stacktrace@off@x@"},
    };
    for (const auto& [line, meant] : rows) {
        settings = {};
        Read(line);
        EXPECT_NE(Dump().find("\n" + std::string(meant) + "\n"), std::string::npos) << line << Dump();
    }
}

// Any settings whose lines are not as long as a line may be, the fuzz target checks.
TEST_F(Settings, DumpOfTheLongestLinesReadAgainGivesTheSame)
{
    const std::string longText(1023, 'x');
    const auto fill = [&](const std::string& line) { return line + longText.substr(line.size()); };
    const std::string shorthand = "print@file@@@1";
    const std::string texts[] = {
        fill("prefix@file@@@"), // with ".*" and "all" the line would be too long to be read again
        fill("stacktrace@in@"), // the same with a closing "@"
        fill("rotation@1@2@"),
        "print@file@" + std::string(1023 - shorthand.size(), 'y') + "@@1",
    };
    for (const std::string& text : texts) {
        settings = {};
        Read(text);
        const std::string first = Dump();
        settings = {};
        Read(first);
        EXPECT_EQ(Dump(), first) << text;
        EXPECT_EQ(sink.Take().find("illegal"), std::string::npos) << first;
    }
}

TEST_F(Settings, DumpKeepsTheOrderInWhichRulesDecide)
{
    ASSERT_TRUE(kx::AddProgramRule(settings, ScopeKind::File, "prog", {}, true, sink));
    Read("print@file@prog@all@off\nprint@file@.*@8-9@off");
    EXPECT_NE(Dump().find("print@file@prog@all@off\nprint@file@.*@8@off\nprint@file@.*@9@off\n"
                          "print@file@prog@all@on\n"),
              std::string::npos)
        << Dump();
}

TEST_F(Settings, DumpHidesFromTheReaderWhatItCannotExpress)
{
    ASSERT_TRUE(kx::AddProgramRule(settings, ScopeKind::File, "a@b", {}, false, sink));
    ASSERT_TRUE(kx::AddProgramRule(settings, ScopeKind{0}, "c", {}, false, sink));
    ASSERT_TRUE(kx::AddProgramRule(settings, ScopeKind::File, std::string(1500, 'd'), {}, false, sink));
    const std::string dump = Dump();
    EXPECT_NE(dump.find("# print@file@a@b@all@off\n"), std::string::npos) << dump;
    sink.Take();
    settings = {};
    Read(dump);
    EXPECT_TRUE(settings.printRules.Rules().empty());
    EXPECT_EQ(sink.Take().find("illegal"), std::string::npos);
}

TEST_F(Settings, EveryChangeMakesCachedDecisionsStale)
{
    for (const char* line : {"fstrip@3", "rotation@1@1", "rotation@off", "indent@x@", "stacktrace@a@b",
                             "stacktrace@off", "print@file@x@1@on", "prefix@file@x@1@p"}) {
        const auto before = settings.generation;
        Read(line);
        EXPECT_GT(settings.generation, before) << line;
    }
}

TEST(Messages, SayWhatOtherTestsCannotBringAbout)
{
    namespace say = kx::messages;
    using Sink = kx::MessageSink;
    const std::pair<std::function<void(Sink&)>, const char*> rows[] = {
        {[](Sink& s) { say::FlagMissing(s, "b.cpp", nullptr, KXT_NO_LEVEL); },
         "D_Lib: could not find flag for: file [b.cpp], level [4294967295] - assumed value 1\n"},
        {[](Sink& s) { say::FormatMissing(s, "b.cpp", "", 300); },
         "D_Lib: could not find format for: file [b.cpp], class [], level [300] - assumed default format\n"},
        {[](Sink& s) { say::NoFileOperations(s, 0xFFFFFFFF); },
         "D_Lib: no file operations (delete/create/etc.) in thread <no thread>\n"},
        {[](Sink& s) { say::TlsAllocFailed(s); },
         "D_Lib: TlsAlloc() failed - thread safe support disabled\n"},
        {[](Sink& s) { say::TlsSetValueFailed(s); },
         "D_Lib: TlsSetValue() failed - thread safe support disabled\n"},
        {[](Sink& s) { say::TlsGetValueFailed(s); },
         "D_Lib: TlsGetValue() failed - thread safe support disabled\n"},
        {[](Sink& s) { say::OperatorNewFailed(s); }, "D_Lib: operator new failed\n"},
        {[](Sink& s) { say::InternalError(s); }, "D_Lib: internal error\n"},
        {[](Sink& s) { say::IllegalTeeBuffer(s); },
         "D_Lib: illegal zero buffer pointer in tee-stream - internal error\n"},
    };
    for (const auto& [print, expected] : rows) {
        CkxRecordingSink sink;
        print(sink);
        EXPECT_EQ(sink.Take(), expected);
        EXPECT_EQ(sink.Calls(), 1) << expected;
    }
    CkxRecordingSink sink;
    const std::string path(20000, 'p');
    say::CannotOpenOutputFile(sink, path);
    EXPECT_EQ(sink.Take(), "D_Lib: cannot open output file [" + path + "]\n") << "nothing of it is lost";
}

} // namespace
