// What the agent gets of a GPO when the parser fails on the way: nothing of the failed step, all of what came
// before it, and the other GPOs as if nothing had happened.

#include "Common_CPP/xml/xml.h"
#include "Tests/support/hook.h"
#include "Tests/support/refresh_fixture.h"
#include "Tests/support/scripted_targeting.h"
#include "Tools/host/appended_call.h"

#include <gmock/gmock.h>

#include <cwchar>

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr wchar_t kHalfOfPair = 0xD800;

// The one call that the parser refuses: its kind and the name of its subject, or how that begins.
std::wstring g_refused;

bool Refuses(const std::wstring& call)
{
    const bool refuses = !g_refused.empty() && call.starts_with(g_refused);
    if (refuses)
        g_refused.clear();
    return refuses;
}

// With a bracket behind it, so that it is not the beginning of another name.
std::wstring NameOf(IXMLDOMNode* node)
{
    CComBSTR name;
    return node && node->get_nodeName(&name) == S_OK ? std::wstring(name.m_str) + L'>' : L"";
}

HRESULT STDMETHODCALLTYPE AppendChild(IXMLDOMNode* self, IXMLDOMNode* child, IXMLDOMNode** added)
{
    return Refuses(L"append " + NameOf(child)) ? E_FAIL
                                               : SlotHook<&AppendChild>::Original(self, child, added);
}

HRESULT STDMETHODCALLTYPE SetAttribute(IXMLDOMElement* self, BSTR name, VARIANT value)
{
    return Refuses(std::wstring(L"set ") + name) ? E_FAIL
                                                 : SlotHook<&SetAttribute>::Original(self, name, value);
}

HRESULT STDMETHODCALLTYPE GetXml(IXMLDOMNode* self, BSTR* xml)
{
    if (Refuses(L"text of " + NameOf(self)))
        return E_FAIL;
    const HRESULT hr = SlotHook<&GetXml>::Original(self, xml);
    if (hr == S_OK && Refuses(L"spoil text of " + NameOf(self)))
        (*xml)[::SysStringLen(*xml) - 1] = kHalfOfPair;
    return hr;
}

HRESULT STDMETHODCALLTYPE LoadXml(IXMLDOMDocument* self, BSTR xml, VARIANT_BOOL* done)
{
    if (Refuses(std::wstring(L"load ") + xml))
        return E_FAIL;
    if (!std::wcschr(xml, kHalfOfPair))
        return SlotHook<&LoadXml>::Original(self, xml, done);
    *done = VARIANT_TRUE; // a parser that takes what cannot be written
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CreateElement(IXMLDOMDocument* self, BSTR name, IXMLDOMElement** element)
{
    return Refuses(L"create " + std::wstring(name) + L'>')
               ? E_FAIL
               : SlotHook<&CreateElement>::Original(self, name, element);
}

// While it lives, the parser asks Refuses. REQUIRES: a thread with COM.
class ParserFaults {
    // An element and a document of the classes that the calls are made on.
    static CComPtr<IXMLDOMElement> _Element()
    {
        CkxXMLDocument parsed;
        CkxXMLNode element;
        CComPtr<IXMLDOMElement> found;
        if (parsed.Load(CString(L"<e/>")) && parsed.GetFirstChild(L"e", element))
            (void)element.Get()->QueryInterface(&found);
        return found;
    }

    CComPtr<IXMLDOMDocument> _Document() const
    {
        CComPtr<IXMLDOMDocument> document;
        (void)_m_element->get_ownerDocument(&document);
        return document;
    }

    // With the methods' places in the tables, IUnknown's and IDispatch's counted.
    CComPtr<IXMLDOMElement> _m_element = _Element();
    CComPtr<IXMLDOMDocument> _m_document = _Document();
    SlotHook<&AppendChild> _m_appendChild{_m_element.p, 21U};
    SlotHook<&GetXml> _m_getXml{_m_element.p, 34U};
    SlotHook<&SetAttribute> _m_setAttribute{_m_element.p, 45U};
    SlotHook<&CreateElement> _m_createElement{_m_document.p, 47U};
    SlotHook<&LoadXml> _m_loadXml{_m_document.p, 65U};
};

class ParserFaultsTest : public RefreshFixture {
  protected:
    /// A GPO with one of each file, and a targeted policy of that name.
    CkxListedGpo MakeFullGpo(const wchar_t* gpo, const std::string& policy) const
    {
        const CkxListedGpo made = MakePolicies(
            gpo, "<Policy name='" + policy + "' order='1'><ItemLevelTargeting answer='match'/></Policy>");
        for (const std::string file : {"ApplicationGroups", "Tokens", "RestrictionRules", "GUI"})
            WritePolicyFile(gpo, std::wstring(file.begin(), file.end()) + L".xml",
                            "<" + file + " version='5'/>");
        return made;
    }

    /// What arrived, in short: elements below a GPO, policies by their names.
    std::string ReceivedElements() { return ReceivedParts("\n {6,8}(?:Policy name=\"([^\"]*)\"|(\\w+))"); }

    const ScriptedTargeting _m_targeting;
};

TEST_F(ParserFaultsTest, AFailedMergeEndsItsGpoOnly)
{
    const std::string whole = "Policies a ApplicationGroups Tokens RestrictionRules GUI";

    const struct {
        const wchar_t* call;
        std::string elements; ///< of the first GPO
        const char* trace;
    } rows[] = {
        {L"append GPO>", "", "ERROR: Failed to add <GPO> element for GPO GPO A"},
        {L"set name", "", "ERROR: SetAttribute(name) failed for <GPO> GPO A"},
        {L"set displayName", "", "ERROR: SetAttribute(displayName) failed for <GPO> GPO A"},
        {L"set precedence", "", "ERROR: SetAttribute(Precedence) failed for <GPO> GPO A"},
        {L"create Policies>", "", "ERROR: AddChild(<Policies>) failed. GPO GPO A"},
        {L"append Policy>", "Policies ", "ERROR: AddChild(<Policy>) failed. GPO GPO A"},
        {L"set order", "Policies ", "ERROR: Failed to set 'order' attribute to policy in GPO [GPO A]."},
        {L"append ApplicationGroups>", "Policies a ",
         "ERROR: AddChild(<ApplicationGroups>) failed. GPO GPO A"},
        {L"append Tokens>", "Policies a ApplicationGroups ", "ERROR: AddChild(<Tokens>) failed. GPO GPO A"},
        {L"append RestrictionRules>", "Policies a ApplicationGroups Tokens ",
         "ERROR: AddChild(<RestrictionRules>) failed. GPO GPO A"},
        {L"append GUI>", "Policies a ApplicationGroups Tokens RestrictionRules ",
         "ERROR: AddChild(<GUI>) failed. GPO GPO A"},
        // Targeting that cannot be asked lets through.
        {L"text of ItemLevelTargeting>", whole + " ", "ERROR: Failed to get text of ItemLevelTargeting node"},
        {L"spoil text of ItemLevelTargeting>", whole + " ", "ERROR: Failed to load ILT registry policy"},
        {L"load <?xml", whole + " ", "ERROR: Failed to load ILT registry policy"},
    };

    const ParserFaults faults;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.trace);
        _m_changed.Add(MakeFullGpo(kGpoA, "a"));
        _m_changed.Add(MakeFullGpo(kGpoB, "b"));
        g_refused = row.call;
        EXPECT_EQ(Refresh(0), 0U);
        EXPECT_EQ(g_refused, L"") << "that call never came";
        EXPECT_EQ(ReceivedElements(),
                  row.elements + "Policies b ApplicationGroups Tokens RestrictionRules GUI");
        EXPECT_THAT(Trace(), HasSubstr(row.trace));
    }
}

