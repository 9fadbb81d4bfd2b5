// The configuration file comes, changes and goes while the program runs.
#include "Tests/trace/trace_fixture.h"

KXT_NO_CLASS;

namespace {

class ConfigFile : public TraceFixture {};

void SayDetail()
{
    KXT_OUT(KXT_TRACE, "detail");
}

void Say(std::uint32_t level, std::string_view text = "x")
{
    KXT_OUT_AT(level, text);
}

TEST_F(ConfigFile, IsReadAgainWhenItHasChangedAndTheIntervalIsOver)
{
    TickJump clock;
    ConfigureQuietly("print@file@@400@off\n");
    SayDetail();
    _m_folder.Write(L"trace.cfg", "print@file@@400@on\nprefix@file@@all@now:\n");
    SayDetail();
    EXPECT_EQ(Take(), "") << "not yet due";
    clock.Forward(5000);
    SayDetail();
    const auto lines = Lines(Take());
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[0], "------------------------------------------");
    EXPECT_NE(lines[1].find(" Configuration file [" + Narrow(ConfigPath()) + "]"), std::string::npos);
    EXPECT_EQ(lines[2], "D_Lib: reading configuration from " + Narrow(ConfigPath()) + "...");
    EXPECT_EQ(lines[3], "D_Lib: print for files [.*] and level [400] is turned on");
    EXPECT_EQ(lines[5], lines[0]);
    EXPECT_EQ(lines[6].substr(0, 11), "now: detail");
    clock.Forward(5000);
    SayDetail();
    EXPECT_EQ(Lines(Take()).size(), 1U) << "unchanged, it is not read again";
}

TEST_F(ConfigFile, WithRefreshZeroEveryStatementLooks)
{
    ConfigureQuietly("refresh@0\n");
    Say(KXT_INFO);
    EXPECT_EQ(Take(), "x\n");
    _m_folder.Write(L"trace.cfg", "prefix@file@@all@now:\n");
    Say(KXT_INFO);
    EXPECT_TRUE(Take().ends_with("\nnow: x\n"));
    ASSERT_TRUE(::DeleteFileW(ConfigPath().c_str()));
    Say(KXT_INFO);
    EXPECT_NE(Take().find("trace_config_file_test.cpp("), std::string::npos)
        << "its rules went with the file";
}

TEST_F(ConfigFile, ABadLineCostsItselfOnly)
{
    Configure("nonsense\nprefix@file@@all@p:\ndump\n");
    Say(KXT_INFO);
    const std::string text = Take();
    EXPECT_NE(text.find("D_Lib: configuration file " + Narrow(ConfigPath()) +
                        " contains illegal line [nonsense]\n"),
              std::string::npos);
    EXPECT_NE(text.find("\nprefix@file@.*@all@p:\n"), std::string::npos) << "the dump shows it";
    EXPECT_TRUE(text.ends_with("\np: x\n")) << text;
}

TEST_F(ConfigFile, OneThatCannotBeOpenedIsReportedAndItsRulesGo)
{
    const CkxFileHandle held(
        ::CreateFileW(ConfigPath().c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(held);
    D_SetConfigFile(ConfigPath());
    EXPECT_EQ(Take(), "D_Lib: failed to open file " + Narrow(ConfigPath()) + "\n");
}

TEST_F(ConfigFile, AThreadWithoutFileOperationsLeavesItAlone)
{
    TickJump clock;
    _m_folder.Write(L"trace.cfg", "prefix@file@@all@now:\n");
    clock.Forward(60000);
    {
        const D_NoFileOperations_c outer;
        const D_NoFileOperations_c inner;
        Say(KXT_INFO);
        D_SetConfigFile(_m_folder / L"other.cfg");
        EXPECT_FALSE(D_ToStream("dbg", true));
        EXPECT_FALSE(D_ToFile(TracePathText()));
        EXPECT_FALSE(D_Directive("to_file@" + TracePathText()));
    }
    EXPECT_EQ(Take(), "x\n");
    Say(KXT_INFO);
    EXPECT_TRUE(Take().ends_with("\nnow: x\n"));
}

} // namespace
