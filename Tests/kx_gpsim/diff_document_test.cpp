// Documents compared by meaning.

#include "Tools/kx_gpsim/diff_json.h"
#include "Tools/kx_gpsim/diff_text.h"
#include "Tools/kx_gpsim/document_diff.h"
#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/saved_side.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <random>

namespace {

using kx::DiffSide;
using kx::DocumentDiff;
using std::string;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct Policy {
    string id;
    int order = 1;
    string rest = R"(name="P" action="1"/>)";
};

struct Gpo {
    string name;
    std::vector<Policy> policies;
    string files; ///< what stands behind the policies
};

// The machine's document that the extension makes of these GPOs.
string DocumentOf(const std::vector<Gpo>& gpos)
{
    string xml = R"(<GPUpdate userScope="false" forced="false" version="2"><ChangedGPOs>)";
    for (std::size_t i = 0; i < gpos.size(); ++i) {
        xml += "<GPO name=\"" + gpos[i].name + "\" displayName=\"" + gpos[i].name + "\" precedence=\"" +
               std::to_string(i + 1) + "\"><Policies version=\"5\">";
        for (const Policy& policy : gpos[i].policies)
            xml +=
                "<Policy gpid=\"" + policy.id + "\" order=\"" +
                std::to_string(policy.order + 1000000000 + static_cast<int>(gpos.size() - i - 1) * 100000) +
                "\" " + policy.rest;
        xml += gpos[i].files + "</Policies></GPO>";
    }
    return xml + "</ChangedGPOs><DeletedGPOs/></GPUpdate>";
}

DiffSide Side(const string& xml, const string& label = "side")
{
    return {label, {{kx::Scope::Machine, xml}}, {}};
}

DiffSide Side(const std::vector<Gpo>& gpos)
{
    return Side(DocumentOf(gpos));
}

string ChangeText(const kx::ElementChange& change)
{
    return string(kx::ChangeText(change.kind)) + ' ' + change.path + " [" + change.before + "] [" +
           change.after + ']';
}

string GpoText(const kx::GpoDiff& gpo)
{
    string text = string(kx::ChangeText(gpo.kind)) + " GPO " + gpo.name;
    for (const kx::ElementChange& change : gpo.changes)
        text += "; " + ChangeText(change);
    return text;
}

string PolicyText(const kx::PolicyDiff& policy)
{
    string text = policy.before ? (policy.after ? "~" : "-") : "+";
    text += policy.id + ' ' + (policy.before ? policy.before->gpo : "") + '>' +
            (policy.after ? policy.after->gpo : "");
    text += policy.moved ? " moved" : "";
    for (const kx::ElementChange& change : policy.changes)
        text += "; " + ChangeText(change);
    return text;
}

// Everything that differs, a line each.
std::vector<string> Lines(const DocumentDiff& diff)
{
    std::vector<string> lines;
    for (const kx::ScopeDiff& scope : diff.scopes) {
        for (const kx::ElementChange& change : scope.document)
            lines.push_back("document " + ChangeText(change));
        for (const kx::GpoDiff& gpo : scope.gpos)
            lines.push_back(GpoText(gpo));
        for (const kx::PolicyDiff& policy : scope.policies)
            lines.push_back(PolicyText(policy));
    }
    return lines;
}

std::vector<Gpo> TwoGpos()
{
    return {{"A",
             {{"{1}", 1}, {"{2}", 2}},
             "<ApplicationGroups><ApplicationGroup id=\"{G}\"/></ApplicationGroups>"},
            {"B", {{"{1}", 1}, {"{3}", 5}}, ""}};
}

struct Case {
    const char* why;
    void (*edit)(std::vector<Gpo>& gpos);
    std::vector<string> lines;
};

const std::vector<Case>& Cases()
{
    static const std::vector<Case> cases = {
        {"nothing", [](auto&) {}, {}},
        {"attributes in another order, quotes and white space",
         [](auto& gpos) { gpos[0].policies[1].rest = "action='1'\n name='P'>\n </Policy>"; },
         {}},
        {"an attribute",
         [](auto& gpos) { gpos[0].policies[1].rest = R"(name="P" action="2"/>)"; },
         {"~{2} A>A; changed @action [1] [2]"}},
        {"an attribute more, one less",
         [](auto& gpos) { gpos[0].policies[1].rest = R"(action="1" mode="x"/>)"; },
         {"~{2} A>A; removed @name [P] []; added @mode [] [x]"}},
        {"children",
         [](auto& gpos) {
             gpos[1].policies[1].rest = R"(name="P" action="1"><T><G id="{7}" n="1"/></T></Policy>)";
         },
         {"~{3} B>B; added T [] [<T><G id=\"{7}\" n=\"1\"/></T>]"}},
        {"another order that changes no place",
         [](auto& gpos) { gpos[0].policies[1].order = 3; },
         {"~{2} A>A; changed @order [2] [3]"}},
        {"another order that does",
         [](auto& gpos) { gpos[1].policies[1].order = 0; },
         {"~{3} B>B moved; changed @order [5] [0]"}},
        {"a policy less", [](auto& gpos) { gpos[0].policies.pop_back(); }, {"-{2} A>"}},
        {"one of two with the same id less: the other one is what it was",
         [](auto& gpos) { gpos[0].policies.erase(gpos[0].policies.begin()); },
         {"-{1} A>"}},
        {"one with the same id in the same GPO more",
         [](auto& gpos) {
             gpos[0].policies.push_back({"{1}", 9});
         },
         {"+{1} >A"}},
        {"a policy that goes to another GPO",
         [](auto& gpos) {
             gpos[1].policies.push_back({"{2}", 9});
             gpos[0].policies.pop_back();
         },
         {"~{2} A>B moved; changed GPO [A] [B]; changed @order [2] [9]"}},
        {"a whole GPO less: the rest keeps its order, though all numbers change",
         [](auto& gpos) { gpos.pop_back(); },
         {"removed GPO B", "-{1} B>", "-{3} B>"}},
        {"a GPO in front",
         [](auto& gpos) {
             gpos.insert(gpos.begin(), Gpo{"C", {{"{9}", 1}}, ""});
         },
         {"added GPO C", "+{9} >C"}},
        {"another of a GPO's files",
         [](auto& gpos) {
             gpos[0].files =
                 "<ApplicationGroups><ApplicationGroup id=\"{G}\" name=\"N\"/></ApplicationGroups>";
         },
         {"changed GPO A; added Policies/ApplicationGroups/ApplicationGroup[{G}]/@name [] [N]"}},
    };
    return cases;
}

TEST(CompareSides, TellsWhatChanged)
{
    for (const Case& each : Cases()) {
        std::vector<Gpo> after = TwoGpos();
        each.edit(after);
        EXPECT_EQ(Lines(kx::CompareSides(Side(TwoGpos()), Side(after))), each.lines) << each.why;
    }
}

TEST(CompareSides, GposInAnotherOrderMoveTheirPolicies)
{
    std::vector<Gpo> after = TwoGpos();
    std::swap(after[0], after[1]);
    const std::vector<string> lines = Lines(kx::CompareSides(Side(TwoGpos()), Side(after)));
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_THAT(lines[0], testing::MatchesRegex("moved GPO [AB]"));
    EXPECT_THAT(lines[1] + lines[2], testing::Not(HasSubstr(";"))) << "moved, and otherwise the same";
}

TEST(CompareSides, OrderOfChildrenCounts)
{
    const auto with = [](const char* children) {
        return Side({{"A", {{"{1}", 1, string("name=\"P\"><F>") + children + "</F></Policy>"}}, ""}});
    };
    const char* const ab = "<X id=\"a\"/><X id=\"b\"/>";
    const DocumentDiff diff = kx::CompareSides(with(ab), with("<X id=\"b\"/><X id=\"a\"/>"));
    ASSERT_EQ(Lines(diff).size(), 1U);
    EXPECT_THAT(Lines(diff)[0], testing::MatchesRegex("~\\{1\\} A>A; moved F/X.[ab]. .*"));
    EXPECT_THAT(Lines(kx::CompareSides(with("<X/><X/><Y/>"), with("<X/><Y/>"))),
                ElementsAre("~{1} A>A; removed F/X [<X/>] []"));
}

TEST(CompareSides, KindsOfDocument)
{
    const string command = R"(<AgentParameters dispatcherUrl="https://d/" setId="{S}"/>)";
    const DiffSide nothing{"nothing", {}, {}};
    EXPECT_THAT(Lines(kx::CompareSides(Side(TwoGpos()), Side(command)))[0],
                HasSubstr("document changed document [<GPUpdate "));
    EXPECT_THAT(Lines(kx::CompareSides(nothing, Side(command))),
                ElementsAre("document added document [] [" + command + ']'));
    EXPECT_EQ(Lines(kx::CompareSides(Side(TwoGpos()), nothing)).size(), 7U) << "document, GPOs and policies";
    EXPECT_TRUE(kx::CompareSides(nothing, nothing).IsEmpty());
    EXPECT_THROW((void)kx::CompareSides(Side("no XML"), Side(TwoGpos())), kx::UsageError);
}

// ---- from both sides ----------------------------------------------------------------------------------

std::vector<Gpo> RandomGpos(std::mt19937& random)
{
    std::vector<Gpo> gpos;
    const char* const names[] = {"A", "B", "C"};
    for (const char* const name : names) {
        if (random() % 4 == 0)
            continue;
        Gpo gpo{name, {}, random() % 2 == 0 ? "" : "<Tokens><T/></Tokens>"};
        for (unsigned i = 0; i < random() % 5; ++i)
            gpo.policies.push_back({"{" + std::to_string(random() % 6) + "}", static_cast<int>(random() % 8),
                                    "name=\"" + std::to_string(random() % 2) + "\"><X id=\"" +
                                        std::to_string(random() % 2) + "\"/><X id=\"" +
                                        std::to_string(random() % 2) + "\"/></Policy>"});
        gpos.push_back(std::move(gpo));
    }
    std::shuffle(gpos.begin(), gpos.end(), random);
    return gpos;
}

// The differences as they are seen from the other side.
DocumentDiff Mirrored(DocumentDiff diff)
{
    const auto mirror = [](std::vector<kx::ElementChange>& changes) {
        for (kx::ElementChange& change : changes) {
            std::swap(change.before, change.after);
            if (change.kind == kx::ChangeKind::Added || change.kind == kx::ChangeKind::Removed)
                change.kind =
                    change.kind == kx::ChangeKind::Added ? kx::ChangeKind::Removed : kx::ChangeKind::Added;
        }
    };
    for (kx::ScopeDiff& scope : diff.scopes) {
        mirror(scope.document);
        for (kx::GpoDiff& gpo : scope.gpos) {
            std::vector<kx::ElementChange> kind{{gpo.kind, "", "", ""}};
            mirror(kind);
            gpo.kind = kind[0].kind;
            mirror(gpo.changes);
        }
        for (kx::PolicyDiff& policy : scope.policies) {
            std::swap(policy.before, policy.after);
            mirror(policy.changes);
        }
    }
    return diff;
}

// Without the order in which changes are listed.
std::multiset<string> Pieces(const DocumentDiff& diff)
{
    std::multiset<string> pieces;
    for (const string& line : Lines(diff)) {
        std::multiset<string> parts;
        for (std::size_t at = 0, end = 0; end != string::npos; at = end + 2) {
            end = line.find("; ", at);
            parts.insert(line.substr(at, end - at));
        }
        string sorted;
        for (const string& part : parts)
            sorted += part + '\n';
        pieces.insert(sorted);
    }
    return pieces;
}

TEST(CompareSides, IsEmptyOnItselfAndTheSameFromBothSides)
{
    std::mt19937 random(11);
    std::size_t different = 0;
    for (int round = 0; round < 400; ++round) {
        const DiffSide a = Side(RandomGpos(random));
        const DiffSide b = Side(RandomGpos(random));
        DiffSide again = a;
        again.documents[0].xml += "<!-- not the same text -->";
        EXPECT_THAT(Lines(kx::CompareSides(a, again)), IsEmpty());
        const DocumentDiff there = kx::CompareSides(a, b);
        EXPECT_EQ(Pieces(Mirrored(there)), Pieces(kx::CompareSides(b, a))) << a.documents[0].xml << '\n'
                                                                           << b.documents[0].xml;
        different += there.IsEmpty() ? 0U : 1U;
    }
    EXPECT_GT(different, 300U) << "the rounds must have something to compare";
}

// ---- sides and renderings -----------------------------------------------------------------------------

TEST(SavedSide, KnowsWhatAFileIs)
{
    EXPECT_EQ(kx::KindOfSideFile("\xEF\xBB\xBF <GPUpdate/>", "f"), kx::SideFile::Document);
    EXPECT_EQ(kx::KindOfSideFile(" {\"passes\": []}", "f"), kx::SideFile::SavedRun);
    EXPECT_EQ(kx::KindOfSideFile("// a comment\n{\"gpos\": []}", "f"), kx::SideFile::Manifest);
    for (const char* const wrong : {"", "text", "[]", "{"})
        EXPECT_THROW((void)kx::KindOfSideFile(wrong, "f"), kx::UsageError) << wrong;
}

TEST(SavedSide, MasksSecretsAndRefusesWhatIsNoXml)
{
    const DiffSide side =
        kx::SideOfDocument(R"(<AgentParameters proxyPassword="churn"/>)", "f", kx::Scope::User);
    EXPECT_THAT(side.documents.at(0).xml, testing::Not(HasSubstr("churn")));
    EXPECT_EQ(side.documents[0].scope, kx::Scope::User);
    EXPECT_EQ(kx::SideOfDocument(R"(<GPUpdate userScope="false"/>)", "f", kx::Scope::User).documents[0].scope,
              kx::Scope::Machine)
        << "the document knows better";
    try {
        (void)kx::SideOfDocument("<a>\n</b>", "f", kx::Scope::User);
        FAIL();
    } catch (const kx::UsageError& error) {
        EXPECT_THAT(error.what(), HasSubstr("f:2:1: "));
    }
}

TEST(SavedSide, ARunWithoutADocumentCannotBeCompared)
{
    kx::PassResult pass;
    pass.call = "apply";
    pass.code = 1252;
    EXPECT_THROW((void)kx::SideOfRun({{pass}, ""}, "run"), kx::UsageError);
    pass.document = "<GPUpdate/>";
    pass.gpos.resize(2);
    pass.gpos[1].complaints = {{"error", "", 0, 0, "why"}};
    const DiffSide side = kx::SideOfRun({{pass}, ""}, "run");
    EXPECT_EQ(side.documents.size(), 1U);
    EXPECT_THAT(side.notes, ElementsAre(HasSubstr("1 GPO has errors")));
}

TEST(DiffOutput, SaysTheSameInTextAndJson)
{
    std::vector<Gpo> after = TwoGpos();
    after[0].policies[1].rest = "name=\"P\x1B\" action=\"2\"/>";
    after[1].policies.pop_back();
    const DocumentDiff diff = kx::CompareSides(Side(TwoGpos()), Side(after));
    const string text = kx::FormatDiffText(diff, Side("", "old"), Side("", "new"));
    EXPECT_THAT(text, HasSubstr("- old\n+ new\n"));
    EXPECT_THAT(text, HasSubstr("machine\n"));
    EXPECT_THAT(text, HasSubstr("    ~ @action: 1 \xE2\x86\x92 2\n"));
    EXPECT_THAT(text, HasSubstr("policies: 0 added, 1 removed, 1 changed, 0 moved\n"));
    EXPECT_EQ(text.find('\x1B'), string::npos) << "what is in a document must not reach the terminal";

    const auto json = nlohmann::json::parse(kx::FormatDiffJson(diff, Side("", "old"), Side("", "new")));
    EXPECT_EQ(json["equal"], false);
    const auto& policies = json["scopes"][0]["policies"];
    ASSERT_EQ(policies.size(), 2U);
    EXPECT_EQ(policies[0]["kind"], "removed");
    EXPECT_TRUE(policies[0]["after"].is_null());
    EXPECT_EQ(policies[1]["changes"].size(), 2U);

    EXPECT_THAT(kx::FormatDiffText({}, Side("", "old"), Side("", "new")), HasSubstr("no differences\n"));
    EXPECT_EQ(nlohmann::json::parse(kx::FormatDiffJson({}, Side(""), Side("")))["equal"], true);
}

} // namespace
