// Migration commands from outside: the shipped module, documents compared by meaning, and a password that
// nobody finds.

#include "Tests/support/hook.h"
#include "Tests/support/refresh_fixture.h"
#include "Tests/support/xml_meaning.h"

#include <gmock/gmock.h>

#include <oleauto.h>

#include <atomic>
#include <malloc.h>

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* kGoodCommand = "<AgentParameters version='1' setId='{set}' dispatcherUrl='https://d'/>";
constexpr std::string_view kPassword = "open-sesame-and-more-than-a-short-string-holds";

class Migration : public RefreshFixture {
  protected:
    void AddGpo(const wchar_t* name, const char* command)
    {
        const CkxListedGpo gpo = MakeGpo(name, {"7"});
        if (command)
            WritePolicyFile(name, L"Migration.xml", command);
        _m_changed.Add(gpo);
    }

    static std::string SecretCommand()
    {
        return "<AgentParameters version='5' setId='{set}' dispatcherUrl='https://d' proxyUser='corp\\proxy' "
               "proxyPassword='" +
               std::string(kPassword) + "'/>";
    }
};

TEST_F(Migration, AGoodCommandIsTheDocument)
{
    const struct {
        const char* why;
        const char* command;
        const wchar_t* document;
    } rows[] = {
        {"what is required; the version is dropped", kGoodCommand,
         L"<AgentParameters setId='{set}' dispatcherUrl='https://d'/>"},
        {"everything; content and strange attributes are dropped",
         "<AgentParameters version='9' proxyPassword='&lt;p&gt;' setId='s' extra='x' dispatcherUrl='d' "
         "proxyUser='u'><Child/>text</AgentParameters>",
         L"<AgentParameters setId='s' dispatcherUrl='d' proxyUser='u' proxyPassword='&lt;p&gt;'/>"},
        {"a user without a password",
         "<AgentParameters version='5' setId='s' dispatcherUrl='d' proxyUser='u' proxyPassword=''/>",
         L"<AgentParameters setId='s' dispatcherUrl='d' proxyUser='u'/>"},
        {"a password without a user",
         "<AgentParameters version='5' setId='s' dispatcherUrl='d' proxyPassword='p'/>",
         L"<AgentParameters setId='s' dispatcherUrl='d' proxyPassword='p'/>"},
    };

    for (const auto& row : rows) {
        AddGpo(kGpoA, row.command);
        EXPECT_EQ(Refresh(kUser), 0U) << row.why;
        EXPECT_EQ(ReceivedMeaning(), XmlMeaning(row.document)) << row.why;
    }
    EXPECT_THAT(Trace(), HasSubstr("INFO: Migration command found. SetId={set}, DispatcherURL=[https://d]. "
                                   "GPO GPO A - {00000000-0000-0000-0000-00000000000A}"));
}

// The command stands in the first of two GPOs; the second one's policies must arrive all the same.
TEST_F(Migration, ARejectedCommandCostsItsOwnGpoOnly)
{
    constexpr const char* gpoA = "GPO A - {00000000-0000-0000-0000-00000000000A}";
    const std::string missing =
        " attribute is missing or empty in <AgentParameters> element in Migration.xml. "
        "GPO ";

    const struct {
        const char* why;
        const char* command;
        std::string trace;
        bool hides; // the GPO's own policies stay unread
    } rows[] = {
        {"another root", "<agentParameters version='5' setId='s' dispatcherUrl='d'/>",
         "ERROR: Unexpected root element name <agentParameters>.", true},
        {"no set", "<AgentParameters version='5' dispatcherUrl='d'/>", "ERROR: 'setId'" + missing + gpoA,
         true},
        {"an empty set", "<AgentParameters version='5' setId='' dispatcherUrl='d'/>",
         "ERROR: 'setId'" + missing + gpoA, true},
        {"no dispatcher", "<AgentParameters version='5' setId='s'/>",
         "ERROR: 'dispatcherUrl'" + missing + gpoA, true},
        {"no version: cannot be read", "<AgentParameters setId='s' dispatcherUrl='d'/>",
         "ERROR: Failed to get version attribute from root element <AgentParameters>. Path=[", false},
        {"not well-formed: cannot be read", "<AgentParameters", "ERROR: Failed to load XML from file [",
         false},
    };

    for (const auto& row : rows) {
        AddGpo(kGpoA, row.command);
        AddGpo(kGpoB, nullptr);
        EXPECT_EQ(Refresh(kUser), 0U) << row.why;
        const std::string meaning = ReceivedMeaning();
        EXPECT_EQ(meaning.find("order=\"100007\"") == std::string::npos, row.hides) << row.why;
        EXPECT_THAT(meaning, HasSubstr("order=\"7\"")) << row.why;
        EXPECT_THAT(Trace(), HasSubstr(row.trace)) << row.why;
    }
    EXPECT_THAT(Trace(),
                HasSubstr(std::string("ERROR: Failed to process migration command for GPO ") + gpoA));
}

