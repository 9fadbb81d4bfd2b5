#include "Tests/torture/scenario_files.h"

#include <string>

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

CkxListedGpo WriteFaultyGpo(const Stage& stage, const wchar_t* gpo)
{
    stage.Write(gpo, L"Tokens.xml", "<Tokens version='5'><Token>");
    return WriteSmallGpo(stage, gpo);
}

CkxListedGpo WriteEmptyGpo(const Stage& stage, const wchar_t* gpo)
{
    return stage.Write(gpo, L"readme.txt", "nothing");
}

CkxListedGpo WriteRecordedGpo(const Stage& stage, const wchar_t* gpo, int groups)
{
    std::string all = "<ApplicationGroups version='5'>";
    std::string used;
    for (int group = 1; group <= groups; ++group) {
        const std::string id = std::to_string(group);
        all += "<ApplicationGroup id='" + id + "' name='Group " + id + "'/>";
        used += "<ApplicationGroup id='" + id + "'/>";
    }
    stage.Write(gpo, L"ApplicationGroups.xml", all + "</ApplicationGroups>");
    return stage.Write(gpo, L"Policies.xml",
                       "<GpoPolicies version='5'><Policy name='recorded' gpid='{1}' action='1' order='3'>"
                       "<Targets>" +
                           used + "</Targets></Policy></GpoPolicies>");
}

CkxListedGpo WriteConfigurationGpo(const Stage& stage, const wchar_t* gpo)
{
    return stage.Write(gpo, L"Policies.xml",
                       "<GpoPolicies version='5'><Policy name='settings' gpid='{2}' action='10' order='1'>"
                       "<Configuration><Log><Level>3</Level></Log></Configuration>"
                       "<Messages><Message id='m'>Ask</Message></Messages></Policy></GpoPolicies>");
}

void WriteMigration(const Stage& stage, bool again)
{
    const std::wstring secret = kSecret;
    stage.Write(kGpoB, L"Migration.xml",
                std::string("<AgentParameters version='5' setId='") + (again ? "again" : "first") +
                    "' dispatcherUrl='https://dispatcher' proxyUser='corp\\proxy' proxyPassword='" +
                    std::string(secret.begin(), secret.end()) + "'/>");
}

void SetUpListening(Stage& stage)
{
    stage.SetAgent(AgentRole::Listens);
    stage.InstallAgent(true);
    stage.KeepMutex();
}
