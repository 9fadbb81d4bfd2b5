// Lines as the extension writes them, and what is made of them.

#include "Tools/kx_gpsim/gpo_outcomes.h"
#include "Tools/kx_gpsim/trace_digest.h"

#include <gmock/gmock.h>

namespace {

using kx::Targeted;
using testing::ElementsAre;

std::string Line(const char* source, const std::string& message)
{
    return std::string("32:.../engine/kx_gpext/") + source + ": " + message + "\n";
}

std::string Heading(const std::string& name)
{
    return Line("kx_gpo.cpp(96)", "INFO:    * Display Name: GPO " + name) +
           Line("kx_gpo.cpp(97)", "INFO:      Unique Name : {" + name + "}");
}

const std::string kStart = "D_Lib: output is switched to file C:\\x(1): ERROR: no line of the extension\n" +
                           Line("gp_xml.cpp(148)", "INFO:    DeletedGPOList:") + Heading("Gone") +
                           Line("gp_xml.cpp(160)", "INFO:    ChangedGPOList:");

std::string Shown(const kx::Complaint& complaint)
{
    std::string place = complaint.file;
    if (complaint.line > 0)
        place += ":" + std::to_string(complaint.line) + ":" + std::to_string(complaint.column);
    return complaint.severity + " " + place + " " + complaint.reason;
}

std::vector<std::string> Shown(const std::vector<kx::Complaint>& complaints)
{
    std::vector<std::string> shown;
    for (const kx::Complaint& complaint : complaints)
        shown.push_back(Shown(complaint));
    return shown;
}

std::vector<std::string> Shown(const std::vector<kx::TargetedPolicy>& policies)
{
    std::vector<std::string> shown;
    for (const kx::TargetedPolicy& policy : policies)
        shown.push_back("[" + policy.name + "] " + policy.reason);
    return shown;
}

TEST(TraceDigest, MakesComplaintsOfAGposLines)
{
    const struct {
        const char* why;
        std::string lines;
        std::vector<std::string> complaints;
    } rows[] = {
        {"a file that is no XML, with its place",
         Line("xml_document.cpp(9)", "ERROR: of a layer below").replace(3, 0, "/xml/") +
             Line("gp_xml_load.cpp(63)", "ERROR: Failed to load XML from file [C:\\a]b\\Tokens.xml]") +
             Line("gp_xml_load.cpp(64)",
                  "ERROR: The file was not accepted: A (odd) tag (line 12, column 7)") +
             Line("gp_xml_load.cpp(49)", "ERROR: Failed to load the policy files of GPO GPO A - {A}"),
         {"error Tokens.xml:12:7 A (odd) tag"}},
        {"a parser without a reason",
         Line("gp_xml_load.cpp(63)", "ERROR: Failed to load XML from file [C:\\a\\GUI.xml]") +
             Line("gp_xml_load.cpp(64)", "ERROR: The file was not accepted: error"),
         {"error GUI.xml cannot be read"}},
        {"two files of another version",
         Line("gp_xml_merge.cpp(33)",
              "ERROR: Unsupported version found in XML. Versions: 4, 5, 5, -6. GPO GPO A - {A}") +
             Line("gp_xml.cpp(206)", "ERROR: Failed to process polcies for GPO GPO A - {A}"),
         {"error Policies.xml version 4 is not supported, only 5 is",
          "error GUI.xml version -6 is not supported, only 5 is"}},
        {"no version",
         Line("gp_xml_load.cpp(75)",
              "ERROR: Failed to get version attribute from root element <P>. Path=[C:\\T.xml]"),
         {"error T.xml Failed to get version attribute from root element <P>. Path=[C:\\T.xml]"}},
        {"a bad migration command",
         Line("gp_xml_migration.cpp(18)", "ERROR: 'setId' attribute is missing or empty in <AgentParameters> "
                                          "element in Migration.xml. GPO "
                                          "GPO A - {A}") +
             Line("gp_xml.cpp(202)", "ERROR: Failed to process migration command for GPO GPO A - {A}"),
         {"error Migration.xml 'setId' attribute is missing or empty in <AgentParameters> element in "
          "Migration.xml"}},
        {"a consequence of nothing known",
         Line("gp_xml.cpp(206)", "ERROR: Failed to process polcies for GPO GPO A - {A}"),
         {"error Policies.xml Failed to process polcies"}},
        {"what is applied all the same",
         Line("gp_xml_merge.cpp(80)", "ERROR: Policy in GPO [GPO A] is missing 'order' attribute.") +
             Line("rsop_log.cpp(99)", "ERROR: No \"action\" element in policy. GPO GPO A - {A}"),
         {"warning Policies.xml Policy in GPO [GPO A] is missing 'order' attribute.",
          "warning Policies.xml No \"action\" element in policy"}},
        {"information", Line("gp_xml.cpp(1)", "INFO: ERROR: is only quoted"), {}},
    };

    for (const auto& row : rows) {
        const kx::TraceDigest digest = kx::DigestTrace(kStart + Heading("A") + row.lines + Heading("B"), {});
        ASSERT_EQ(digest.changed.size(), 2U) << row.why;
        EXPECT_EQ(digest.changed[0].name + digest.changed[0].displayName, "{A}GPO A") << row.why;
        EXPECT_EQ(Shown(digest.changed[0].complaints), row.complaints) << row.why;
        EXPECT_TRUE(digest.changed[1].complaints.empty() && digest.general.empty()) << row.why;
    }
}

TEST(TraceDigest, KnowsWhatConcernsTheWholeCall)
{
    const std::string lines =
        kStart + Heading("A") +
        Line("gp_xml_migration.cpp(70)",
             "INFO: Migration command found. SetId={S}, DispatcherURL=[d]. GPO A") +
        Line("rsop_log.cpp(199)", "ERROR: WbemSvc->PutInstance(/x) failed. hr=5. CfgPath=/x") +
        Line("gp_process.cpp(66)",
             "ERROR: Failed to send update to the agent. Update skipped till next time.");
    const kx::TraceDigest digest = kx::DigestTrace(lines, {});
    EXPECT_TRUE(digest.changed.at(0).migration);
    EXPECT_TRUE(digest.changed.at(0).complaints.empty());
    EXPECT_EQ(digest.general.size(), 2U);
}

// One GPO's evaluations, together with the policies that arrived: what each concerned.
TEST(GpoOutcomes, TellWhichPolicyAnEvaluationWasFor)
{
    const std::string excluded =
        Line("gp_xml_targeting.cpp(160)", "INFO: policy [out] not allowed by ILT: GPO A");
    const std::string noKey = Line("gp_xml_targeting.cpp(70)", "ERROR: Failed to open reg key [K]. err=2");
    const std::string noFolder =
        Line("gp_xml_targeting.cpp(140)", "ERROR: Failed to save basic ILT registry policy to C:\\tmp") +
        Line("gp_xml_targeting.cpp(142)",
             "ERROR: The work folder of item-level targeting cannot be used. Error=5");
    const std::string filters = "<ItemLevelTargeting><Filters><F/></Filters></ItemLevelTargeting>";
    const std::string start = kStart + Heading("A");
    const std::size_t at = start.size(); // an evaluation that begins before any further line

    const struct {
        const char* why;
        std::string lines;
        std::vector<kx::TargetingCheck> checks;
        std::vector<std::string> passed; ///< policies with targeting that arrived
        std::vector<std::string> excluded;
        std::vector<std::string> letThrough;
    } rows[] = {
        {"excluded, with its filters",
         excluded,
         {{at, Targeted::Excluded, filters, {}}},
         {"p"},
         {"[out] does not match: <F/>"},
         {}},
        {"excluded, and nobody saw it but the trace",
         excluded,
         {},
         {},
         {"[out] its targeting does not match"},
         {}},
        {"excluded without a name",
         "",
         {{at, Targeted::Excluded, filters, {}}},
         {},
         {"[(a policy without a name)] does not match: <F/>"},
         {}},
        {"the GPO itself",
         Line("gp_xml.cpp(198)", "INFO: GPO not allowed by ILT: GPO A - {A}"),
         {{at, Targeted::Excluded, filters, {}}},
         {},
         {"[] does not match: <F/>"},
         {}},
        {"the second of three",
         excluded,
         {{at, Targeted::Excluded, filters, {}},
          {at + excluded.size(), Targeted::Allowed, filters, {}},
          {at + excluded.size(), Targeted::Allowed, filters, {"ILTTest: let through: FilterX: not known"}}},
         {"first", "second"},
         {"[out] does not match: <F/>"},
         {"[second] FilterX: not known"}},
        {"the GPO and one policy",
         noKey,
         {{at + noKey.size(), Targeted::Allowed, filters, {"ILTTest: let through: FilterX: not known"}}},
         {"p"},
         {},
         {"[] Failed to open reg key [K]. err=2", "[p] FilterX: not known"}},
        {"a failure in two lines is one",
         noFolder + noKey,
         {},
         {"a", "b"},
         {},
         {"[a] Failed to save basic ILT registry policy to C:\\tmp The work folder of item-level targeting "
          "cannot be used. Error=5",
          "[b] Failed to open reg key [K]. err=2"}},
        {"the marker could not be removed",
         Line("gp_xml_targeting.cpp(180)", "ERROR: Failed to remove reg value [ILTTest]. err=5"),
         {{at, Targeted::LetThrough, filters, {}}},
         {"p"},
         {},
         {"[p] Failed to remove reg value [ILTTest]. err=5"}},
        {"no way to tell",
         noKey,
         {},
         {"a", "b"},
         {},
         {"[(one of its policies)] Failed to open reg key [K]. err=2"}},
    };

    for (const auto& row : rows) {
        std::vector<kx::SentPolicy> policies(1);
        policies[0].gpo = "{a}"; // in another case, and without targeting
        for (const std::string& name : row.passed)
            policies.push_back({"{A}", name, {}, {}, 0, "<Policy><ItemLevelTargeting/></Policy>", {}, {}});
        const kx::GpoInput gpo{"{A}", "GPO A", {}, {}, {}, 1, false, false};
        const auto outcomes =
            kx::GatherOutcomes({gpo, gpo}, {}, kx::DigestTrace(start + row.lines, row.checks), policies);
        EXPECT_EQ(outcomes.at(0).taken, policies.size()) << row.why;
        EXPECT_EQ(Shown(outcomes.at(0).excluded), row.excluded) << row.why;
        EXPECT_EQ(Shown(outcomes.at(0).letThrough), row.letThrough) << row.why;
        EXPECT_TRUE(outcomes.at(0).complaints.empty()) << row.why;
        EXPECT_EQ(outcomes.at(1).taken, 0U) << "listed again: " << row.why;
    }
}

TEST(TraceDigest, PutsAPlansLinesDownToTheirGpo)
{
    const std::vector<kx::GpoInput> gpos = {{"{A}", "A", "C:\\P\\{A}\\Machine", {}, {}, 1, false, false},
                                            {"{B}", "B", "C:\\P\\{B}\\Machine", {}, {}, 2, false, false}};
    const kx::TraceDigest digest = kx::DigestPlanTrace(
        Line("rsop_log.cpp(1)", "ERROR: Failed to register RSoP schema extension.") +
            Line("rsop_log_generate.cpp(15)",
                 "ERROR: Failed to load XML from c:\\p\\{b}\\machine\\{5}\\Policies.xml") +
            Line("rsop_log_generate.cpp(55)", "ERROR: <Policies> element not found") +
            Line("rsop_log.cpp(90)", "ERROR: No \"action\" element in policy. GPO A - {A}"),
        gpos);
    EXPECT_THAT(Shown(digest.changed.at(1).complaints),
                ElementsAre("error Policies.xml cannot be read",
                            "warning Policies.xml <Policies> element not found"));
    EXPECT_THAT(Shown(digest.changed.at(0).complaints),
                ElementsAre("warning Policies.xml No \"action\" element in policy"));
    EXPECT_EQ(digest.general.size(), 1U);
}

} // namespace
