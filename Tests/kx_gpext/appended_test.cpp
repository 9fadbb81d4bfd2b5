// Policy sets pushed by a component of the agent: the shipped module's export, called as LocalSystem or not.

#include "Tests/support/hook.h"
#include "Tests/support/refresh_fixture.h"
#include "Tests/support/xml_meaning.h"
#include "Tools/host/appended_call.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace {

using testing::HasSubstr;

class AppendedUpdate : public RefreshFixture {
  protected:
    /// Writes a file of a set; gives the set's folder. The name may make it a long path.
    std::wstring WriteSet(const std::wstring& name, const std::wstring& file, const char* text) const
    {
        const std::wstring folder = L"\\\\?\\" + (_m_folder / name);
        std::filesystem::create_directories(folder);
        std::filesystem::rename(_m_folder.Write(L"file", text), folder + L"\\" + file);
        return _m_folder / name;
    }

    DWORD Push(const std::vector<kx::AppendedSet>& sets, HANDLE user = nullptr) const
    {
        const kx::AppendedUpdate request = {sets.data(), static_cast<std::int32_t>(sets.size()), 0, {}, user};
        return CallAppendedUpdate(_m_extension.Get(), &request);
    }

    /// What a call adds to the trace.
    template <class Call>
    std::string TraceOf(const Call& call) const
    {
        const std::size_t before = Trace().size();
        call();
        return Trace().substr(before);
    }
};

TEST_F(AppendedUpdate, SetsArriveInOrderAndAFaultyOneHarmsNoOther)
{
    const std::wstring longFolder = std::wstring(120, L'x') + L"\\" + std::wstring(120, L'y');
    const std::wstring longName(60, L'n');

    const struct {
        const char* why;
        std::wstring folder;
        const wchar_t* name;
        const wchar_t* displayName;
        const wchar_t* file;
        const char* text;
        const wchar_t* content; ///< of the set's element; null for no element
        const char* trace;
    } rows[] = {
        {"orders stay, or are the default", L"a", L"A", L"100 %s%n%d", L"Policies.xml",
         "<P version='5'><Policy order='-7'/><Policy/></P>",
         L"<Policies version='5'><Policy order='-7'/><Policy order='500000000'/></Policies>",
         "Appended    : True"},
        {"a long path; a name is cut at 49", longFolder, longName.c_str(), L"D", L"Policies.xml",
         "<P version='5'><Policy order='3'/></P>", L"<Policies version='5'><Policy order='3'/></Policies>",
         ""},
        {"the same name again", L"g", longName.c_str(), L"D", L"GUI.xml", "<GUI version='5'/>",
         L"<Policies version='5'><GUI version='5'/></Policies>", ""},
        {"another version", L"v", L"V", L"W", L"Policies.xml", "<P version='4'><Policy/></P>", L"",
         "ERROR: Failed to process polcies for appended GPO W - V"},
        {"a migration command hides all", L"m", L"M", L"D", L"Migration.xml", "<M version='5'/>", L"",
         "GPO D - M"},
        {"no folder", L"", L"N", L"D", L"x", "", nullptr,
         "of the GPO parameters is NULL or empty. [] [N] [D]"},
        {"no name", L"n", nullptr, L"D", L"x", "", nullptr, "\\n] [<NULL>] [D]"},
        {"no display name", L"n", L"N", L"", L"x", "", nullptr, "\\n] [N] []"},
    };

    std::deque<std::wstring> folders; // texts that the sets point into
    std::vector<kx::AppendedSet> sets;
    std::wstring expected = L"<GPUpdate userScope='false' forced='false' version='2' SID='S-1-5-18' "
                            L"user='NT AUTHORITY\\SYSTEM' appended='true'><ChangedGPOs>";
    for (const auto& row : rows) {
        folders.push_back(row.folder.empty() ? L"" : WriteSet(row.folder, row.file, row.text));
        sets.push_back({folders.back().c_str(), row.name, row.displayName});
        if (row.content)
            expected += L"<GPO precedence='0' name='" + std::wstring(row.name).substr(0, 49) +
                        L"' displayName='" + row.displayName + L"'>" + row.content + L"</GPO>";
    }
    const LocalSystemCaller caller(_m_extension.Get());
    const DumpSwitch dumpSwitch;
    EXPECT_EQ(Push(sets), 0U);
    EXPECT_EQ(ReceivedMeaning(), XmlMeaning(expected + L"</ChangedGPOs><DeletedGPOs/></GPUpdate>"));
    for (const auto& row : rows)
        EXPECT_THAT(Trace(), HasSubstr(row.trace)) << row.why;
    WIN32_FIND_DATAW dump;
    const std::wstring dumps = _m_folder / L"Trace\\GP * NT AUTHORITY_SYSTEM.xml";
    EXPECT_TRUE(CkxFindHandle(::FindFirstFileW(dumps.c_str(), &dump)));
}

