// What is told of one policy or GPO.

#include "Tests/kx_gpsim/sample_run.h"
#include "Tools/kx_gpsim/explain_text.h"

#include <gmock/gmock.h>

namespace {

using namespace kx_test;
using kx::Fate;
using kx::Step;
using std::string;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr const char* kLab = "{44444444-0000-0000-0000-000000000004}";
constexpr const char* kCold = "{55555555-0000-0000-0000-000000000005}";
constexpr const char* kNext = "{66666666-0000-0000-0000-000000000006}";

string Line(const string& file, const string& message)
{
    return "32:.../engine/kx_gpext/" + file + "(1): " + message;
}

void AddHeading(kx::PassResult& pass, std::size_t gpo)
{
    const kx::GpoInput& input = pass.gpos[gpo].gpo;
    pass.trace.push_back(Line("kx_gpo.cpp", "INFO:    * Display Name: " + input.displayName));
    pass.trace.push_back(Line("kx_gpo.cpp", "INFO:      Unique Name : " + input.name));
    pass.trace.push_back(Line("kx_gpo.cpp", "INFO:      Link        : " + input.link));
}

// The sample's pass with a trace, and with GPOs that go no further than their targeting, loading and version.
kx::PassResult TracedPass()
{
    kx::PassResult pass = MachinePass();
    pass.gpos.push_back(Gpo(kLab, "Laboratory", "", 3));
    pass.gpos.back().excluded = {{"", "<FilterUser/>"}};
    pass.gpos.push_back(Gpo(kCold, "Cold room", "", 4));
    pass.gpos.back().complaints = {{"error", "Policies.xml", 3, 7, "a tag is not closed"}};
    pass.gpos.push_back(Gpo(kNext, "Next year", "", 5));
    pass.gpos.back().complaints = {{"error", "Policies.xml", 0, 0, "version 6 is not supported, only 5 is"}};

    const auto say = [&](const char* file, const char* message) {
        pass.trace.push_back(Line(file, message));
    };
    say("gp_xml.cpp", "INFO: Flags = MACHINE");
    say("gp_xml.cpp", "INFO:    DeletedGPOList:");
    AddHeading(pass, 2);
    say("gp_xml.cpp", "INFO:    ChangedGPOList:");
    AddHeading(pass, 0);
    say("rsop_log.cpp", "INFO: RSOP_KxTesmorPolicySetting created. Name=[Run the press], ID={A}");
    say("gp_xml_targeting.cpp", "INFO: policy [No games] not allowed by ILT: Fernhill baseline");
    AddHeading(pass, 1);
    say("gp_xml_targeting.cpp", "ERROR: Failed to load library [x.dll");
    say("rsop_log.cpp", "INFO: RSOP_KxTesmorPolicySetting created. Name=[Run the press faster], ID={a}");
    AddHeading(pass, 3);
    say("gp_xml.cpp", "INFO: GPO not allowed by ILT: Laboratory");
    AddHeading(pass, 4);
    say("gp_xml_load.cpp", "ERROR: Failed to load the policy files of GPO Cold room");
    AddHeading(pass, 5);
    say("gp_xml_merge.cpp", "ERROR: Unsupported version found in XML. Versions: 6, 5, 5, 5.");
    say("rsop_log.cpp", "INFO: RSOP_KxTesmorConfig created. Path=[/Configuration/Ui/Colour], Value=[green]");
    say("gp_process.cpp", "INFO: GP update sent to agent.");
    pass.gpos[1].letThrough = {{"Run the press faster", "the library is not there"}};
    return pass;
}

std::vector<kx::FiledPolicy> Files()
{
    return {{0, 0, "Run the press", "{A}"},
            {0, 0, "No games", "{D}"},
            {0, 3, "Analyse lactose", "{E}"},
            {0, 5, "Defrost", "{F}"},
            {0, 1, "Written since", "{C}"}};
}

std::vector<kx::Explanation> ExplainIn(const kx::PassResult& pass, const string& name)
{
    const kx::RunResult run{{pass}, ""};
    return kx::Explain(run, kx::MakeReport(run), Files(), name);
}

string TextOf(const kx::PassResult& pass, const string& name)
{
    const kx::RunResult run{{pass}, ""};
    const kx::Report report = kx::MakeReport(run);
    return kx::FormatExplanations(report, kx::Explain(run, report, {}, name));
}

TEST(Explain, TellsTheFateAndTheStep)
{
    const struct {
        const char* name;
        const char* found; ///< the name in the answer
        Fate fate;
        Step step;
        const char* why;
        const char* line; ///< of the trace that is told
        const char* not_; ///< of the trace that is about something else
    } rows[] = {
        {"no GAMES", "No games", Fate::Excluded, Step::PolicyTargeting, "no such group", "[No games]",
         "press"},
        {"run the press", "Run the press", Fate::Taken, Step::Sending,
         "1000100007; of the policies with its id [Run the press faster] of Dairy has the lowest, 1000000007",
         "Name=[Run the press],", "faster"},
        {"Run the press faster", "Run the press faster", Fate::LetThrough, Step::PolicyTargeting, "not there",
         "Failed to load library", "No games"},
        {"Dairy settings", "Dairy settings", Fate::Taken, Step::Sending, "order 1000000009",
         "Path=[/Configuration/Ui/Colour]", "Name="},
        {"Analyse lactose", "Analyse lactose", Fate::Excluded, Step::GpoTargeting, "<FilterUser/>",
         "GPO not allowed by ILT", "press"},
        {"{F}", "Defrost", Fate::Stopped, Step::Version, "version 6", "Unsupported version", "press"},
        {"Written since", "Written since", Fate::Stopped, Step::Sending, "another by now", "Dairy",
         "[No games]"},
        {"cold ROOM", "Cold room", Fate::Stopped, Step::Load, "Policies.xml:3:7: a tag is not closed",
         "Failed to load the policy files", "press"},
        {"Laboratory", "Laboratory", Fate::Excluded, Step::GpoTargeting, "<FilterUser/>",
         "not allowed by ILT", "Cold"},
        {"Fernhill baseline", "Fernhill baseline", Fate::Taken, Step::Sending, "2 policies taken, 1 excluded",
         "[No games]", "Dairy"},
        {kOld, kOld, Fate::Deleted, Step::Call, "listed it as deleted", "", "press"},
    };

    for (const auto& row : rows) {
        const std::vector<kx::Explanation> found = ExplainIn(TracedPass(), row.name);
        ASSERT_EQ(found.size(), 1U) << row.name;
        EXPECT_EQ(found[0].name, row.found);
        EXPECT_EQ(kx::FateText(found[0].fate), kx::FateText(row.fate)) << row.name;
        EXPECT_EQ(kx::StepText(found[0].step), kx::StepText(row.step)) << row.name;
        EXPECT_THAT(found[0].why, HasSubstr(row.why)) << row.name;
        string lines;
        for (const kx::ExplainedLine& line : found[0].trace)
            lines += line.text + '\n';
        EXPECT_THAT(lines, HasSubstr(row.line)) << row.name;
        EXPECT_THAT(lines, Not(HasSubstr(row.not_))) << row.name;
    }
}

TEST(Explain, TellsAllThatAreCalledSo)
{
    EXPECT_THAT(ExplainIn(TracedPass(), "{a}"), SizeIs(2)) << "one id, two policies";
    EXPECT_THAT(ExplainIn(TracedPass(), ""), IsEmpty()) << "policies without an id are not called so";
    EXPECT_THAT(ExplainIn(TracedPass(), "games"), IsEmpty());

    kx::RunResult run{{TracedPass(), TracedPass()}, ""};
    run.passes[1].scope = kx::Scope::User;
    const kx::Report report = kx::MakeReport(run);
    EXPECT_THAT(kx::Explain(run, report, {}, "Dairy"), SizeIs(2)) << "in both passes";
    EXPECT_THAT(kx::SimilarNames(report, Files(), "games"), ElementsAre("No games"));
}

TEST(Explain, StopsWhatIsNotSent)
{
    kx::PassResult pass = TracedPass();
    pass.policies.clear();
    pass.delivered = false;
    pass.code = 1252;
    const kx::Explanation unsent = ExplainIn(pass, "Dairy").at(0);
    EXPECT_TRUE(unsent.fate == Fate::Stopped && unsent.step == Step::Sending);
    EXPECT_THAT(unsent.why, HasSubstr("the agent was not reached"));

    pass = TracedPass();
    pass.policies.clear();
    for (kx::GpoOutcome& outcome : pass.gpos)
        outcome.taken = 0;
    pass.gpos[1].migration = true;
    const kx::Explanation migrated = ExplainIn(pass, "Dairy").at(0);
    EXPECT_TRUE(migrated.fate == Fate::Taken && migrated.step == Step::Migration);
    for (const char* const hidden : {"Written since", "Fernhill baseline"})
        EXPECT_EQ(ExplainIn(pass, hidden).at(0).fate, Fate::Stopped) << "the command hides " << hidden;
    EXPECT_THAT(ExplainIn(pass, "Written since")[0].why, HasSubstr("migration command was taken"));
}

TEST(Explain, OfPlanningHasNeitherTargetingNorSending)
{
    kx::PassResult pass;
    pass.call = "plan";
    pass.gpos = {Gpo(kDairy, "Dairy", "", 1)};
    pass.gpos[0].taken = 1;
    pass.recorded = {Recorded(true, "{A}", 7, kDairy, "<Policy/>")};
    pass.trace = {
        Line("rsop_log.cpp", string("INFO: RSOP_KxTesmorPolicySetting created. Name=[name of {A}], ID={A}"))};
    const kx::RunResult run{{pass}, ""};
    const std::vector<kx::Explanation> found = kx::Explain(run, kx::MakeReport(run), {}, "{A}");
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].step, Step::Logged);
    EXPECT_THAT(found[0].passed, ElementsAre(Step::Load, Step::Order));
}

