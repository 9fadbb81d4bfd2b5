#include "Tools/kx_gpsim/cli.h"
#include "Tools/kx_gpsim/commands.h"
#include "Tools/kx_gpsim/options.h"
#include "Tools/kx_gpsim/run_output.h"

#include <memory>

namespace kx {

namespace {

constexpr const char* kExamples = R"(Examples:
  kx_gpsim append Appended\kiosk                          as LocalSystem
  kx_gpsim append --delete-all --scope user Appended\kiosk
  kx_gpsim append --as-localsystem-for-test Appended\kiosk --out update.xml

A set is a folder with Policies.xml and the other policy files directly in it. The extension takes sets from
LocalSystem only.

Exit codes: 0 done, 1 errors in some set, 2 usage, 3 not LocalSystem, no agent to be played or no extension.)";

struct Append {
    RunOptions run;
    OutputOptions output;
};

} // namespace

void AddAppendCommand(CLI::App& program, Action& action)
{
    const auto append = std::make_shared<Append>();
    append->run.call = Call::Append;
    CLI::App& command = *program.add_subcommand("append", "policy sets that a component of the agent pushes");
    AddRunOptions(command, append->run);
    AddAgentOptions(command, append->run);
    AddOutputOptions(command, append->output);
    command.add_flag("--delete-all", append->run.deleteAll, "the agent shall drop all appended sets first");
    command.add_flag("--as-localsystem-for-test", append->run.asLocalSystemForTest,
                     "let the extension take this program for LocalSystem; for tests, not with --deliver");
    command.footer(kExamples);
    command.callback(
        [append, &action] { action = [append] { return RunAndShow(append->run, append->output); }; });
}

} // namespace kx
