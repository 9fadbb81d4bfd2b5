// Whole refreshes from outside: the shipped module, a real pipe, documents compared by meaning.

#include "Tests/support/refresh_fixture.h"
#include "Tests/support/xml_meaning.h"

#include <gmock/gmock.h>

#include <regex>
#include <utility>

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::Pair;
using testing::StartsWith;

constexpr const wchar_t* kAgentKey = L"Software\\Korvex\\Agent";
constexpr const wchar_t* kGroupPolicySetId = L"{00000000-0000-0000-c000-000000000046}";

class WholeRefresh : public RefreshFixture {
  protected:
    // The root's attributes that depend on the account are left out.
    std::string ReceivedWithoutAccount()
    {
        return std::regex_replace(ReceivedMeaning(), std::regex(" (SID|user)=\"[^\"]*\""), "");
    }

    // The `order` attributes of the document, in its order.
    std::string ReceivedOrders() { return ReceivedParts("Policy .*order=\"([^\"]*)\""); }
};

TEST_F(WholeRefresh, ListsBecomeElementsInOrder)
{
    CkxListedGpo deleted;
    deleted.name = kGpoC;
    deleted.displayName = L"Gone & <forgotten>";
    _m_deleted.Add(deleted);
    _m_changed.Add(MakeGpo(kGpoB, {"1"}));
    CkxListedGpo again = MakeGpo(kGpoB, {"1"});
    again.name[again.name.size() - 2] = L'b'; // the same GPO, spelt in lower case
    _m_changed.Add(again);
    CkxListedGpo empty;
    empty.name = kGpoA;
    empty.folder = _m_folder.Path() + L"\\nothing";
    _m_changed.Add(empty);
    EXPECT_EQ(Refresh(kMachine | GPO_INFO_FLAG_FORCED_REFRESH), 0U);
    EXPECT_EQ(
        ReceivedWithoutAccount(),
        XmlMeaning(L"<GPUpdate userScope='false' forced='true' version='2'><ChangedGPOs>"
                   L"<GPO name='{00000000-0000-0000-0000-00000000000B}' displayName='GPO B' precedence='1'>"
                   L"<Policies version='5'><Policy name='p' order='1000200001'/></Policies></GPO>"
                   L"<GPO name='{00000000-0000-0000-0000-00000000000A}' displayName='' precedence='3'>"
                   L"<Policies version='5'/></GPO></ChangedGPOs>"
                   L"<DeletedGPOs><GPO name='{00000000-0000-0000-0000-00000000000C}' "
                   L"displayName='Gone &amp; &lt;forgotten>' precedence='0'/></DeletedGPOs></GPUpdate>"));
}

TEST_F(WholeRefresh, OrdersRunOverAllGposAndScopes)
{
    const struct {
        const char* why;
        DWORD flags;
        std::vector<std::vector<std::string>> gpos;
        const char* orders;
    } rows[] = {
        {"the first GPO gets the highest band", kUser, {{"7"}, {"7"}, {"7"}}, "200007 100007 7"},
        {"machine policies stand above", kMachine, {{"7"}, {"8", "9"}}, "1000100007 1000000008 1000000009"},
        {"no order, or no plain number",
         kMachine,
         {{"", "12x", "7 ", " -3"}},
         "1500000000 1500000000 1500000000 999999997"},
        {"sums wrap", kMachine, {{"2147483647"}}, "-1147483649"},
    };

    constexpr const wchar_t* names[] = {kGpoA, kGpoB, kGpoC};
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.gpos.size(); ++i)
            _m_changed.Add(MakeGpo(names[i], row.gpos[i]));
        EXPECT_EQ(Refresh(row.flags), 0U) << row.why;
        EXPECT_EQ(ReceivedOrders(), row.orders) << row.why;
    }
    EXPECT_THAT(Trace(), HasSubstr("ERROR: Policy in GPO [GPO A] is missing 'order' attribute."));
}