TEST_F(ParserFaultsTest, WithoutAFrameNothingIsSent)
{
    constexpr const char* noFrame =
        "ERROR: MsXml error. Failed to add <ChangedGPOs> and <DeletedGPOs> XML elements.";

    enum Kind { Update, Migration, Appended };

    const struct {
        const wchar_t* call;
        Kind kind;
        const char* trace;
    } rows[] = {
        {L"create GPUpdate>", Update, noFrame},
        {L"append ChangedGPOs>", Update, noFrame},
        {L"append DeletedGPOs>", Update, noFrame},
        {L"create AgentParameters>", Migration, "ERROR: Failed to create <AgentParameters> root element"},
        {L"set setId", Migration,
         "ERROR: Failed to set 'setId' attribute of the <AgentParameters> element to {set}"},
        {L"set proxyPassword", Migration,
         "ERROR: Failed to set 'proxyPassword' attribute of the <AgentParameters> element.\n"},
        {L"set appended", Appended, ""},
        {L"set deleteAllAppended", Appended, "ERROR: Failed to set 'deleteAllAppended' attribute."},
    };

    const LocalSystemCaller caller(_m_extension.Get());
    const ParserFaults faults;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.trace);
        const kx::AppendedUpdate request = {nullptr, 0, 1, {}, nullptr};
        _m_changed.Add(MakeFullGpo(kGpoA, "a"));
        if (row.kind == Migration)
            WritePolicyFile(kGpoA, L"Migration.xml",
                            "<AgentParameters version='5' setId='{set}' dispatcherUrl='https://d' "
                            "proxyUser='u' proxyPassword='open sesame'/>");
        g_refused = row.call;
        EXPECT_EQ(row.kind == Appended ? CallAppendedUpdate(_m_extension.Get(), &request) : Refresh(0),
                  static_cast<DWORD>(ERROR_XML_PARSE_ERROR));
        EXPECT_EQ(g_refused, L"") << "that call never came";
        EXPECT_FALSE(_m_agent.WaitForMessage(0));
        EXPECT_THAT(Trace(), HasSubstr(row.trace));
    }
    EXPECT_THAT(Trace(), Not(HasSubstr("open sesame")));
}

} // namespace