TEST_F(AppendedUpdate, ASetThatCannotBeReadEndsIt)
{
    const LocalSystemCaller caller(_m_extension.Get());
    for (const char* text :
         {"<P version='5'><Policy>", "<P/>", "<!DOCTYPE P [<!ENTITY e 'x'>]><P version='5'/>"}) {
        const std::wstring good = WriteSet(L"good", L"Policies.xml", "<P version='5'/>");
        const std::wstring bad = WriteSet(L"bad", L"Tokens.xml", text);
        EXPECT_EQ(Push({{good.c_str(), L"G", L"g"}, {bad.c_str(), L"B", L"b"}, {good.c_str(), L"H", L"h"}}),
                  static_cast<DWORD>(ERROR_XML_PARSE_ERROR))
            << text;
    }
    EXPECT_FALSE(_m_agent.WaitForMessage(0));
}

TEST_F(AppendedUpdate, ARequestIsReadAsItIsLaidOut)
{
    const kx::AppendedSet set = {nullptr, L"n", L"d"};
    const auto noToken = reinterpret_cast<HANDLE>(UINT_PTR{0x7770});

    const struct {
        const char* why;
        kx::AppendedUpdate request;
        DWORD code;
        bool deletesAll;
    } rows[] = {
        {"only deletes", {nullptr, 0, 1, {}, nullptr}, 0, true},
        {"any bit counts, the reserved bytes do not", {nullptr, 0, 0x80, {1, 2, 3}, nullptr}, 0, true},
        {"reserved bytes only", {nullptr, 0, 0, {1, 2, 3}, nullptr}, 0, false},
        {"fewer than none", {&set, -1, 0, {}, nullptr}, 0, false},
        {"sets announced, none there", {nullptr, 1, 1, {}, nullptr}, ERROR_INVALID_PARAMETER, false},
        {"no such token", {nullptr, 0, 0, {}, noToken}, ERROR_XML_PARSE_ERROR, false},
    };

    const LocalSystemCaller caller(_m_extension.Get());
    for (const auto& row : rows) {
        EXPECT_EQ(CallAppendedUpdate(_m_extension.Get(), &row.request), row.code) << row.why;
        if (row.code != 0)
            continue;
        const std::string meaning = ReceivedMeaning();
        EXPECT_THAT(meaning, HasSubstr(" appended=\"true\"")) << row.why;
        EXPECT_THAT(meaning, HasSubstr("  ChangedGPOs\n  DeletedGPOs\n")) << row.why;
        EXPECT_EQ(meaning.find(" deleteAllAppended=\"true\"") != std::string::npos, row.deletesAll)
            << row.why;
    }
    ::CoUninitialize();
    EXPECT_EQ(Push({}), static_cast<DWORD>(ERROR_XML_PARSE_ERROR)) << "a thread without COM";
    EXPECT_GE(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), 0);
    EXPECT_THAT(Trace(), HasSubstr("FreeThreadedDOMDocument30) failed. hr=-2147221008"));
    EXPECT_FALSE(_m_agent.WaitForMessage(0));
}