TEST_F(WholeRefresh, OtherFilesFollowThePoliciesWhole)
{
    CkxListedGpo gpo = MakeGpo(kGpoA, {"1"});
    WritePolicyFile(kGpoA, L"GUI.xml", "<GUI version='5'><Text id='1'>Ask the helpdesk</Text></GUI>");
    WritePolicyFile(kGpoA, L"RestrictionRules.xml",
                    "<RestrictionRules version='77'><Rule/></RestrictionRules>");
    WritePolicyFile(kGpoA, L"Tokens.xml", "<Tokens version='5' extra='kept'/>");
    WritePolicyFile(kGpoA, L"ApplicationGroups.xml",
                    "<?xml version='1.0' encoding='utf-8'?>\r\n<ApplicationGroups version='5'>"
                    "<ApplicationGroup id='1' name='K\xC3\xA4se \xF0\x9F\xA7\x80'/></ApplicationGroups>");
    _m_changed.Add(gpo);
    EXPECT_EQ(Refresh(kUser), 0U);
    EXPECT_THAT(
        ReceivedMeaning(),
        HasSubstr(
            "      Policies version=\"5\"\n"
            "        Policy name=\"p\" order=\"1\"\n"
            "        ApplicationGroups version=\"5\"\n"
            "          ApplicationGroup id=\"1\" name=\"K\xC3\xA4se \xF0\x9F\xA7\x80\"\n"
            "        Tokens extra=\"kept\" version=\"5\"\n"
            "        RestrictionRules version=\"77\"\n          Rule\n"
            "        GUI version=\"5\"\n          Text id=\"1\"\n            text: Ask the helpdesk\n"));
}

// The parser may keep a namespace with the document that its name was read from; the names live longer.
TEST_F(WholeRefresh, NamesWithANamespaceOutliveTheirFiles)
{
    const auto many = [](const std::string& name) {
        std::string attributes;
        for (int i = 0; i < 150; ++i)
            attributes += " " + name + std::to_string(i) + "='1'";
        return attributes;
    };
    const CkxListedGpo gpo = MakeGpo(kGpoA, {});
    WritePolicyFile(kGpoA, L"Policies.xml",
                    "<GpoPolicies version='5' xmlns:o='urn:outer'" + many("p") +
                        "><Policy order='1'><o:Kept o:as='it is'/></Policy></GpoPolicies>");
    WritePolicyFile(kGpoA, L"GUI.xml",
                    "<GUI version='5'" + many("a") + "><Text id='1' xml:space='preserve'>1</Text></GUI>");
    WritePolicyFile(kGpoA, L"Tokens.xml", "<Tokens version='5'" + many("b") + "/>");
    for (int round = 0; round < 20; ++round) {
        _m_changed.Add(gpo);
        ASSERT_EQ(Refresh(kUser), 0U);
        const std::wstring document = ReceivedDocument();
        ASSERT_NE(document.find(L" xml:space=\"preserve\""), std::wstring::npos) << round;
        ASSERT_NE(document.find(L"<o:Kept o:as=\"it is\""), std::wstring::npos) << round;
    }
}

TEST_F(WholeRefresh, AnOddNamespaceDoesNotSpoilTheDocument)
{
    _m_changed.Add(
        MakePolicies(kGpoA, "<Policy order='1'><x:Any xmlns:x='&lt;a href=&quot;&amp;b&quot;>'/></Policy>"));
    _m_changed.Add(MakeGpo(kGpoB, {"1"}));
    EXPECT_EQ(Refresh(kUser), 0U);
    EXPECT_EQ(ReceivedOrders(), "100001 1");
}

