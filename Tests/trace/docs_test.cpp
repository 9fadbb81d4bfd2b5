// What Docs/tracing.md shows an administrator works as it is printed there.
#include "Tests/trace/trace_fixture.h"

KXT_NO_CLASS;

namespace {

// The folder that the examples write to; here it is a folder of the test.
constexpr std::string_view kExampleFolder = "C:\\ProgramData\\Korvex";

std::vector<std::vector<std::string>> Examples()
{
    std::vector<std::vector<std::string>> examples;
    bool inside = false;
    for (const std::string& line : Lines(ReadBytes(KX_SOURCE_DIR L"\\Docs\\tracing.md"))) {
        if (line == "```kxtrace")
            examples.emplace_back();
        else if (inside && line != "```")
            examples.back().push_back(line);
        inside = line == "```kxtrace" || (inside && line != "```");
    }
    return examples;
}

class Docs : public TraceFixture {
  protected:
    /// What the library says to one line of the file, until output goes elsewhere.
    std::string Try(std::string line)
    {
        if (const std::size_t at = line.find(kExampleFolder); at != std::string::npos)
            line.replace(at, kExampleFolder.size(), Narrow(_m_folder.Path()));
        D_ToGeneric(nullptr, nullptr);
        SetUp();
        ConfigureQuietly("");
        _m_folder.Write(L"trace.cfg", line + "\n");
        D_SetConfigFile(ConfigPath());
        return Take();
    }
};

TEST_F(Docs, EveryExampleIsUnderstood)
{
    const auto examples = Examples();
    ASSERT_GE(examples.size(), 13U);
    for (const auto& example : examples)
        for (const std::string& line : example) {
            const std::string said = Try(line);
            EXPECT_NE(said.find("reading configuration"), std::string::npos) << line;
            EXPECT_EQ(said.find("illegal"), std::string::npos) << said;
            EXPECT_EQ(said.find("cannot"), std::string::npos) << said;
        }
    EXPECT_NE(Try("fstripe@1").find("illegal"), std::string::npos) << "a mistake would have been seen";
    EXPECT_NE(Try("to_file@C:\\none\\none\\x").find("cannot"), std::string::npos) << "and this one";
}

TEST_F(Docs, TheFirstExampleDoesWhatItSays)
{
    std::string config;
    const auto examples = Examples();
    for (const std::string& line : examples.at(0))
        config += line + "\n";
    ConfigureQuietly(config);
    const auto prints = [&](const char* file, std::uint32_t level) {
        D_CallSite_c site{file, 1, nullptr, level};
        D_Print(site, [](D_Line_c& line) { line << "x"; });
        return !Take().empty();
    };
    EXPECT_TRUE(prints("a/gp_xml_load.cpp", 610));
    EXPECT_FALSE(prints("a/gp_pipe.cpp", 610));
    EXPECT_TRUE(prints("a/gp_pipe.cpp", 300));
}

} // namespace
