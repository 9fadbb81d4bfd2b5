// What the agent gets of a GPO when the parser fails on the way: nothing of the failed step, all of what came
// before it, and the other GPOs as if nothing had happened.

#include "Tests/support/parser_faults.h"
#include "Tests/support/refresh_fixture.h"
#include "Tests/support/scripted_targeting.h"
#include "Tools/host/appended_call.h"

#include <gmock/gmock.h>

#include <regex>

namespace {

using testing::HasSubstr;
using testing::Not;

class ParserFaultsTest : public RefreshFixture {
  protected:
    // A GPO with one of each file, and policies of these names.
    CkxListedGpo MakeFullGpo(const wchar_t* name, const std::string& policies)
    {
        const CkxListedGpo gpo = MakeGpo(name, {});
        WritePolicyFile(name, L"Policies.xml", "<GpoPolicies version='5'>" + policies + "</GpoPolicies>");
        for (const std::string file : {"ApplicationGroups", "Tokens", "RestrictionRules", "GUI"})
            WritePolicyFile(name, std::wstring(file.begin(), file.end()) + L".xml",
                            "<" + file + " version='5'/>");
        return gpo;
    }

    // What arrived, in short: elements below a GPO, policies by their names.
    std::string ReceivedElements()
    {
        const std::string meaning = ReceivedMeaning();
        std::string elements;
        const std::regex line("\n {6,}(?:Policy name=\"([^\"]*)\"|(\\w+))");
        for (std::sregex_iterator found(meaning.begin(), meaning.end(), line), end; found != end; ++found)
            elements += (elements.empty() ? "" : " ") + (*found)[1].str() + (*found)[2].str();
        return elements;
    }
};

TEST_F(ParserFaultsTest, AFailedMergeEndsItsGpoOnly)
{
    constexpr const char* whole = "Policies b ApplicationGroups Tokens RestrictionRules GUI";

    const struct {
        const wchar_t* call;
        const char* elements; // of the first GPO
        const char* trace;
    } rows[] = {
        {L"GPO", "", "ERROR: Failed to add <GPO> element for GPO GPO A"},
        {L"@name", "", "ERROR: SetAttribute(name) failed for <GPO> GPO A"},
        {L"@displayName", "", "ERROR: SetAttribute(displayName) failed for <GPO> GPO A"},
        {L"@precedence", "", "ERROR: SetAttribute(Precedence) failed for <GPO> GPO A"},
        {L"new Policies", "", "ERROR: AddChild(<Policies>) failed. GPO GPO A"},
        {L"Policies", "", "ERROR: AddChild(<Policies>) failed. GPO GPO A"},
        {L"Policy", "Policies ", "ERROR: AddChild(<Policy>) failed. GPO GPO A"},
        {L"@order", "Policies ", "ERROR: Failed to set 'order' attribute to policy in GPO [GPO A]."},
        {L"ApplicationGroups", "Policies a ", "ERROR: AddChild(<ApplicationGroups>) failed. GPO GPO A"},
        {L"Tokens", "Policies a ApplicationGroups ", "ERROR: AddChild(<Tokens>) failed. GPO GPO A"},
        {L"RestrictionRules", "Policies a ApplicationGroups Tokens ",
         "ERROR: AddChild(<RestrictionRules>) failed. GPO GPO A"},
        {L"GUI", "Policies a ApplicationGroups Tokens RestrictionRules ",
         "ERROR: AddChild(<GUI>) failed. GPO GPO A"},
    };

    ParserFaults faults;
    for (const auto& row : rows) {
        const std::string why(row.call, row.call + std::wcslen(row.call));
        _m_changed.Add(MakeFullGpo(kGpoA, "<Policy name='a' order='1'/>"));
        _m_changed.Add(MakeFullGpo(kGpoB, "<Policy name='b' order='1'/>"));
        faults.Refuse(row.call);
        EXPECT_EQ(Refresh(0), 0U) << why;
        EXPECT_TRUE(faults.HasRefused()) << why;
        EXPECT_EQ(ReceivedElements(), row.elements + std::string(whole)) << why;
        EXPECT_THAT(Trace(), HasSubstr(row.trace)) << why;
    }
}

TEST_F(ParserFaultsTest, WithoutAFrameNothingIsSent)
{
    constexpr const char* noFrame =
        "ERROR: MsXml error. Failed to add <ChangedGPOs> and <DeletedGPOs> XML elements.";

    const struct {
        const wchar_t* call;
        bool migration;
        const char* trace;
    } rows[] = {
        {L"new GPUpdate", false, noFrame},
        {L"ChangedGPOs", false, noFrame},
        {L"DeletedGPOs", false, noFrame},
        {L"new AgentParameters", true, "ERROR: Failed to create <AgentParameters> root element"},
        {L"@setId", true, "ERROR: Failed to set 'setId' attribute of the <AgentParameters> element to {set}"},
        {L"@proxyPassword", true,
         "ERROR: Failed to set 'proxyPassword' attribute of the <AgentParameters> element.\n"},
    };

    ParserFaults faults;
    for (const auto& row : rows) {
        _m_changed.Add(MakeFullGpo(kGpoA, "<Policy name='a' order='1'/>"));
        if (row.migration)
            WritePolicyFile(kGpoA, L"Migration.xml",
                            "<AgentParameters version='5' setId='{set}' dispatcherUrl='https://d' "
                            "proxyUser='u' proxyPassword='open sesame'/>");
        faults.Refuse(row.call);
        EXPECT_EQ(Refresh(0), static_cast<DWORD>(ERROR_XML_PARSE_ERROR)) << row.trace;
        EXPECT_TRUE(faults.HasRefused()) << row.trace;
        EXPECT_FALSE(_m_agent.WaitForMessage(0)) << row.trace;
        EXPECT_THAT(Trace(), HasSubstr(row.trace));
    }
    EXPECT_THAT(Trace(), Not(HasSubstr("open sesame")));
}

TEST_F(ParserFaultsTest, AppendedSetsAreSentMarkedOrNotAtAll)
{
    const LocalSystemCaller caller(_m_extension.Get());
    ParserFaults faults;
    for (const wchar_t* const call : {L"@appended", L"@deleteAllAppended"}) {
        const kx::AppendedUpdate request = {nullptr, 0, 1, {}, nullptr};
        faults.Refuse(call);
        EXPECT_EQ(CallAppendedUpdate(_m_extension.Get(), &request),
                  static_cast<DWORD>(ERROR_XML_PARSE_ERROR));
        EXPECT_TRUE(faults.HasRefused());
        EXPECT_FALSE(_m_agent.WaitForMessage(0));
    }
    EXPECT_THAT(Trace(), HasSubstr("ERROR: Failed to set 'deleteAllAppended' attribute."));
}

TEST_F(ParserFaultsTest, TargetingThatCannotBeAskedLetsThrough)
{
    ScriptedTargeting scripted;

    const struct {
        const wchar_t* call;
        const char* trace;
    } rows[] = {
        {L"xml ItemLevelTargeting", "ERROR: Failed to get text of ItemLevelTargeting node"},
        {L"load <?xml", "ERROR: Failed to load ILT registry policy"},
        {L"spoil ItemLevelTargeting", "ERROR: Failed to load ILT registry policy"},
    };

    ParserFaults faults;
    for (const auto& row : rows) {
        _m_changed.Add(
            MakeFullGpo(kGpoA, "<Policy name='a' order='1'><ItemLevelTargeting answer='none'/></Policy>"));
        faults.Refuse(row.call);
        EXPECT_EQ(Refresh(0), 0U);
        EXPECT_TRUE(faults.HasRefused()) << row.trace;
        EXPECT_THAT(ReceivedElements(), HasSubstr("Policies a")) << row.trace;
        EXPECT_THAT(Trace(), HasSubstr(row.trace));
    }
}

} // namespace