// Each row damages the middle GPO of three; the others must arrive as if nothing was wrong.
TEST_F(WholeRefresh, AFaultyGpoHarmsNoOther)
{
    const struct {
        const char* why;
        const wchar_t* file;
        const char* text;
        const char* trace;
    } rows[] = {
        {"not well-formed", L"Policies.xml", "<GpoPolicies version='5'><Policy>",
         "ERROR: Failed to load XML from file ["},
        {"empty file", L"Tokens.xml", "", "ERROR: Failed to load the policy files of GPO GPO B"},
        {"wrong version", L"Policies.xml", "<GpoPolicies version='4'><Policy order='1'/></GpoPolicies>",
         "ERROR: Unsupported version found in XML. Versions: 4, 5, 5, 5. GPO GPO B - {"},
        {"of another file", L"GUI.xml", "<GUI version='6'/>", "Versions: 5, 5, 5, 6. GPO GPO B"},
        {"of a third file", L"Tokens.xml", "<Tokens version='4'/>", "Versions: 5, 5, 4, 5. GPO GPO B"},
        {"no version", L"ApplicationGroups.xml", "<ApplicationGroups/>",
         "ERROR: Failed to get version attribute from root element <ApplicationGroups>. Path=["},
        {"version with letters", L"GUI.xml", "<GUI version='5a'/>", "root element <GUI>. Path=["},
        {"document type declaration", L"GUI.xml",
         "<!DOCTYPE GUI [<!ENTITY e 'x'>]><GUI version='5'>&e;</GUI>",
         "a document type declaration is not allowed"},
        {"outside entity", L"GUI.xml", "<!DOCTYPE GUI SYSTEM 'file:///c:/windows/win.ini'><GUI version='5'/>",
         "a document type declaration is not allowed"},
    };

    for (const auto& row : rows) {
        _m_changed.Add(MakeGpo(kGpoA, {"1"}));
        CkxListedGpo faulty = MakeGpo(kGpoB, {"1"});
        const std::wstring path = WritePolicyFile(kGpoB, row.file, row.text) + kInExtensionFolder + row.file;
        _m_changed.Add(faulty);
        _m_changed.Add(MakeGpo(kGpoC, {"1"}));
        EXPECT_EQ(Refresh(kUser), 0U) << row.why;
        EXPECT_EQ(ReceivedOrders(), "200001 1") << row.why;
        EXPECT_THAT(Trace(), HasSubstr(row.trace)) << row.why;
        ::DeleteFileW(path.c_str());
    }
}

// What is unusual about a GPO's files and names, and harms nothing.
TEST_F(WholeRefresh, OddFilesAndNamesArriveAsTheyAre)
{
    const std::wstring inside = kInExtensionFolder;
    CkxListedGpo lowerCase = MakeGpo(kGpoA, {});
    ASSERT_TRUE(::DeleteFileW((lowerCase.folder + inside + L"Policies.xml").c_str()));
    WritePolicyFile(kGpoA, L"policies.XML", "<GpoPolicies version='5'><Policy order='1'/></GpoPolicies>");
    lowerCase.displayName = L"100%s %n%d %1!s!";
    _m_changed.Add(lowerCase);

    CkxListedGpo deep = MakeGpo(kGpoB, {});
    deep.folder = L"\\\\?\\" + (_m_folder / L"deep");
    while (deep.folder.size() < std::size_t{2} * MAX_PATH) {
        ASSERT_TRUE(::CreateDirectoryW(deep.folder.c_str(), nullptr));
        deep.folder += L"\\" + std::wstring(60, L'd');
    }
    ASSERT_TRUE(::CreateDirectoryW(deep.folder.c_str(), nullptr));
    ASSERT_TRUE(::CreateDirectoryW((deep.folder + inside).c_str(), nullptr));
    const std::wstring source = _m_folder / (std::wstring(L"gpos\\") + kGpoA + inside + L"policies.XML");
    ASSERT_TRUE(::CopyFileW(source.c_str(), (deep.folder + inside + L"Policies.xml").c_str(), TRUE));
    deep.folder.erase(0, 4); // as the engine would name it
    _m_changed.Add(deep);

    EXPECT_EQ(Refresh(kUser), 0U);
    const std::string meaning = ReceivedMeaning();
    EXPECT_THAT(meaning, HasSubstr("displayName=\"100%s %n%d %1!s!\""));
    EXPECT_THAT(meaning, HasSubstr("Policy order=\"100001\"")) << "named in another case";
    EXPECT_THAT(meaning, HasSubstr("Policy order=\"1\"")) << "beyond MAX_PATH";
    EXPECT_THAT(Trace(), HasSubstr("Display Name: 100%s %n%d %1!s!"));
}

TEST_F(WholeRefresh, TextThatNoParserReadsIsReplaced)
{
    CkxListedGpo gpo = MakeGpo(kGpoA, {});
    gpo.displayName = std::wstring(L"a\x01") + wchar_t(0xD800) + L"b\xFFFE" + L"\xD83E\xDDC0";
    _m_changed.Add(gpo);
    EXPECT_EQ(Refresh(kUser), 0U);
    EXPECT_THAT(ReceivedMeaning(), HasSubstr("displayName=\"a\xEF\xBF\xBD\xEF\xBF\xBD"
                                             "b\xEF\xBF\xBD\xF0\x9F\xA7\x80\""));
    EXPECT_THAT(Trace(), HasSubstr("Display Name: ???unconvertable UNICODE string???"));
}