TEST(Explain, SaysWhenAndHowLongWhereTheTraceHasTimes)
{
    kx::PassResult pass = TracedPass();
    const std::size_t midnight = 10; // a line every second
    for (std::size_t at = 0; at < pass.trace.size(); ++at)
        pass.trace[at] = (at < midnight ? "23:59:5" + std::to_string(at)
                                        : "00:00:" + std::to_string(at - midnight + 100).substr(1)) +
                         ".250 " + pass.trace[at];
    const string gpo = TextOf(pass, "Fernhill baseline");
    EXPECT_THAT(gpo, HasSubstr("\n  took 5000 ms\n"));
    EXPECT_THAT(gpo, HasSubstr("\n      6000 ms  32:.../engine/kx_gpext/kx_gpo.cpp(1): INFO:    * Display"));
    const string policy = TextOf(pass, "No games");
    EXPECT_THAT(policy,
                HasSubstr("\n     10000 ms  32:.../engine/kx_gpext/gp_xml_targeting.cpp(1): INFO: policy"));
    EXPECT_THAT(policy, Not(HasSubstr("took")));
}

TEST(Explain, IsSafeOnATerminalAndHidesSecrets)
{
    kx::PassResult pass = TracedPass();
    pass.gpos[3].gpo.displayName = "Lab\x1b[31m";
    pass.trace.push_back(Line("gp_process.cpp", "INFO: <AgentParameters proxyPassword=\"hunter2\"/>"));
    const string text = TextOf(pass, kLab) + TextOf(pass, "Run the press");
    EXPECT_THAT(text, HasSubstr("excluded at GPO targeting: <FilterUser/>\n  passed: load\n"));
    EXPECT_THAT(text, HasSubstr("AgentParameters"));
    EXPECT_THAT(text, Not(HasSubstr("\x1b")));
    EXPECT_THAT(text, Not(HasSubstr("hunter2")));
}

