#pragma once

#include "Tests/support/temp_folder.h"
#include "Tools/host/agent_listener.h"
#include "Tools/host/engine_lists.h"
#include "Tools/host/extension_module.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Whom a refresh is for, and its answer when it must come again.
inline constexpr DWORD kUser = 0;
inline constexpr DWORD kMachine = GPO_INFO_FLAG_MACHINE;
inline constexpr DWORD kAgain = ERROR_OVERRIDE_NOCHANGES;

/// Runs the shipped extension from a folder of its own, as the engine would, with an agent that listens.
/// REQUIRES: nothing else on the machine plays the agent.
class RefreshFixture : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    /// Puts a GPO's policy file under the work folder; returns the folder to list the GPO with.
    std::wstring WritePolicyFile(const std::wstring& gpo, const std::wstring& file,
                                 std::string_view text) const;

    /// A GPO whose only file is Policies.xml, with this content.
    CkxListedGpo MakePolicies(const std::wstring& name, const std::string& content) const;

    /// The same with one policy for each order text; "" stands for none.
    CkxListedGpo MakeGpo(const std::wstring& name, const std::vector<std::string>& orders) const;

    /// One call of the engine with what is set below. The lists are then empty again.
    DWORD Refresh(DWORD flags);

    /// One call for this GPO alone, from any thread: it brings COM with it.
    DWORD RefreshOnly(const CkxListedGpo& gpo, DWORD flags) const;

    /// One planning call of the engine; each target is null for none.
    DWORD Plan(RSOP_TARGET* computer, RSOP_TARGET* user);

    /// What the agent received last, by meaning; a text that says so when it received nothing whole.
    std::string ReceivedMeaning();
    std::wstring ReceivedDocument();

    /// Of that meaning what the pattern's groups find, with blanks between.
    std::string ReceivedParts(const char* pattern);

    /// The trace file's text so far.
    [[nodiscard]] std::string Trace() const;

    TempFolder _m_folder; ///< the module's folder; its "gpos" folder holds the test's GPOs
    CkxExtensionModule _m_extension;
    CkxAgentListener _m_agent;
    CkxEngineList _m_deleted;
    CkxEngineList _m_changed;
    CkxHandle _m_token;
    BOOL _m_abort = FALSE;
    BOOL* _m_abortPointer = &_m_abort;
    IWbemServices* _m_services = nullptr; ///< where a refresh logs
    HRESULT _m_rsopStatus = 0x1234567;
    PFNSTATUSMESSAGECALLBACK _m_statusCallback = nullptr;
};

/// While it lives, the extension writes the documents that it sends beside its trace.
class DumpSwitch {
  public:
    DumpSwitch();
    ~DumpSwitch();
    DumpSwitch(const DumpSwitch&) = delete;
    DumpSwitch& operator=(const DumpSwitch&) = delete;
};

/// The folder of a GPO that is the extension's, with backslashes around it.
inline constexpr const wchar_t* kInExtensionFolder = L"\\{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}\\";

/// The names (GUIDs) that the tests' GPOs go by.
inline constexpr const wchar_t* kGpoA = L"{00000000-0000-0000-0000-00000000000A}";
inline constexpr const wchar_t* kGpoB = L"{00000000-0000-0000-0000-00000000000B}";
inline constexpr const wchar_t* kGpoC = L"{00000000-0000-0000-0000-00000000000C}";