TEST_F(WholeRefresh, DamagedListsNeitherHangNorCrash)
{
    _m_changed.Add(MakeGpo(kGpoA, {"1"}));
    GROUP_POLICY_OBJECTW& nameless = _m_changed.Add(MakeGpo(kGpoB, {"1"}));
    nameless.szGPOName[0] = L'\0';
    nameless.lpLink = nullptr;
    GROUP_POLICY_OBJECTW& homeless = _m_changed.Add(MakeGpo(kGpoC, {"1"}));
    homeless.lpFileSysPath = nullptr;
    homeless.lpDisplayName = nullptr;
    homeless.pNext = _m_changed.Head();
    EXPECT_EQ(Refresh(kUser), 0U);
    const std::string meaning = ReceivedMeaning();
    EXPECT_THAT(meaning, HasSubstr("order=\"200001\"")); // the nameless entry counts for precedence
    EXPECT_THAT(meaning, HasSubstr("GPO displayName=\"\" name=\"{00000000-0000-0000-0000-00000000000C}\" "
                                   "precedence=\"3\"\n  DeletedGPOs"));
    EXPECT_THAT(meaning, Not(HasSubstr("precedence=\"2\"")));
    EXPECT_THAT(Trace(), HasSubstr("ERROR: The GPO list runs into itself after 3 entries."));
    EXPECT_THAT(Trace(), HasSubstr("INFO:      Link        : <NULL>"));
}

TEST_F(WholeRefresh, TheEngineIsToldWhoseRefreshItIsAndWhyItFails)
{
    static std::vector<std::pair<BOOL, std::wstring>> lines;
    _m_statusCallback = [](BOOL verbose, LPWSTR text) -> DWORD {
        lines.emplace_back(verbose, text);
        return 0;
    };
    EXPECT_EQ(Refresh(kUser), 0U);
    EXPECT_THAT(ReceivedMeaning(), HasSubstr("GPUpdate"));
    const CkxHandle good = std::exchange(_m_token, CkxHandle());
    EXPECT_EQ(Refresh(kUser), static_cast<DWORD>(ERROR_XML_PARSE_ERROR));
    EXPECT_FALSE(_m_agent.WaitForMessage(0));
    EXPECT_THAT(lines, ElementsAre(Pair(FALSE, StartsWith(L"User: ")),
                                   Pair(TRUE, StartsWith(L"Failed to get user SID. Error: ")),
                                   Pair(FALSE, L"User: <InvalidUserToken=0x00000000>")));
    EXPECT_THAT(Trace(),
                AllOf(HasSubstr("INFO: User: "), HasSubstr("ERROR: Failed to get user SID. Error: ")));
}

TEST_F(WholeRefresh, ExplainsAMissingAgent)
{
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kAgentKey);
    _m_agent.Stop();
    EXPECT_EQ(Refresh(0), 0U);
    EXPECT_THAT(Trace(), HasSubstr("INFO: Kovrex Agent is not installed. Policies not applied."));

    _m_folder.Write(L"kx_agent.exe", "");

    const struct {
        const char* why;
        DWORD type; ///< none: there is no such key
        std::wstring data;
        DWORD result;
        const char* trace;
    } rows[] = {
        {"no key", REG_NONE, L"", kAgain, "ERROR: Failed to open [HKLM\\Software\\Korvex\\Agent]. Error=2\n"},
        {"another management set", REG_SZ, L"{11111111-1111-1111-1111-111111111111}", 0,
         "INFO: Kovrex Agent is not in Group Policy mode. Policies not applied."},
        {"empty identifier", REG_SZ, L"", 0, "is not in Group Policy mode"},
        {"Group Policy, any case", REG_SZ, kGroupPolicySetId, kAgain,
         "INFO: Korvex Agent is not running. Policies not applied."},
        {"a number", REG_DWORD, L"\x7", kAgain, "ERROR: Failed to query SetID value. Error=13\n"},
        {"too long", REG_SZ, std::wstring(64, L'x'), kAgain,
         "ERROR: Failed to query SetID value. Error=234\n"},
    };

    for (const auto& row : rows) {
        if (row.type != REG_NONE)
            ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, kAgentKey, L"SetID", row.type, row.data.c_str(),
                              static_cast<DWORD>((row.data.size() + 1) * sizeof(wchar_t)));
        EXPECT_EQ(Refresh(0), row.result) << row.why;
        EXPECT_THAT(Trace(), HasSubstr(row.trace)) << row.why;
    }
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kAgentKey);
}

} // namespace
