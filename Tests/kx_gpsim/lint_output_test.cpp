// Findings as people, programs and a CI read them, and what is silenced.

#include "Tests/kx_gpsim/lint_clean_set.h"
#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/lint_json.h"
#include "Tools/kx_gpsim/lint_junit.h"
#include "Tools/kx_gpsim/lint_settings.h"
#include "Tools/kx_gpsim/lint_text.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace {

using namespace kx_test;
using std::string;
using testing::HasSubstr;

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
    for (const auto& [failOn, failures] :
         {std::pair(kx::LintSeverity::Warning, 1), {kx::LintSeverity::Note, 2}}) {
        const auto root = kx::ParseXmlTree(kx::FormatLintJUnit(report, failOn));
        ASSERT_TRUE(root);
        ASSERT_EQ(root->name, "testsuites");
        const kx::XmlElement& suite = root->children.at(0);
        EXPECT_EQ(suite.Value("failures"), std::to_string(failures));
        EXPECT_EQ(suite.Value("tests"), std::to_string(suite.children.size()));
        EXPECT_EQ(suite.children.size(), 6U) << "two findings, and four files without one";
        const auto failed = std::count_if(suite.children.begin(), suite.children.end(),
                                          [](const auto& each) { return each.FirstChild("failure"); });
        EXPECT_EQ(failed, failures);
        const kx::XmlElement* const failure = suite.children.at(0).FirstChild("failure");
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->Value("type"), "KX1402");
        EXPECT_EQ(failure->Value("message"),
                  report.findings[0].message.substr(0, 12) + "<\xE2\x90\x9B\"&\" is no number");
    }
}

TEST(LintSettings, SilenceByIdAndByGpo)
{
    struct Case {
        const char* silence;
        std::size_t left;
    };

    for (const Case& each : {Case{"KX1402", 1}, {"kx1204", 1}, {"KX1402@1 BASE", 1}, {"KX1402@2 dairy", 2}}) {
        kx::LintReport report = SampleReport();
        kx::Silence({kx::ParseSilence(each.silence)}, report);
        EXPECT_EQ(report.findings.size(), each.left) << each.silence;
        EXPECT_EQ(report.silenced, 2 - each.left) << each.silence;
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