TEST_F(AppendedUpdate, WhatFailsGivesItsCodeAndSendsNothing)
{
    constexpr DWORD error = ERROR_GEN_FAILURE;
    constexpr DWORD denied = ERROR_ACCESS_DENIED;
    constexpr DWORD noMemory = ERROR_NOT_ENOUGH_MEMORY;
    constexpr const char* noToken = "ERROR: Failed to get effective token LastError=31\n";
    constexpr const char* noUser = "ERROR: Failed to get token user LastError=31\n";

    const struct {
        const char* import;
        LONG_PTR(WINAPI* replacement)();
        DWORD code;
        const char* trace;
    } rows[] = {
        {"OpenThreadToken", Fail<0, error>, denied, noToken},
        {"OpenProcessToken", Fail<0, error>, denied, noToken},
        {"GetTokenInformation", Fail<0, error>, denied, noUser},
        {"IsValidSid", Fail<0, error>, denied, noUser},
        {"IsWellKnownSid", Fail<0, error>, denied, "ERROR: Invalid user S-1-5-18 LastError=31\n"},
        {"CoGetClassObject", Fail<REGDB_E_CLASSNOTREG, 0>, ERROR_XML_PARSE_ERROR,
         "ERROR: Failed to initialize CkxGpXml"},
        {"SetThreadToken", Fail<0, error>, ERROR_XML_PARSE_ERROR,
         "ERROR: The policy files are not read without the user's identity. GPO "},
        {"SysAllocString", Fail<0, 0>, ERROR_OUTOFMEMORY, "ERROR: The call ended in an exception. Error=14"},
        {"ConvertSidToStringSidW", Fail<0, noMemory>, ERROR_OUTOFMEMORY, "exception. Error=14"},
        {"ConvertSidToStringSidW", Fail<0, error>, ERROR_INTERNAL_ERROR, "exception. Error=1359"},
        {"OpenEventW", Fail<0, ERROR_FILE_NOT_FOUND>, ERROR_NOT_READY,
         "ERROR: Failed to send appended update to the agent. Agent is not ready."},
        {"WaitNamedPipeW", Fail<0, ERROR_SEM_TIMEOUT>, ERROR_WRITE_FAULT,
         "ERROR: Failed to send appended update to the agent.\n"},
        {"RegQueryValueExW", Fail<ERROR_GEN_FAILURE, 0>, 0, "INFO: GP appended update sent to agent."},
    };

    const std::wstring folder = WriteSet(L"a", L"Policies.xml", "<P version='5'/>");
    const std::wstring display(200, L'd');
    const LocalSystemCaller caller(_m_extension.Get());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.import);
        const PatchedImport patch(_m_extension.Get(), row.import, reinterpret_cast<void*>(row.replacement));
        const std::string trace = TraceOf([&] {
            EXPECT_EQ(Push({{folder.c_str(), L"A", display.c_str()}}, _m_token.Get()), row.code);
        });
        EXPECT_THAT(trace, HasSubstr(row.trace));
        EXPECT_EQ(_m_agent.WaitForMessage(row.code == 0 ? 10000 : 0).has_value(), row.code == 0);
    }
    const std::string trace = TraceOf([&] {
        ::SetLastError(74565);
        EXPECT_EQ(CallAppendedUpdate(_m_extension.Get(), nullptr),
                  static_cast<DWORD>(ERROR_INVALID_PARAMETER));
        EXPECT_EQ(::GetLastError(), 74565U);
    });
    EXPECT_THAT(trace, HasSubstr("ERROR: NULL pointer LastError=74565\n"));
}