TEST_F(Migration, TheFirstCommandEndsThePass)
{
    AddGpo(kGpoA, nullptr);
    AddGpo(kGpoB, kGoodCommand);
    AddGpo(kGpoC, "<AgentParameters version='5' setId='never' dispatcherUrl='never'/>");
    EXPECT_EQ(Refresh(kUser), 0U);
    EXPECT_EQ(ReceivedMeaning(), XmlMeaning(L"<AgentParameters setId='{set}' dispatcherUrl='https://d'/>"));
    EXPECT_THAT(Trace(), Not(HasSubstr("GPO C")));
}

TEST_F(Migration, NobodySeesThePassword)
{
    const DumpSwitch dumps;
    AddGpo(kGpoA, SecretCommand().c_str());
    EXPECT_EQ(Refresh(kUser), 0U);
    EXPECT_THAT(ReceivedMeaning(), HasSubstr("proxyPassword=\"" + std::string(kPassword) + "\""));
    WIN32_FIND_DATAW found{};
    const CkxFindHandle search(::FindFirstFileW((_m_folder / L"Trace\\GP *.xml").c_str(), &found));
    const std::string dump = ReadBytes(_m_folder / L"Trace\\" + found.cFileName);
    EXPECT_EQ(XmlMeaning(std::wstring(dump.begin(), dump.end())),
              XmlMeaning(L"<AgentParameters setId='{set}' dispatcherUrl='https://d' proxyUser='corp\\proxy' "
                         L"proxyPassword='...'/>"));
    EXPECT_THAT(Trace(), HasSubstr("INFO: Migration command found."));
    EXPECT_THAT(Trace(), Not(HasSubstr(std::string(kPassword))));
}

// What the module gives back to the system.
std::atomic<int> g_given;
std::atomic<int> g_withPassword;

void Look(const void* memory, std::size_t size)
{
    const std::string_view bytes(static_cast<const char*>(memory), memory ? size : 0);
    std::string wide;
    for (const char character : kPassword)
        wide.append(1, character).append(1, '\0');
    g_given += !bytes.empty();
    g_withPassword += bytes.find(kPassword) != bytes.npos || bytes.find(wide) != bytes.npos;
}

void WINAPI FreeString(BSTR text)
{
    Look(text, ::SysStringByteLen(text));
    ImportHook<&FreeString>::Original(text);
}

HRESULT WINAPI ClearVariant(VARIANT* value)
{
    if (value->vt == VT_BSTR)
        Look(value->bstrVal, ::SysStringByteLen(value->bstrVal));
    if (value->vt == (VT_ARRAY | VT_UI1))
        Look(value->parray->pvData, value->parray->rgsabound[0].cElements);
    return ImportHook<&ClearVariant>::Original(value);
}

void __cdecl Free(void* block)
{
    if (block)
        Look(block, ::_msize(block));
    ImportHook<&Free>::Original(block);
}

TEST_F(Migration, NoMemoryIsGivenBackWithThePasswordInIt)
{
    const HMODULE module = _m_extension.Get();
    const std::string notWellFormed = SecretCommand() + "<";
    const std::string rejected = "<Agent version='5' proxyPassword='" + std::string(kPassword) + "'/>";
    for (const std::string& command : {SecretCommand(), notWellFormed, rejected}) {
        AddGpo(kGpoA, command.c_str());
        g_given = 0;
        g_withPassword = 0;
        {
            const ImportHook<&FreeString> freeString(module, "SysFreeString");
            const ImportHook<&ClearVariant> clear(module, "VariantClear");
            const ImportHook<&Free> free(module, "free");
            EXPECT_EQ(Refresh(kUser), 0U) << command;
        }
        EXPECT_GT(g_given, 20) << "the watch sees nothing";
        EXPECT_EQ(g_withPassword, 0) << command;
        EXPECT_NE(ReceivedDocument(), L"nothing whole") << command;
    }
}

} // namespace
