// What the engine is told when the agent cannot take an update.

#include "Common_CPP/util/unique_handle.h"
#include "Tests/support/refresh_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

constexpr const wchar_t* kAgentKey = L"Software\\Korvex\\Agent";
constexpr const wchar_t* kGroupPolicySetId = L"{00000000-0000-0000-c000-000000000046}";

void SetSetId(DWORD type, const void* data, std::size_t size)
{
    ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, kAgentKey, L"SetID", type, data, static_cast<DWORD>(size));
}

class AgentState : public RefreshFixture {
  protected:
    void TearDown() override
    {
        ::RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kAgentKey, L"SetID");
        RefreshFixture::TearDown();
    }
};

TEST_F(AgentState, ExplainsAMissingEvent)
{
    const std::wstring other = L"{11111111-1111-1111-1111-111111111111}";
    const std::wstring ours = kGroupPolicySetId;
    const std::wstring tooLong(64, L'x');
    const DWORD number = 7;
    _m_agent.Stop();
    EXPECT_EQ(Refresh(0), 0U);
    EXPECT_THAT(Trace(), HasSubstr("INFO: Kovrex Agent is not installed. Policies not applied."));

    _m_folder.Write(L"kx_agent.exe", "");
    const auto bytes = [](const std::wstring& text) { return (text.size() + 1) * sizeof(wchar_t); };

    const struct {
        const char* why;
        DWORD type;
        const void* data;
        std::size_t size;
        DWORD result;
        const char* trace;
    } rows[] = {
        {"another management set", REG_SZ, other.data(), bytes(other), 0,
         "INFO: Kovrex Agent is not in Group Policy mode. Policies not applied."},
        {"empty identifier", REG_SZ, L"", 2, 0, "is not in Group Policy mode"},
        {"Group Policy, any case", REG_SZ, ours.data(), bytes(ours), ERROR_OVERRIDE_NOCHANGES,
         "INFO: Korvex Agent is not running. Policies not applied."},
        {"a number", REG_DWORD, &number, sizeof number, ERROR_OVERRIDE_NOCHANGES,
         "ERROR: Failed to query SetID value. Error=13"},
        {"too long", REG_SZ, tooLong.data(), bytes(tooLong), ERROR_OVERRIDE_NOCHANGES,
         "ERROR: Failed to query SetID value. Error=234"},
    };

    for (const auto& row : rows) {
        SetSetId(row.type, row.data, row.size);
        EXPECT_EQ(Refresh(0), row.result) << row.why;
        EXPECT_THAT(Trace(), HasSubstr(row.trace)) << row.why;
    }
}

TEST_F(AgentState, AnEventWithoutAPipeMeansTryAgain)
{
    _m_agent.Stop();
    const CkxHandle event(::CreateEventW(nullptr, FALSE, FALSE, L"Global\\KxGroupPolicyUpdate"));
    EXPECT_EQ(Refresh(0), static_cast<DWORD>(ERROR_OVERRIDE_NOCHANGES));
    EXPECT_THAT(Trace(), HasSubstr("ERROR: WaitNamedPipe(10000) failed. Timeout."));
    EXPECT_THAT(Trace(),
                HasSubstr("ERROR: Failed to send update to the agent. Update skipped till next time."));
    EXPECT_EQ(::WaitForSingleObject(event.Get(), 0), static_cast<DWORD>(WAIT_TIMEOUT))
        << "announced only once a sender is connected";
}

TEST_F(AgentState, AnAbandonedTurnIsTakenOver)
{
    ::CreateMutexW(nullptr, FALSE, L"Global\\KxGpPipeInUseMutex"); // kept to the end of this process
    const CkxHandle mutex(::OpenMutexW(SYNCHRONIZE, FALSE, L"Global\\KxGpPipeInUseMutex"));
    CkxHandle thread(::CreateThread(
        nullptr, 0, [](void* handle) -> DWORD { return ::WaitForSingleObject(handle, INFINITE); },
        mutex.Get(), 0, nullptr));
    ::WaitForSingleObject(thread.Get(), INFINITE);
    EXPECT_EQ(Refresh(0), 0U);
    EXPECT_THAT(ReceivedMeaning(), HasSubstr("GPUpdate"));
}

TEST_F(AgentState, ADumpIsWrittenOnlyWhenANumberSaysSo)
{
    constexpr const wchar_t* key =
        L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon\\GPExtensions\\"
        L"{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}";
    const auto dumps = [&] {
        WIN32_FIND_DATAW found;
        const CkxFindHandle search(::FindFirstFileW((_m_folder / L"Trace\\GP *.xml").c_str(), &found));
        return search ? std::wstring(found.cFileName) : std::wstring();
    };
    ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, L"KxEnableDump", REG_SZ, L"1", 4);
    EXPECT_EQ(Refresh(0), 0U);
    EXPECT_EQ(dumps(), L"");
    const DWORD on = 1;
    ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, L"KxEnableDump", REG_DWORD, &on, sizeof on);
    EXPECT_EQ(Refresh(0), 0U);
    ::RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, key, L"KxEnableDump");
    EXPECT_NE(dumps(), L"");
    EXPECT_EQ(dumps().find(L'\\'), std::wstring::npos);
    EXPECT_THAT(ReadBytes(_m_folder / (L"Trace\\" + dumps())), HasSubstr("<GPUpdate"));
}

} // namespace
