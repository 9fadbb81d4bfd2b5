#include "Tests/torture/scenarios.h"

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

DWORD Refresh(Stage& stage, bool again)
{
    return stage.Refresh(again);
}

constexpr Scenario kScenarios[] = {
    {"refresh-machine", SetUpMachine, Refresh, ERROR_SUCCESS},
    {"refresh-user-faulty-gpo", SetUpFaultyUser, Refresh, ERROR_SUCCESS},
    {"agent-not-installed", SetUpNothing, Refresh, ERROR_SUCCESS},
    {"agent-stopped", SetUpStoppedAgent, Refresh, ERROR_OVERRIDE_NOCHANGES},
    {"agent-without-pipe", SetUpDeafAgent, Refresh, ERROR_OVERRIDE_NOCHANGES},
    {"load-and-unload", SetUpSmallRefresh, Refresh, ERROR_SUCCESS, true},
};

} // namespace

std::span<const Scenario> AllScenarios()
{
    return kScenarios;
}