TEST_F(AppendedUpdate, OnlyTheTokenInEffectMakesTheCaller)
{
    const struct {
        const char* why;
        SystemTokens system;
        bool wearsToken;
        DWORD code;
    } rows[] = {
        {"LocalSystem's process", SystemTokens::Process, false, 0},
        {"a user's thread in it", SystemTokens::Process, true, ERROR_ACCESS_DENIED},
        {"LocalSystem's thread in a user's process", SystemTokens::Thread, true, 0},
        {"a user's process", SystemTokens::Thread, false, ERROR_ACCESS_DENIED},
    };

    for (const auto& row : rows) {
        const LocalSystemCaller caller(_m_extension.Get(), row.system);
        ASSERT_TRUE(!row.wearsToken || ::SetThreadToken(nullptr, _m_token.Get()));
        const std::string trace = TraceOf([&] { EXPECT_EQ(Push({}), row.code) << row.why; });
        ::RevertToSelf();
        EXPECT_EQ(trace.find("ERROR: Invalid user S-1-5-21-") != std::string::npos, row.code != 0) << row.why;
        EXPECT_EQ(_m_agent.WaitForMessage(row.code == 0 ? 10000 : 0).has_value(), row.code == 0) << row.why;
    }
}

// What the thread wears, and what it wore whenever a set's policies were opened.
HANDLE g_worn = nullptr;
std::vector<HANDLE> g_readAs;

HANDLE WINAPI NotedCreateFile(LPCWSTR path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                              DWORD creation, DWORD flags, HANDLE sample)
{
    if (std::wstring_view(path).ends_with(L"\\Policies.xml"))
        g_readAs.push_back(g_worn);
    return ImportHook<&NotedCreateFile>::Original(path, access, share, security, creation, flags, sample);
}

// Refuses a primary token, as Windows does and Wine does not.
BOOL WINAPI NotedSetThreadToken(HANDLE* thread, HANDLE token)
{
    TOKEN_TYPE type = TokenImpersonation;
    DWORD size = 0;
    if (token && ::GetTokenInformation(token, TokenType, &type, sizeof type, &size) && type == TokenPrimary) {
        ::SetLastError(ERROR_BAD_TOKEN_TYPE);
        return FALSE;
    }
    g_worn = token;
    return ::SetThreadToken(thread, token);
}

TEST_F(AppendedUpdate, FilesAreReadAsTheUserAndAMachinesAsTheCaller)
{
    const HMODULE module = _m_extension.Get();
    const LocalSystemCaller caller(module);
    const ImportHook<&NotedSetThreadToken> setToken(module, "SetThreadToken");
    const ImportHook<&NotedCreateFile> createFile(module, "CreateFileW");
    const std::wstring folder = WriteSet(L"a", L"Policies.xml", "<P version='5'/>");
    for (const HANDLE user : {_m_token.Get(), HANDLE{nullptr}}) {
        g_readAs.clear();
        EXPECT_EQ(Push({{folder.c_str(), L"A", L"a"}}, user), 0U);
        EXPECT_THAT(g_readAs, testing::AllOf(testing::Not(testing::IsEmpty()), testing::Each(user)));
        EXPECT_EQ(g_worn, nullptr);
        const std::string meaning = ReceivedMeaning();
        EXPECT_THAT(meaning, HasSubstr(user ? " SID=\"S-1-5-21-" : " SID=\"S-1-5-18\""));
        EXPECT_THAT(meaning, HasSubstr(user ? " userScope=\"true\"" : " userScope=\"false\""));
    }
}

TEST_F(AppendedUpdate, TheTestingExportDoesNothing)
{
    const auto call = reinterpret_cast<DWORD(WINAPI*)()>(
        reinterpret_cast<void*>(::GetProcAddress(_m_extension.Get(), "ProcessAppendedUpdateTestW")));
    EXPECT_EQ(TraceOf([&] { EXPECT_EQ(call(), 0U); }), "");
    EXPECT_FALSE(_m_agent.WaitForMessage(0));
}

} // namespace
