// Runs for tests of the report's page.
#pragma once

#include "Tests/kx_gpsim/sample_run.h"

#include <cstddef>

namespace kx_test {

/// Ends a script element, opens a comment, is markup, and turns the direction of writing.
inline constexpr const char* kHostileName =
    "</script><script>document.title='broken'</script><!-- <img src=http://a.example/x> \xE2\x80\xAE";

/// The sample run, with such names wherever the page shows one, and a trace.
inline kx::RunResult HostileRun()
{
    kx::RunResult run = SampleRun();
    kx::PassResult& machine = run.passes[0];
    machine.policies[0].name = kHostileName;
    machine.policies[0].groups = {kHostileName};
    machine.policies[0].xml = std::string("<Policy name=\"") + kHostileName + "\"/>";
    machine.policies[1].configuration[0].second = kHostileName;
    machine.gpos[0].gpo.displayName = kHostileName;
    machine.gpos[0].excluded[0].reason = kHostileName;
    machine.gpos[1].complaints[0].reason = kHostileName;
    machine.notes = {kHostileName};
    machine.trace = {"1:.../engine/kx_gpext/gp_xml.cpp(67): INFO: Flags = MACHINE",
                     "1:.../engine/kx_gpext/gp_xml.cpp(146): INFO:    ChangedGPOList:",
                     "1:.../engine/kx_gpext/kx_gpo.cpp(100): INFO:    * Display Name: Dairy",
                     std::string("1:.../engine/kx_gpext/kx_gpo.cpp(101): INFO:      Unique Name : ") + kDairy,
                     std::string("1:.../engine/kx_gpext/gp_xml_load.cpp(73): ERROR: ") + kHostileName};
    return run;
}

/// A run of one pass with `count` policies of 200 GPOs, every tenth of which shares an id with others.
inline kx::RunResult LargeRun(std::size_t count)
{
    constexpr std::size_t gpos = 200;
    const char* const verbs[] = {"Elevate", "Block", "Allow", "Audit"};
    const char* const things[] = {"label printer", "tank monitor", "installer", "scales", "shift calendar"};
    kx::PassResult pass;
    pass.call = "apply";
    pass.delivered = true;
    for (std::size_t at = 0; at < gpos; ++at) {
        const std::string number = std::to_string(at);
        pass.gpos.push_back(
            Gpo("{44444444-0000-0000-0000-" + std::string(12 - number.size(), '0') + number + '}',
                "Floor " + number + " workstations", "LDAP://OU=Floor " + number + ",DC=fernhill,DC=example",
                static_cast<int>(at) + 1));
    }
    for (std::size_t at = 0; at < count; ++at) {
        const std::string number = std::to_string(at);
        const std::string name = std::string(verbs[at % 4]) + " the " + things[at % 5] + " of line " +
                                 std::to_string(at * 7919 % count);
        const std::string id =
            at % 10 == 0 ? "{shared " + std::to_string(at % 1000) + '}' : "{" + number + '}';
        kx::GpoOutcome& gpo = pass.gpos[at % gpos];
        ++gpo.taken;
        pass.policies.push_back(Policy(gpo.gpo.name, name, id, static_cast<std::int32_t>(at)));
        pass.policies.back().groups = {"Group " + std::to_string(at % 300)};
        pass.policies.back().xml =
            "<Policy name=\"" + name + "\" gpid=\"" + id + "\" order=\"" + number +
            "\" action=\"1\">\r\n\t<Targets>\r\n\t\t<ApplicationGroup id=\"{B2}\" name=\"Group\"/>"
            "\r\n\t</Targets>\r\n</Policy>";
    }
    return {{pass}, ""};
}

} // namespace kx_test
