// What rules find, where it is, and that nothing else is said about it; and findings as people, programs and
// a CI read them. The plainest fault of most rules is planted in the samples, which the reader's test looks
// at.

#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/lint_input.h"
#include "Tools/kx_gpsim/lint_json.h"
#include "Tools/kx_gpsim/lint_junit.h"
#include "Tools/kx_gpsim/lint_rules.h"
#include "Tools/kx_gpsim/lint_settings.h"
#include "Tools/kx_gpsim/lint_text.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <map>

namespace {

using std::string;
using testing::ElementsAre;
using testing::HasSubstr;

// The texts of a set's files: "GPO/scope/file", such as "base/machine/Policies.xml". The GPOs' names sort as
// they stand in the list.
using SetTexts = std::map<std::string, std::string>;

SetTexts CleanTexts()
{
    return {{"1 base/machine/ApplicationGroups.xml",
             R"(<ApplicationGroups version="5">
  <ApplicationGroup id="{G1}" name="Installers"/>
  <ApplicationGroup id="{G2}" name="Updates"/>
</ApplicationGroups>)"},
            {"1 base/machine/Policies.xml",
             R"(<GpoPolicies version="5">
  <Policy name="Block installers" gpid="{P1}" order="1" action="2">
    <ItemLevelTargeting><Filters><FilterUser name="*"/></Filters></ItemLevelTargeting>
    <Targets><ApplicationGroup id="{G1}"/></Targets>
  </Policy>
  <Policy name="Elevate updates" gpid="{P2}" order="99999" action="1">
    <Targets><ApplicationGroup id="{G2}"/></Targets>
  </Policy>
</GpoPolicies>)"},
            {"1 base/machine/Tokens.xml", R"(<Tokens version="5"/>)"},
            {"1 base/machine/RestrictionRules.xml", R"(<RestrictionRules version="7"/>)"},
            {"1 base/user/Policies.xml",
             R"(<GpoPolicies version="5">
  <Policy name="Greet" gpid="{P3}" order="1" action="10"><Configuration><A>1</A></Configuration></Policy>
</GpoPolicies>)"},
            {"2 dairy/machine/Policies.xml",
             R"(<GpoPolicies version="5">
  <Policy name="Milk" gpid="{P4}" order="1" action="1"/>
</GpoPolicies>)"}};
}

kx::PolicyFile FileOf(const std::string& name)
{
    for (const kx::PolicyFile file : {kx::PolicyFile::Policies, kx::PolicyFile::ApplicationGroups,
                                      kx::PolicyFile::Tokens, kx::PolicyFile::Gui, kx::PolicyFile::Migration})
        if (const std::wstring_view known = kx::PolicyFileName(file);
            std::equal(name.begin(), name.end(), known.begin(), known.end(),
                       [](char a, wchar_t b) { return static_cast<wchar_t>(a) == b; }))
            return file;
    return kx::PolicyFile::RestrictionRules;
}

// The set as the reader would hand it over.
kx::LintInput InputOf(const SetTexts& texts)
{
    kx::LintInput input;
    input.isKnownFilter = [](std::string_view name) { return name == "FilterUser"; };
    for (const auto& [path, text] : texts) {
        const std::size_t first = path.find('/');
        const std::size_t second = path.find('/', first + 1);
        const std::string gpo = path.substr(0, first);
        const kx::Scope scope = path.substr(first + 1, 4) == "user" ? kx::Scope::User : kx::Scope::Machine;
        if (input.gpos.empty() || input.gpos.back().name != gpo)
            input.gpos.push_back({gpo, gpo, gpo, {}});
        std::vector<kx::LintFolder>& folders = input.gpos.back().folders;
        if (folders.empty() || folders.back().scope != scope)
            folders.push_back({scope, path.substr(0, second), 1, {}});
        kx::LintFile file{FileOf(path.substr(second + 1)), path, std::nullopt, kx::ParseXmlTree(text)};
        EXPECT_TRUE(file.root) << path << " of the test is no XML: " << text;
        folders.back().files.push_back(std::move(file));
    }
    return input;
}

// "KX1101 2:3" of each finding.
std::vector<std::string> Ids(const kx::LintReport& report)
{
    std::vector<std::string> ids;
    for (const kx::LintFinding& finding : report.findings)
        ids.push_back(std::string(finding.rule->id) + ' ' + std::to_string(finding.line) + ':' +
                      std::to_string(finding.column));
    return ids;
}

constexpr const char* kPolicies = "1 base/machine/Policies.xml";
constexpr const char* kGroups = "1 base/machine/ApplicationGroups.xml";
constexpr const char* kDairy = "2 dairy/machine/Policies.xml";
constexpr const char* kMigration = "3 move/machine/Migration.xml";

struct Planted {
    const char* why;
    const char* file;
    const char* from; ///< what of the clean file is replaced; "": the whole file, which may be a new one
    const char* to;
    const char* ids; ///< of what is found; "": nothing
    const char* at;  ///< how the text goes on at the place that is named
};

constexpr Planted kPlanted[] = {
    {"no version", kPolicies, "GpoPolicies version=\"5\"", "GpoPolicies", "KX1003", "<GpoPolicies>"},
    {"a version with something behind it", kGroups, "version=\"5\"", "version=\"5.0\"", "KX1004", "version="},
    {"a number is read as the extension reads it", kPolicies, "version=\"5\"", "version=\" +5\"", "", ""},
    {"an order with a blank behind it", kPolicies, "order=\"1\"", "order=\"1 \"", "KX1102", "order=\"1 "},
    {"an empty order", kPolicies, "order=\"1\"", "order=\"\"", "KX1102", "order=\"\""},
    {"the first order of the next band", kPolicies, "order=\"99999\"", "order=\"100000\"", "KX1103",
     "order=\"1000"},
    {"below the band", kPolicies, "order=\"1\"", "order=\"-1\"", "KX1103", "order=\"-1"},
    {"an order that wraps into the band", kPolicies, "order=\"1\"", "order=\"4294967298\"", "KX1104",
     "order=\"42"},
    {"the same order, written in another way", kPolicies, "order=\"99999\"", "order=\"01\"", "KX1105",
     "order=\"01"},
    {"no name", kPolicies, " name=\"Elevate updates\"", "", "KX1202", "<Policy gpid=\"{P2}"},
    {"a gpid again, in another case", kPolicies, "{P2}", "{p1}", "KX1203", "gpid=\"{p1}"},
    {"a group whose id is written in another case", kPolicies, "Group id=\"{G2}\"", "Group id=\"{g2}\"",
     "KX1301", "id=\"{g2}"},
    {"a target without an id", kDairy, "/>", "><Targets>\n<ApplicationGroup/></Targets></Policy>", "KX1303",
     "<ApplicationGroup/>"},
    {"a group without an id", kGroups, "</App", "<ApplicationGroup name=\"X\"/></App", "KX1303",
     "<ApplicationGroup name=\"X"},
    {"a group defined twice", kGroups, "</App", "<ApplicationGroup name=\"X\" id=\"{G2}\"/></App", "KX1304",
     "id=\"{G2}\"/></App"},
    {"a group without a name", kGroups, " name=\"Updates\"", "", "KX1305", "<ApplicationGroup id=\"{G2}"},
    {"no action", kPolicies, " action=\"2\"", "", "KX1401", "<Policy name=\"Block"},
    {"a migration beside other files", "1 base/user/Migration.xml", "",
     R"(<AgentParameters version="5" setId="" dispatcherUrl="https://d/"/>)", "KX1501 KX1503", "<Agent"},
    {"a good migration", kMigration, "",
     R"(<AgentParameters version="9" setId="{S}" dispatcherUrl="https://d/"/>)", "KX1502", "<Agent"},
    {"another root", kMigration, "", R"(<Parameters version="5" setId="{S}" dispatcherUrl="https://d/"/>)",
     "KX1503", "<Param"},
    {"a migration that is not taken hides nothing", "1 base/user/Migration.xml", "",
     R"(<AgentParameters version="x" setId="{S}" dispatcherUrl="https://d/"/>)", "KX1004", "version"},
    {"one in a collection", kPolicies, "<FilterUser name=\"*\"/>",
     "<FilterCollection><FilterUser/><FilterMoon/></FilterCollection>", "KX1601", "<FilterMoon"},
    {"one without the element around filters", kPolicies, "<Filters><FilterUser name=\"*\"/></Filters>",
     "<FilterMoon/>", "KX1601", "<FilterMoon"},
    {"targeting of the GPO", kDairy, "<Policy name",
     "<ItemLevelTargeting><FilterMoon/></ItemLevelTargeting>\n<Policy name", "KX1601", "<FilterMoon"},
    {"targeting twice", kPolicies, "</ItemLevelTargeting>", "</ItemLevelTargeting><ItemLevelTargeting/>",
     "KX1602", "<ItemLevelTargeting/>"},
    {"names in two files", kDairy, "Milk", "greet", "KX1702", "name=\"greet"},
    {"an attribute in another case, which is not missing too", kPolicies, " order=\"1\"", " Order=\"1\"",
     "KX1703", "Order="},
    {"a policy that is commented out", kDairy, "<Policy name", "<!-- <Policy/> --><Policy name", "", ""},
};

SetTexts Plant(const Planted& planted)
{
    SetTexts texts = CleanTexts();
    string& text = texts[planted.file];
    const string from = planted.from;
    if (from.empty()) {
        text = planted.to;
        return texts;
    }
    const std::size_t at = text.find(from);
    EXPECT_NE(at, string::npos) << planted.why;
    text.replace(at, from.size(), planted.to);
    return texts;
}

string TextAt(const string& text, int line, int column)
{
    std::size_t start = 0;
    for (int i = 1; i < line; ++i)
        start = text.find('\n', start) + 1;
    return text.substr(start + static_cast<std::size_t>(column) - 1);
}

TEST(LintRules, FindEachPlantedFaultAlone)
{
    for (const Planted& planted : kPlanted) {
        SCOPED_TRACE(planted.why);
        const SetTexts texts = Plant(planted);
        string ids;
        for (const kx::LintFinding& finding : kx::Lint(InputOf(texts)).findings) {
            ids.append(ids.empty() ? "" : " ").append(finding.rule->id);
            EXPECT_EQ(finding.file, finding.rule->id == "KX1302" ? kGroups : planted.file);
            EXPECT_THAT(TextAt(texts.at(finding.file), finding.line, finding.column),
                        testing::StartsWith(planted.at));
        }
        EXPECT_EQ(ids, planted.ids);
    }
}

TEST(LintRules, AGpoAsAWhole)
{
    kx::LintInput input = InputOf(CleanTexts());
    input.gpos[1].folders[0].version = 0;
    EXPECT_THAT(Ids(kx::Lint(input)), ElementsAre("KX1006 0:0")) << "the engine leaves it out";

    input = InputOf(CleanTexts());
    input.gpos.push_back({"3 empty", "", "3 empty", {}});
    EXPECT_THAT(Ids(kx::Lint(input)), ElementsAre("KX1007 0:0"));

    input.gpos.back() = {"2 DAIRY", "", "2 DAIRY", {}};
    EXPECT_THAT(Ids(kx::Lint(input)), ElementsAre("KX1007 0:0", "KX1008 0:0")) << "names ignore case";
}

TEST(LintRules, AFileThatHasNoContentSaysNothingAboutOthers)
{
    kx::LintInput input = InputOf(CleanTexts());
    kx::LintFile& policies = input.gpos[0].folders[0].files[1];
    ASSERT_EQ(policies.path, kPolicies);
    policies.root.reset();
    policies.fault = kx::LintFault{false, {7, 3}, "a tag never ends"};
    EXPECT_THAT(Ids(kx::Lint(input)), ElementsAre("KX1001 7:3"))
        << "groups may be used by what cannot be read";

    input = InputOf(CleanTexts());
    kx::LintFile& groups = input.gpos[0].folders[0].files[0];
    groups.root.reset();
    groups.fault = kx::LintFault{true, {}, "Access denied"};
    EXPECT_THAT(Ids(kx::Lint(input)), ElementsAre("KX1002 0:0")) << "groups may be defined there";
}

TEST(LintRules, PoliciesOfTwoGposMeetOnlyWhereOneCrosses)
{
    SetTexts texts = CleanTexts();
    string& text = texts[kDairy];
    text.replace(text.find("order=\"1\""), 9, "order=\"100001\"");
    const kx::LintReport report = kx::Lint(InputOf(texts));
    EXPECT_THAT(Ids(report), ElementsAre("KX1103 2:35", "KX1106 2:35"));
    EXPECT_THAT(report.findings.back().message,
                testing::HasSubstr("line 2 of Policies.xml of 1 base (machine)"));
}

// ---- what is said of them ------------------------------------------------------------------------------

// An error in one file, a note in another whose name and text need care.
kx::LintReport SampleReport()
{
    SetTexts texts = CleanTexts();
    string& base = texts["1 base/machine/Policies.xml"];
    base.replace(base.find("action=\"2\""), 10, "action=\"&lt;\x1B&quot;&amp;\"");
    string& dairy = texts["2 dairy/machine/Policies.xml"];
    dairy.replace(dairy.find("{P4}"), 4, "{P2}");
    return kx::Lint(InputOf(texts));
}

TEST(LintText, IsALineAFindingAsBuildLogsKnowIt)
{
    const string text = kx::FormatLintText(SampleReport());
    EXPECT_THAT(text, HasSubstr("1 base/machine/Policies.xml:2:57: error: the action"));
    EXPECT_THAT(text, HasSubstr("[KX1402]\n2 dairy/machine/Policies.xml:2:23: note: "));
    EXPECT_THAT(text, HasSubstr("\n1 error, 0 warnings, 1 note in 6 files\n"));
    EXPECT_EQ(text.find('\x1B'), string::npos) << "what is in a file must not reach the terminal";
}

TEST(LintJson, TellsThePlaceAndThePage)
{
    const nlohmann::json json = nlohmann::json::parse(kx::FormatLintJson(SampleReport()));
    EXPECT_EQ(json["totals"]["errors"], 1);
    const nlohmann::json& finding = json["findings"][0];
    EXPECT_EQ(finding["id"], "KX1402");
    EXPECT_EQ(finding["line"], 2);
    EXPECT_EQ(finding["scope"], "machine");
    EXPECT_EQ(finding["page"], "Docs/lint.md#kx1402");
}

TEST(LintJUnit, IsXmlWithAFailureForWhatFails)
{
    const kx::LintReport report = SampleReport();
    const auto suiteOf = [&](kx::LintSeverity failOn) {
        const auto root = kx::ParseXmlTree(kx::FormatLintJUnit(report, failOn));
        return root ? root->children.at(0) : kx::XmlElement{};
    };
    EXPECT_EQ(suiteOf(kx::LintSeverity::Note).Value("failures"), "2");
    const kx::XmlElement suite = suiteOf(kx::LintSeverity::Warning);
    EXPECT_EQ(suite.Value("failures"), "1");
    EXPECT_EQ(suite.Value("tests"), "6") << "two findings, and four files without one";
    ASSERT_EQ(suite.children.size(), 6U);
    EXPECT_FALSE(suite.children[1].FirstChild("failure"));
    const kx::XmlElement* const failure = suite.children[0].FirstChild("failure");
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->Value("type"), "KX1402");
    EXPECT_THAT(string(failure->Value("message")), HasSubstr("<\xE2\x90\x9B\"&\" is no number"));
}

TEST(LintSettings, SilenceByIdAndByGpo)
{
    const std::pair<const char*, std::size_t> rows[] = {
        {"KX1402", 1}, {"kx1204", 1}, {"KX1402@1 BASE", 1}, {"KX1402@2 dairy", 2}};
    for (const auto& [silence, left] : rows) {
        kx::LintReport report = SampleReport();
        kx::Silence({kx::ParseSilence(silence)}, report);
        EXPECT_EQ(report.findings.size(), left) << silence;
        EXPECT_EQ(report.silenced, 2 - left) << silence;
    }
    EXPECT_THROW((void)kx::ParseSilence("KX9999"), kx::UsageError) << "a misspelt id must not be passed over";
}

TEST(LintSettings, FileSaysWhatIsSilentAndWhatFails)
{
    const kx::LintSettings settings =
        kx::ParseLintSettings(R"({ "lint": { "silence": ["KX1302"], "failOn": "error" } })", "x.json");
    ASSERT_EQ(settings.silence.size(), 1U);
    EXPECT_EQ(settings.silence[0].rule->id, "KX1302");
    EXPECT_FALSE(
        kx::HasAtLeast({{}, {{kx::FindLintRule("KX1302"), {}, {}, {}, {}, 0, 0, {}}}, 0}, settings.failOn));
    EXPECT_TRUE(kx::HasAtLeast(SampleReport(), settings.failOn));

    for (const char* const wrong :
         {"[]", "{}", R"({"lint": {"silence": "KX1302"}})", R"({"lint": {"silence": ["KX13"]}})",
          R"({"lint": {"failOn": "never"}})", R"({"lint": {"silense": []}})"})
        EXPECT_THROW((void)kx::ParseLintSettings(wrong, "x.json"), kx::UsageError) << wrong;
}

} // namespace
