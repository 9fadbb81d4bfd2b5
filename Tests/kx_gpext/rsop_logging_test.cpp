// What a refresh records in WMI, from outside: the shipped module logs into a store.

#include "Tests/support/rsop_fixture.h"
#include "Tests/support/xml_meaning.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <regex>
#include <thread>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr auto kFailed = static_cast<HRESULT>(WBEM_E_FAILED);

using RsopLogging = RsopFixture;

constexpr const char* kPolicy = "<Policy name='n' gpid='i' action='1' order='3'/>";

std::string Policies(std::string_view policies)
{
    return std::string("<GpoPolicies version='5'>").append(policies).append("</GpoPolicies>");
}

std::string ConfigPolicy(std::string_view order, std::string_view content)
{
    return Policies("<Policy action='10' order='" + std::string(order) + "'>" + std::string(content) +
                    "</Policy>");
}

TEST_F(RsopLogging, WritesEachPropertyOfAPolicy)
{
    for (const DWORD flags : {kMachine, kUser}) {
        SCOPED_TRACE(flags);
        const std::string precedence = flags == kMachine ? "1000000003" : "3";
        CkxListedGpo gpo = MakeFiles(kGpoA,
                                     Policies("<Policy name='n&amp;1' gpid='{P}' action='1' order='3'>"
                                              "<Targets><ApplicationGroup id='g'/></Targets></Policy>"),
                                     "<ApplicationGroups version='5'><ApplicationGroup id='g' name='Tools'/>"
                                     "</ApplicationGroups>");
        const CkxFileHandle file(::CreateFileW(
            (gpo.folder + L"\\{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}\\Policies.xml").c_str(), GENERIC_WRITE,
            FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
        const FILETIME written{0xB36E1800, 0x01DA6B0B}; // 2024-02-29 12:34:56.000000 UTC
        ASSERT_TRUE(::SetFileTime(file.Get(), nullptr, nullptr, &written));
        _m_changed.Add(gpo);
        EXPECT_EQ(Refresh(flags), 0U);
        EXPECT_EQ(Logged(kPolicyClass, {L"id", L"precedence", L"name", L"GPOID", L"SOMID", L"creationTime"}),
                  "id={P} precedence=" + precedence +
                      " name=n&1 GPOID=CN={00000000-0000-0000-0000-00000000000A},CN=Policies,CN=System,"
                      "DC=fernhill,DC=example SOMID=DC=fernhill,DC=example "
                      "creationTime=20240229123456.000000+000\n");
        EXPECT_THAT(Logged(kPolicyClass, {L"policyXml"}),
                    AllOf(HasSubstr("name=\"Tools\""), HasSubstr("order=\"" + precedence + '"')));
        EXPECT_EQ(Logged(kConfigClass, {L"id"}), "");
        const auto classes = _m_store.Classes();
        EXPECT_EQ(std::count(classes.begin(), classes.end(), kConfigClass), flags == kMachine ? 1 : 0);
        EXPECT_THAT(Trace(), HasSubstr("INFO: RSOP_KxTesmorPolicySetting created. Name=[n&1], ID={P}"));
        EXPECT_EQ(_m_rsopStatus, 0x1234567) << "the engine's own status is the engine's";
    }
}

TEST_F(RsopLogging, CutsTheDirectorysPrefixes)
{
    const struct {
        const wchar_t* path;
        const wchar_t* link;
        const char* logged;
    } rows[] = {
        {L"LDAP://CN=User,CN={A}", L"LDAP://OU=x", "GPOID=CN={A} SOMID=OU=x\n"},
        {L"ldap://cn=machine,CN={A}", L"ldap://DC=y", "GPOID=CN={A} SOMID=DC=y\n"},
        {L"LDAP://CN=Users,CN={A}", L"LDAP://", "GPOID=LDAP://CN=Users,CN={A} SOMID=LDAP://\n"},
        {L"Local", L"Local", "GPOID=Local SOMID=Local\n"},
    };

    for (const auto& row : rows) {
        CkxListedGpo gpo = MakeFiles(kGpoA, Policies(kPolicy));
        gpo.directoryPath = row.path;
        gpo.link = row.link;
        _m_changed.Add(gpo);
        EXPECT_EQ(Refresh(kUser), 0U);
        EXPECT_EQ(Logged(kPolicyClass, {L"GPOID", L"SOMID"}), row.logged);
    }
    GROUP_POLICY_OBJECTW& bare = _m_changed.Add(MakeFiles(kGpoA, Policies(kPolicy)));
    bare.lpDSPath = nullptr;
    bare.lpLink = nullptr;
    EXPECT_EQ(Refresh(kUser), 0U);
    EXPECT_EQ(Logged(kPolicyClass, {L"GPOID", L"SOMID"}), "GPOID= SOMID=\n");
}

TEST_F(RsopLogging, SaysWhatItDoesNotLog)
{
    const struct {
        const char* policy;
        const char* line; // "" for none
    } rows[] = {
        {"<Policy name='n' gpid='i' order='3'/>", "ERROR: No \"action\" element in policy. GPO GPO A - {"},
        {"<Policy name='n' gpid='i' action='3x' order='3'/>",
         "ERROR: No \"action\" element in policy. GPO GPO A - {"},
        {"<Policy gpid='i' action='1'/>", "ERROR: FAiled to get policy name attribute. GPO: GPO A - {"},
        {"<Policy name='n' action='1'/>", "ERROR: FAiled to get policy gpid attribute. GPO: GPO A - "
                                          "{00000000-0000-0000-0000-00000000000A}, Policy: n"},
        {"<Policy name='n' gpid='' action='1'/>",
         "ERROR: Invalid arguments passed to _SetCommonProperties method"},
        {"<Policy name='n' gpid='i' action='10' order='3'><Configuration/></Policy>", ""},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.policy);
        const std::size_t before = Trace().size();
        _m_changed.Add(MakeFiles(kGpoA, Policies(row.policy)));
        EXPECT_EQ(Refresh(kUser), 0U);
        EXPECT_EQ(Logged(kPolicyClass, {L"id"}), "");
        EXPECT_EQ(Logged(kConfigClass, {L"id"}), "");
        EXPECT_THAT(ReceivedMeaning(), HasSubstr("Policy ")) << "applied all the same";
        EXPECT_THAT(Trace().substr(before), HasSubstr(row.line));
    }
}

TEST_F(RsopLogging, NamesGroups)
{
    _m_changed.Add(MakeFiles(
        kGpoA,
        Policies(
            "<Policy name='n' gpid='i' action='1' order='3'><Targets><ApplicationGroup id='late'/>"
            "<ApplicationGroup id='a'/><ApplicationGroup/><ApplicationGroup id='gone'/></Targets><Targets>"
            "<ApplicationGroup id='nameless'/><ApplicationGroup id='&quot;'/></Targets></Policy>"),
        "<ApplicationGroups version='5'><ApplicationGroup id='a' name='First'/>"
        "<ApplicationGroup id='a' name='Second'/><ApplicationGroup id='nameless'/>"
        "<ApplicationGroup id='&quot;' name='Quote'/><ApplicationGroup name='No id'/>"
        "<ApplicationGroup id='late' name='Late'/></ApplicationGroups>"));
    EXPECT_EQ(Refresh(kUser), 0U);
    EXPECT_THAT(Trace(), AllOf(HasSubstr("ERROR: policy n contains group without id "),
                               HasSubstr("ERROR: policy n contains group id gone which is not found in "
                                         "AppGroups"),
                               HasSubstr("ERROR: group id nameless has no name"),
                               HasSubstr("ERROR: policy n contains group id \" which is not found")));
    const std::string logged = Logged(kPolicyClass, {L"policyXml"});
    EXPECT_THAT(logged, AllOf(HasSubstr("id=\"late\" name=\"Late\""), HasSubstr("id=\"a\" name=\"First\""),
                              Not(HasSubstr("Second")), Not(HasSubstr("Quote")), Not(HasSubstr("No id"))));
    EXPECT_THAT(ReceivedMeaning(), HasSubstr("name=\"First\"")) << "the agent sees the names too";
}

TEST_F(RsopLogging, FlattensTheConfiguration)
{
    _m_changed.Add(MakeFiles(
        kGpoA, ConfigPolicy("3", "<Configuration><Common>t<Sub>s</Sub><Empty/><domainid>d</domainid></Common>"
                                 "<Other/></Configuration><Messages><Message id='m1'>Hello</Message>"
                                 "<Message>x</Message><Message id='m2'/></Messages>")));
    EXPECT_EQ(Refresh(kMachine), 0U);
    const std::string logged = "\n" + Logged(kConfigClass, {L"id", L"Value"});
    const char* const entries[] = {"/Configuration/Common Value=tsd",
                                   "/Configuration/Common/Sub Value=s",
                                   "/Configuration Value=tsd",
                                   "/Configuration/Common/Empty Value=",
                                   "/Configuration/Other Value=",
                                   "/Messages/m1 Value=Hello",
                                   "/Messages/m2 Value="};
    for (const char* const entry : entries)
        EXPECT_THAT(logged, HasSubstr("\nid=" + std::string(entry) + "\n"));
    EXPECT_EQ(_m_store.Instances(kConfigClass).size(), std::size(entries));
    EXPECT_EQ(Logged(kPolicyClass, {L"id"}), "");
    EXPECT_THAT(Trace(),
                AllOf(HasSubstr("ERROR: incorrect format of message. GPO GPO A - {"),
                      HasSubstr("INFO: RSOP_KxTesmorConfig created. Path=[/Messages/m1], Value=[Hello]")));
}

TEST_F(RsopLogging, LowestPrecedenceWinsAPath)
{
    const struct {
        const char* why;
        const char* firstOrder;
        const char* secondOrder;
        const char* winner;
    } rows[] = {
        // The second GPO of two has no band of its own, the first 100,000.
        {"the later GPO", "3", "3", "Value=second precedence=1000000003\n"},
        {"the earlier GPO", "3", "200003", "Value=first precedence=1000100003\n"},
        {"a tie goes to the later", "3", "100003", "Value=second precedence=1000100003\n"},
        {"without an order it has the default one", "", "3", "Value=second precedence=1000000003\n"},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        _m_changed.Add(
            MakeFiles(kGpoA, ConfigPolicy(row.firstOrder, "<Configuration>first</Configuration>")));
        _m_changed.Add(
            MakeFiles(kGpoB, ConfigPolicy(row.secondOrder, "<Configuration>second</Configuration>")));
        EXPECT_EQ(Refresh(kMachine), 0U);
        EXPECT_EQ(Logged(kConfigClass, {L"Value", L"precedence"}), row.winner);
    }
}

// The engine asks for an end while the first of two GPOs is being logged.
TEST_F(RsopLogging, AnAbortFromInsideStopsBeforeTheNextGpo)
{
    _m_store.OnCall([this](const CkxStoreCall& call) {
        if (std::string_view(call.method) == "PutInstance")
            _m_abort = TRUE;
        return S_OK;
    });
    _m_changed.Add(MakeFiles(kGpoA, Policies("<Policy name='a' gpid='a' action='1' order='3'/>"
                                             "<Policy action='10' order='4'><Configuration/></Policy>")));
    _m_changed.Add(MakeFiles(kGpoB, Policies("<Policy name='b' gpid='b' action='1' order='3'/>")));
    EXPECT_EQ(Refresh(kMachine), static_cast<DWORD>(ERROR_OPERATION_ABORTED));
    EXPECT_FALSE(_m_agent.WaitForMessage(0));
    EXPECT_EQ(Logged(kPolicyClass, {L"name"}), "name=a\n");
    EXPECT_EQ(Logged(kConfigClass, {L"id"}), "");
}

TEST_F(RsopLogging, WithoutAConverterTheTimeIsNull)
{
    _m_dateTimes.reset();
    _m_changed.Add(MakeFiles(kGpoA, Policies(kPolicy)));
    EXPECT_EQ(Refresh(kUser), 0U);
    EXPECT_EQ(Logged(kPolicyClass, {L"name", L"creationTime"}), "name=n creationTime=<null>\n");
    EXPECT_THAT(Trace(), HasSubstr("ERROR: CoCreateInstance(SWbemDateTime) failed. hr="));
}

// The document does not change, whatever of WMI fails, save for the groups' names.
TEST_F(RsopLogging, NoFailureReachesTheDocument)
{
    const CkxListedGpo gpo = MakeFiles(
        kGpoA,
        Policies(
            "<Policy name='n' gpid='i' action='1' order='3'><Targets><ApplicationGroup id='a'/></Targets>"
            "</Policy><Policy action='10' order='4'><Configuration><A>1</A></Configuration></Policy>"),
        "<ApplicationGroups version='5'><ApplicationGroup id='a' name='G'/></ApplicationGroups>");
    const auto refresh = [&] {
        _m_changed.Add(gpo);
        EXPECT_EQ(Refresh(kMachine), 0U);
        return std::regex_replace(ReceivedMeaning(), std::regex(" name=\"G\""), "");
    };
    std::atomic<int> calls = 0;
    std::atomic<int> failing = 0;
    std::atomic<bool> andAllAfter = false;
    _m_store.OnCall([&](const CkxStoreCall&) {
        const int call = ++calls;
        return failing != 0 && (call == failing || (andAllAfter && call > failing)) ? kFailed : S_OK;
    });
    const std::string whole = refresh();
    const int all = calls;
    ASSERT_GT(all, 40);
    for (const bool after : {false, true}) {
        andAllAfter = after;
        for (failing = 1; failing <= all; ++failing) {
            SCOPED_TRACE(testing::Message() << "call " << failing << (after ? " and all after it" : ""));
            calls = 0;
            EXPECT_EQ(refresh(), whole);
            EXPECT_EQ(_m_store.LiveObjects(), 1U) << "the services that this test holds";
            if (HasFailure())
                return;
        }
    }
}

TEST_F(RsopLogging, SchemaWorkIsDoneByOneThreadAtATime)
{
    const CkxListedGpo gpo = MakeFiles(kGpoA, Policies(kPolicy));
    const auto pass = [&](DWORD flags) {
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(RefreshOnly(gpo, flags), 0U);
    };
    std::thread machine(pass, kMachine);
    pass(kUser);
    machine.join();
    EXPECT_FALSE(_m_store.SchemaWorkOverlapped());
}

} // namespace
