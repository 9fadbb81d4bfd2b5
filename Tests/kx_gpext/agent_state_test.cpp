// What the engine is told when the agent cannot take an update.

#include "Tests/support/refresh_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

constexpr const wchar_t* kAgentKey = L"Software\\Korvex\\Agent";
constexpr const wchar_t* kGroupPolicySetId = L"{00000000-0000-0000-c000-000000000046}";

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
    const auto bytes = [](const std::wstring& text) {
        return static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    };

    const struct {
        const char* why;
        DWORD type;
        const void* data;
        DWORD size;
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
        ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, kAgentKey, L"SetID", row.type, row.data, row.size);
        EXPECT_EQ(Refresh(0), row.result) << row.why;
        EXPECT_THAT(Trace(), HasSubstr(row.trace)) << row.why;
    }
}

} // namespace
