#pragma once

#include "Tests/support/scripted_targeting.h"
#include "Tests/torture/strange_agent.h"
#include "Tools/host/agent_listener.h"
#include "Tools/host/engine_lists.h"
#include "Tools/host/extension_module.h"
#include "Tools/rsop_store/rsop_store.h"
#include "Tools/rsop_store/swbem_date_time.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Who answers to the agent's names.
enum class AgentRole {
    Listens,
    Absent,
    Deaf,    ///< its event is there, its pipe is not
    Foreign, ///< its pipe belongs to some user
    Dies,    ///< takes the length of a message, and no more
};

/// Where scenarios run: a folder with the module in it, GPOs beside it, and an agent. Its paths are the same
/// in every process, so that the same calls are made in the same order.
/// REQUIRES: nothing else on the machine plays the agent or another stage.
class Stage {
  public:
    /// Puts a copy of the module into a new folder. Throws where that is not to be had.
    explicit Stage(const std::wstring& module);
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    // ---- set-up

    void SetAgent(AgentRole role);

    /// Puts the agent's program beside the module, managed by Group Policy; or takes it away.
    void InstallAgent(bool installed);

    /// Keeps the mutex of the senders alive, as another sender on the machine would.
    void KeepMutex() { _m_mutex.Reset(::CreateMutexW(nullptr, FALSE, c_mutexName)); }

    /// The same, but made by some user.
    void KeepForeignMutex();

    /// Has the module dump its documents.
    void EnableDump();

    /// Registers a stand-in for the extension that evaluates item-level targeting.
    void RegisterTargeting() { _m_targeting.emplace(); }

    /// Lets refreshes and planning calls record in a store, which stands in for WMI.
    void RecordRsop();

    /// What the module's configuration file holds whenever the module is loaded.
    void SetConfiguration(std::string_view text) { _m_configuration = text; }

    /// Names what must not show anywhere but in the document.
    void SetSecret(std::wstring_view secret);

    /// Writes a policy file of a GPO; returns the GPO for the lists.
    CkxListedGpo Write(const std::wstring& gpo, const std::wstring& file, std::string_view text) const;

    /// What each refresh is called with.
    DWORD flags = 0;
    std::vector<CkxListedGpo> deleted;
    std::vector<CkxListedGpo> changed;

    /// For planning: what is asked about.
    bool plansComputer = false;
    bool plansUser = false;

    // ---- the run

    /// Loads the module as if for the first time: without its trace folder. Returns a Windows error.
    [[nodiscard]] DWORD Load();

    void Unload();

    /// One call of the engine. `again` tells its document from an earlier one's: it asks for a forced
    /// refresh.
    [[nodiscard]] DWORD Refresh(bool again);

    /// The same for the other one of machine and user.
    [[nodiscard]] DWORD RefreshOther();

    /// One planning call of the engine, over what the set-up has listed as changed.
    [[nodiscard]] DWORD Plan();

    /// Changes the configuration file of the loaded module, at a time of its own.
    void ChangeConfiguration(std::string_view text) const;

    /// One call of a component of the agent, as LocalSystem, with what the set-up has listed as changed:
    /// machine policy where the flags say so, else the user's. `again`, it asks for all sets to be dropped.
    [[nodiscard]] DWORD PushAppended(bool again);

    /// The oldest message not yet taken; nullopt when none comes in time.
    [[nodiscard]] std::optional<std::vector<std::byte>> NextMessage();

    /// True when an update was announced since the last call.
    [[nodiscard]] bool TakeAnnouncement() { return _m_listener.TakeAnnouncement(); }

    [[nodiscard]] AgentRole Agent() const { return _m_role; }

    [[nodiscard]] HMODULE Module() const { return _m_extension.Get(); }

    /// The text of the trace files so far.
    [[nodiscard]] std::string Trace() const;

    /// What is recorded, as MOF text; "" without a store.
    [[nodiscard]] std::string Recorded() const;

    /// How many objects of the store are referenced, beside the stage's own.
    [[nodiscard]] std::size_t LiveRecordObjects() const;

    /// Where the secret shows: names of files that the module has written, and of the store; "" for nowhere.
    [[nodiscard]] std::string SecretPlaces() const;

    static constexpr const wchar_t* c_moduleName = L"kx_gpext.dll";
    static constexpr const wchar_t* c_configurationName = L"kx_gpext.cfg";
    static constexpr const wchar_t* c_mutexName = L"Global\\KxGpPipeInUseMutex";

  private:
    [[nodiscard]] DWORD _Refresh(DWORD callFlags) const;

    std::filesystem::path _m_folder;
    CkxHandle _m_token;
    CkxHandle _m_mutex;
    CkxHandle _m_event;
    std::optional<ScriptedTargeting> _m_targeting;
    bool _m_dumps = false;
    std::optional<CkxRsopStore> _m_store;
    std::optional<CkxDateTimeClass> _m_dateTimes;
    ATL::CComPtr<IWbemServices> _m_services;
    std::string _m_configuration;
    std::wstring _m_secret;
    std::optional<StrangeAgent> _m_strangeAgent;
    CkxAgentListener _m_listener;
    CkxExtensionModule _m_extension;
    AgentRole _m_role = AgentRole::Absent;
};
