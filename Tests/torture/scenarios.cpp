#include "Tests/torture/scenarios.h"

#include <string>

namespace {

constexpr const wchar_t* kGpoA = L"{00000000-0000-0000-0000-00000000000A}";
constexpr const wchar_t* kGpoB = L"{00000000-0000-0000-0000-00000000000B}";
constexpr const wchar_t* kGpoC = L"{00000000-0000-0000-0000-00000000000C}";

CkxListedGpo WriteFullGpo(const Stage& stage, const wchar_t* gpo)
{
    stage.Write(gpo, L"ApplicationGroups.xml",
                "<?xml version='1.0' encoding='utf-8'?><ApplicationGroups version='5'>"
                "<ApplicationGroup id='1' name='K\xC3\xA4se'/></ApplicationGroups>");
    stage.Write(gpo, L"Tokens.xml", "<Tokens version='5'><Token id='7'/></Tokens>");
    stage.Write(gpo, L"RestrictionRules.xml", "<RestrictionRules version='77'><Rule/></RestrictionRules>");
    stage.Write(gpo, L"GUI.xml", "<GUI version='5'><Text id='1'>Ask the helpdesk</Text></GUI>");
    return stage.Write(gpo, L"Policies.xml",
                       "<GpoPolicies version='5'><Policy name='first' order='1'/>"
                       "<Policy name='second' order='2'><Application path='C:\\x.exe'/></Policy>"
                       "<Policy name='third'/></GpoPolicies>");
}

CkxListedGpo WriteSmallGpo(const Stage& stage, const wchar_t* gpo)
{
    return stage.Write(gpo, L"Policies.xml",
                       "<GpoPolicies version='5'><Policy name='only' order='3'/></GpoPolicies>");
}

void SetUpMachine(Stage& stage)
{
    stage.SetAgent(AgentRole::Listens);
    stage.InstallAgent(true);
    stage.flags = GPO_INFO_FLAG_MACHINE;
    stage.changed = {WriteFullGpo(stage, kGpoA), WriteFullGpo(stage, kGpoB)};
    CkxListedGpo gone;
    gone.name = kGpoC;
    gone.displayName = L"Gone & <forgotten>";
    stage.deleted = {gone};
}

void SetUpFaultyUser(Stage& stage)
{
    stage.SetAgent(AgentRole::Listens);
    stage.InstallAgent(true);
    stage.KeepMutex();
    const CkxListedGpo faulty = WriteSmallGpo(stage, kGpoB);
    stage.Write(kGpoB, L"Tokens.xml", "<Tokens version='5'><Token>");
    stage.changed = {WriteSmallGpo(stage, kGpoA), faulty, WriteSmallGpo(stage, kGpoC)};
}

void SetUpNothing(Stage& stage)
{
    stage.changed = {WriteSmallGpo(stage, kGpoA)};
}

void SetUpStoppedAgent(Stage& stage)
{
    SetUpNothing(stage);
    stage.InstallAgent(true);
}

void SetUpDeafAgent(Stage& stage)
{
    SetUpStoppedAgent(stage);
    stage.SetAgent(AgentRole::Deaf);
}

void SetUpSmallRefresh(Stage& stage)
{
    SetUpStoppedAgent(stage);
    stage.SetAgent(AgentRole::Listens);
}

void SetUpAppendedMachine(Stage& stage)
{
    stage.SetAgent(AgentRole::Listens);
    stage.flags = GPO_INFO_FLAG_MACHINE;
    stage.changed = {WriteFullGpo(stage, kGpoA), WriteSmallGpo(stage, kGpoB)};
}

void SetUpAppendedFaultyUser(Stage& stage)
{
    stage.SetAgent(AgentRole::Listens);
    const CkxListedGpo faulty = WriteSmallGpo(stage, kGpoB);
    stage.Write(kGpoB, L"Tokens.xml", "<Tokens version='4'/>");
    CkxListedGpo nameless = faulty;
    nameless.name.clear();
    stage.changed = {nameless, faulty, WriteSmallGpo(stage, kGpoC)};
    stage.changed.back().displayName.assign(200, L'%'); // too long to be lent without memory
}

void WriteMigration(const Stage& stage, bool again)
{
    stage.Write(kGpoB, L"Migration.xml",
                std::string("<AgentParameters version='5' setId='") + (again ? "again" : "first") +
                    "' dispatcherUrl='https://dispatcher' proxyUser='corp\\proxy' "
                    "proxyPassword='a longer secret than fits into a string object'/>");
}

void SetUpMigration(Stage& stage)
{
    stage.SetAgent(AgentRole::Listens);
    stage.InstallAgent(true);
    stage.EnableDump();
    stage.changed = {WriteSmallGpo(stage, kGpoA), WriteSmallGpo(stage, kGpoB), WriteSmallGpo(stage, kGpoC)};
    WriteMigration(stage, false);
}

DWORD Migrate(Stage& stage, bool again)
{
    WriteMigration(stage, again);
    return stage.Refresh(again);
}

void SetUpTargeting(Stage& stage)
{
    SetUpSmallRefresh(stage);
    stage.RegisterTargeting();
    stage.changed = {stage.Write(kGpoA, L"Policies.xml",
                                 "<GpoPolicies version='5'><ItemLevelTargeting answer='match'/>"
                                 "<Policy name='in'><ItemLevelTargeting answer='match'/></Policy>"
                                 "<Policy name='kept-out'><ItemLevelTargeting is='kept-out'/></Policy>"
                                 "<Policy name='free'/></GpoPolicies>")};
}

DWORD Refresh(Stage& stage, bool again)
{
    return stage.Refresh(again);
}

DWORD PushAppended(Stage& stage, bool again)
{
    return stage.PushAppended(again);
}

constexpr DWORD kRefreshCodes[] = {
    ERROR_SUCCESS,           ERROR_OUTOFMEMORY,        ERROR_INVALID_PARAMETER,
    ERROR_OPERATION_ABORTED, ERROR_OVERRIDE_NOCHANGES, ERROR_INTERNAL_ERROR,
    ERROR_XML_PARSE_ERROR,
};
constexpr DWORD kAppendedCodes[] = {
    ERROR_SUCCESS,     ERROR_ACCESS_DENIED,  ERROR_OUTOFMEMORY,     ERROR_NOT_READY,
    ERROR_WRITE_FAULT, ERROR_INTERNAL_ERROR, ERROR_XML_PARSE_ERROR,
};

constexpr Entry kRefresh = {Refresh, kRefreshCodes, true};
constexpr Entry kMigration = {Migrate, kRefreshCodes, true};
constexpr Entry kAppended = {PushAppended, kAppendedCodes, false};

constexpr Scenario kScenarios[] = {
    {"refresh-machine", SetUpMachine, kRefresh, ERROR_SUCCESS},
    {"refresh-user-faulty-gpo", SetUpFaultyUser, kRefresh, ERROR_SUCCESS},
    {"agent-not-installed", SetUpNothing, kRefresh, ERROR_SUCCESS},
    {"agent-stopped", SetUpStoppedAgent, kRefresh, ERROR_OVERRIDE_NOCHANGES},
    {"agent-without-pipe", SetUpDeafAgent, kRefresh, ERROR_OVERRIDE_NOCHANGES},
    {"appended-machine", SetUpAppendedMachine, kAppended, ERROR_SUCCESS},
    {"appended-user-faulty-set", SetUpAppendedFaultyUser, kAppended, ERROR_SUCCESS},
    {"appended-agent-stopped", SetUpStoppedAgent, kAppended, ERROR_NOT_READY},
    {"migration", SetUpMigration, kMigration, ERROR_SUCCESS},
    {"targeting", SetUpTargeting, kRefresh, ERROR_SUCCESS},
    {"load-and-unload", SetUpSmallRefresh, kRefresh, ERROR_SUCCESS, true},
};

} // namespace

std::span<const Scenario> AllScenarios()
{
    return kScenarios;
}
