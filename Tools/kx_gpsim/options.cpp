#include "Tools/kx_gpsim/options.h"

#include "Tools/kx_gpsim/cli.h"
#include "Tools/kx_gpsim/run_request.h"

namespace kx {

namespace {

constexpr const char* kWhat = "What is applied";
constexpr const char* kHow = "How";
constexpr const char* kWhere = "Where";

std::string FlagsHelp()
{
    std::string names;
    for (const std::string& name : FlagNames())
        names.append(names.empty() ? "" : ", ").append(name);
    return "engine flags besides the scope's: " + names + ", or a number";
}

void AddPlaceOptions(CLI::App& command, RunOptions& options)
{
    command
        .add_option("--work", options.work,
                    "folder of the run; made anew under the temporary folder where not given")
        ->type_name("DIR")
        ->group(kWhere);
    command.add_flag("--keep", options.keep, "leave the temporary folder of the run, and name it")
        ->group(kWhere);
    command
        .add_option("--extension", options.extension,
                    "the kx_gpext.dll to run, if not the one beside this program")
        ->type_name("FILE")
        ->group(kWhere);
}

} // namespace

void AddRunOptions(CLI::App& command, RunOptions& options)
{
    command
        .add_option("GPO", options.gpos,
                    "GPOs in the engine's order, the last one wins: folders with GPT.INI, "
                    "Machine and User, or a scope's folder itself")
        ->type_name("")
        ->group(kWhat);
    command.add_option("--manifest", options.manifest, "JSON file that describes the whole run")
        ->type_name("FILE")
        ->group(kWhat);
    command.add_option("--scope", options.scope, "machine, user or both")
        ->check(CLI::IsMember({"machine", "user", "both"}))
        ->type_name("SCOPE")
        ->group(kHow);
    AddFactsOption(command, options);
    AddPlaceOptions(command, options);
}

void AddFactsOption(CLI::App& command, RunOptions& options)
{
    command
        .add_option("--facts", options.facts,
                    "JSON file with what item-level targeting is to believe of the user and the computer")
        ->type_name("FILE")
        ->group(kHow);
}

void AddLinkOptions(CLI::App& command, RunOptions& options)
{
    command.add_option("--flags", options.flags, FlagsHelp())
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("NAMES")
        ->group(kHow);
    command.add_option("--deleted", options.deleted, "a GPO that is gone: its folder or {GUID}")
        ->type_name("GPO")
        ->allow_extra_args(false)
        ->group(kWhat);
    command
        .add_option(
            "--link", options.links,
            "what the GPOs are linked to, or N=TARGET for the Nth: an LDAP path, with site:, domain:, "
            "ou: or local: in front where it does not tell")
        ->type_name("[N=]TARGET")
        ->allow_extra_args(false)
        ->group(kWhat);
    command.add_option("--forced", options.forced, "places of the GPOs whose link is enforced")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("N")
        ->group(kWhat);
    command.add_option("--order", options.order, "the list's order, as places of the GPOs given")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("N")
        ->group(kWhat);
}

void AddAgentOptions(CLI::App& command, RunOptions& options)
{
    command.add_flag("--deliver", options.deliver, "the machine's real agent is meant, and gets the update")
        ->group(kWhere);
}

void AddStateOption(CLI::App& command, RunOptions& options)
{
    command
        .add_option("--state", options.state,
                    "JSON file with the last run: what has changed and what is gone is told from it, as the "
                    "engine would; written at the end")
        ->type_name("FILE")
        ->group(kHow);
}

} // namespace kx