TEST(Explain, HasAFormForPrograms)
{
    const kx::RunResult run{{TracedPass()}, ""};
    const kx::Report report = kx::MakeReport(run);
    const auto json = kx::ExplanationsJson(report, kx::Explain(run, report, {}, "No games"), "No games");
    const auto expected = nlohmann::ordered_json::parse(R"({"version": 1, "name": "No games", "matches": [{
        "kind": "policy", "scope": "machine", "call": "apply", "name": "No games", "id": null,
        "gpo": "Fernhill baseline", "gpoName": "{11111111-0000-0000-0000-000000000001}",
        "link": "DC=fernhill,DC=example", "fate": "excluded", "step": "policy targeting",
        "why": "the user is in no such group", "passed": ["load", "GPO targeting", "migration", "version"],
        "took": null, "trace": [
          {"at": null, "text": "32:.../engine/kx_gpext/kx_gpo.cpp(1): INFO:    * Display Name: Fernhill baseline"},
          {"at": null, "text": "32:.../engine/kx_gpext/gp_xml_targeting.cpp(1): INFO: policy [No games] not allowed by ILT: Fernhill baseline"}]
        }]})");
    EXPECT_EQ(nlohmann::ordered_json::diff(expected, json).dump(2), "[]");
}

} // namespace
