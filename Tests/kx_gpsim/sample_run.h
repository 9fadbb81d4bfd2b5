// A small run for tests of the report: two passes, three GPOs, one of them in both.
#pragma once

#include "Tools/kx_gpsim/run_result.h"

#include <cstdint>
#include <string>

namespace kx_test {

inline constexpr const char* kBaseline = "{11111111-0000-0000-0000-000000000001}";
inline constexpr const char* kDairy = "{22222222-0000-0000-0000-00000000ABCD}";
inline constexpr const char* kOld = "{33333333-0000-0000-0000-000000000003}";

inline kx::GpoOutcome Gpo(const std::string& name, const std::string& displayName, const std::string& link,
                          int order)
{
    kx::GpoOutcome outcome;
    outcome.gpo.name = name;
    outcome.gpo.displayName = displayName;
    outcome.gpo.link = link;
    outcome.gpo.linkKind = link.find("OU=") == std::string::npos ? "domain" : "ou";
    outcome.gpo.order = order;
    return outcome;
}

inline kx::SentPolicy Policy(const std::string& gpo, const std::string& name, const std::string& id,
                             std::int32_t order)
{
    kx::SentPolicy policy;
    policy.gpo = gpo;
    policy.name = name;
    policy.id = id;
    policy.action = "1";
    policy.order = order;
    policy.xml = "<Policy name=\"" + name + "\"/>";
    return policy;
}

inline kx::SentPolicy Configuration(const std::string& gpo, const std::string& name, std::int32_t order,
                                    const std::string& path, const std::string& value)
{
    kx::SentPolicy policy = Policy(gpo, name, "", order);
    policy.action = "10";
    policy.configuration = {{path, value}};
    return policy;
}

/// What the extension records; `isPolicy` tells the class.
inline kx::RecordedInstance Recorded(bool isPolicy, const std::string& id, std::uint32_t precedence,
                                     const std::string& gpo, const std::string& value = "")
{
    return {isPolicy ? "RSOP_KxTesmorPolicySetting" : "RSOP_KxTesmorConfig",
            {{"id", id},
             {"precedence", std::to_string(precedence)},
             {"name", "name of " + id},
             {isPolicy ? "policyXml" : "Value", value},
             {"GPOID", "CN=" + gpo + ",CN=Policies,CN=System,DC=fernhill,DC=example"},
             {"SOMID", "OU=Dairy,DC=fernhill,DC=example"},
             {"creationTime", "20260131101500.000000+000"}}};
}

inline kx::PassResult MachinePass()
{
    kx::PassResult pass;
    pass.call = "apply";
    pass.delivered = true;
    pass.documentRoot = "GPUpdate";
    pass.document = "<GPUpdate/>";
    pass.gpos = {Gpo(kBaseline, "Fernhill baseline", "LDAP://DC=fernhill,DC=example", 1),
                 Gpo(kDairy, "Dairy", "LDAP://OU=Dairy,DC=fernhill,DC=example", 2), Gpo(kOld, "", "", 0)};
    pass.gpos[0].taken = 2;
    pass.gpos[0].excluded = {{"No games", "the user is in no such group"}};
    pass.gpos[1].taken = 2;
    pass.gpos[1].letThrough = {{"Run the press", "the registry extension is not registered"}};
    pass.gpos[1].complaints = {{"error", "GUI.xml", 12, 4, "A string literal was expected"},
                               {"warning", "", 0, 0, "no order"}};
    pass.gpos[2].gpo.deleted = true;
    pass.policies = {
        Policy(kBaseline, "Run the press", "{A}", 1000100007),
        Configuration(kBaseline, "Settings", 1000100009, "/Configuration/Ui/Colour", "red"),
        Policy(kDairy, "Run the press faster", "{a}", 1000000007),
        Configuration(kDairy, "Dairy settings", 1000000009, "/Configuration/Ui/Colour", "green")};
    pass.policies[2].groups = {"Milkers"};
    pass.recorded = {Recorded(true, "{A}", 1000000007, "{22222222-0000-0000-0000-00000000abcd}"),
                     Recorded(false, "/Configuration/Ui/Colour", 1000000009, kDairy, "green")};
    return pass;
}

inline kx::PassResult UserPass()
{
    kx::PassResult pass;
    pass.scope = kx::Scope::User;
    pass.call = "apply";
    pass.code = 1252;
    pass.gpos = {Gpo(kBaseline, "Fernhill baseline", "LDAP://DC=fernhill,DC=example", 1)};
    pass.policies = {Policy(kBaseline, "Print labels", "{B}", 7),
                     Policy(kBaseline, "Press for users", "{A}", 9)};
    return pass;
}

inline kx::RunResult SampleRun()
{
    return {{MachinePass(), UserPass()}, ""};
}

} // namespace kx_test
