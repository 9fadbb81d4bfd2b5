// What the planning callback records, from outside: the shipped module reads the files and logs into a store.

#include "Tests/support/rsop_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::AllOf;
using testing::HasSubstr;

constexpr auto kDenied = static_cast<HRESULT>(WBEM_E_ACCESS_DENIED);

using RsopPlanning = RsopFixture;

TEST_F(RsopPlanning, RanksAllGposOfTheList)
{
    const std::string head = "<GpoPolicies><Policies>";
    const std::string tail = "</Policies></GpoPolicies>";
    const std::string noOrder = head + "<Policy name='n' gpid='i' action='1'/>" + tail;
    for (const bool computer : {true, false}) {
        for (const wchar_t* const name : {kGpoA, kGpoB, kGpoC})
            _m_changed.Add(MakeFiles(
                name,
                name == kGpoB ? noOrder : head + "<Policy name='n' gpid='i' action='1' order='7'/>" + tail));
        EXPECT_EQ(PlanFor(computer), 0U);
        EXPECT_EQ(Logged(kPolicyClass, {L"precedence"}),
                  computer ? "precedence=1000200007\nprecedence=1000100000\nprecedence=1000000007\n"
                           : "precedence=200007\nprecedence=100000\nprecedence=7\n");
    }
    EXPECT_THAT(Trace(), HasSubstr("INFO: policy [n] is missing 'order' attribute.  - "
                                   "{00000000-0000-0000-0000-00000000000B}"));
    EXPECT_THAT(Logged(kPolicyClass, {L"policyXml"}), HasSubstr("order=\"200007\""));
}

// For each file: how many of its policies are planned, and what is said.
TEST_F(RsopPlanning, ReadsBothLayouts)
{
    const std::string policy = "<Policy name='n' gpid='i' action='1' order='7'/>";

    const struct {
        const char* why;
        std::string policies;
        int planned;
        const char* line;
    } rows[] = {
        {"nested", "<GpoPolicies><Policies>" + policy + "</Policies></GpoPolicies>", 1, ""},
        {"as a refresh reads it", "<GpoPolicies version='5'>" + policy + "<x/></GpoPolicies>", 1, ""},
        {"another root", "<Whatever>" + policy + "</Whatever>", 1, ""},
        {"another root without policies", "<Whatever/>", 0, "ERROR: <GpoPolicies> element not found"},
        {"no Policies", "<GpoPolicies/>", 0, "ERROR: <Policies> element not found"},
        {"no Policy", "<GpoPolicies><Policies/></GpoPolicies>", 0, "ERROR: <Policy> element not found"},
        {"no XML", "<GpoPolicies>", 0, "ERROR: Failed to load XML from "},
        {"no file", "", 0, "ERROR: Failed to load XML from "},
        {"a bad action ends the GPO",
         "<p>" + policy + "<Policy name='b' gpid='b' action='1x' order='8'/>" + policy + "</p>", 1,
         "ERROR: No \"action\" element in policy. GPO GPO"},
    };

    int number = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const std::size_t before = Trace().size();
        wchar_t name[] = L"{00000000-0000-0000-0000-0000000000f0}";
        name[36] = static_cast<wchar_t>(L'0' + number++);
        _m_changed.Add(MakeFiles(name, row.policies, "<ApplicationGroups/>"));
        EXPECT_EQ(PlanFor(true), 0U);
        EXPECT_EQ(_m_store.Instances(kPolicyClass).size(), static_cast<std::size_t>(row.planned));
        EXPECT_THAT(Trace().substr(before), HasSubstr(row.line));
    }
}

TEST_F(RsopPlanning, SaysWhatIsWrongWithGroups)
{
    const std::string policy = "<p><Policy name='n' gpid='i' action='1' order='7'/></p>";
    _m_changed.Add(MakeFiles(kGpoA, policy));
    _m_changed.Add(MakeFiles(kGpoB, policy, "<Groups/>"));
    EXPECT_EQ(PlanFor(false), 0U);
    EXPECT_EQ(_m_store.Instances(kPolicyClass).size(), 2U);
    EXPECT_THAT(Trace(), AllOf(HasSubstr("ERROR: Failed to load XML from "),
                               HasSubstr("ERROR: Failed to load node ApplicationGroups from ")));
}

TEST_F(RsopPlanning, PlansConfigurationForComputersOnly)
{
    for (const bool computer : {true, false}) {
        _m_changed.Add(
            MakeFiles(kGpoA, "<p><Policy action='10'><Configuration>v</Configuration></Policy></p>"));
        EXPECT_EQ(PlanFor(computer), 0U);
        EXPECT_EQ(Logged(kConfigClass, {L"id", L"Value", L"precedence"}),
                  computer ? "id=/Configuration Value=v precedence=1000000000\n" : "");
        EXPECT_EQ(Logged(kPolicyClass, {L"id"}), "");
    }
}

TEST_F(RsopPlanning, TracesItsArguments)
{
    wchar_t account[] = L"FERNHILL\\ann";
    wchar_t som[] = L"OU=Sales";
    RSOP_TARGET computer{};
    RSOP_TARGET user{};
    user.pwszAccountName = account;
    user.pwszNewSOM = som;
    EXPECT_EQ(Plan(&computer, &user), 0U);
    EXPECT_EQ(Plan(nullptr, nullptr), 0U);
    const std::string trace = Trace();
    EXPECT_THAT(trace, AllOf(HasSubstr("INFO: Flags = "), HasSubstr("INFO: Site: NULL"),
                             HasSubstr("INFO: Comp Target is not NULL"), HasSubstr("    AccountName: NULL"),
                             HasSubstr("    NewSOM: OU=Sales"), HasSubstr("    AccountName: FERNHILL\\ann"),
                             HasSubstr("    SecurityGroups: NULL"), HasSubstr("INFO: User Target is NULL")));
}

TEST_F(RsopPlanning, ReportsNothingButABrokenSchema)
{
    const CkxListedGpo gpo = MakeFiles(kGpoA, "<p><Policy name='n' gpid='i' action='1' order='7'/></p>");
    EXPECT_EQ(PlanFor(true), 0U) << "a target without GPOs";
    _m_abort = TRUE;
    _m_changed.Add(gpo);
    EXPECT_EQ(PlanFor(true), 0U);
    EXPECT_EQ(Logged(kPolicyClass, {L"id"}), "");
    EXPECT_THAT(Trace(), HasSubstr("INFO: Aborted."));
    _m_abort = FALSE;
    _m_abortPointer = nullptr;
    _m_store.OnCall([](const CkxStoreCall& call) {
        return std::string_view(call.method) == "PutClass" ? kDenied : S_OK;
    });
    _m_changed.Add(gpo);
    EXPECT_EQ(PlanFor(true), static_cast<DWORD>(kDenied));
    EXPECT_THAT(Trace(), HasSubstr("ERROR: Failed to register RSoP schema extension."));
}

} // namespace
