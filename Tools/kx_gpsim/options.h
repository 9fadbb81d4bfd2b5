// Options that several commands share. Each function adds a group of them to a command.
#pragma once

#include "Tools/kx_gpsim/run_options.h"

namespace CLI {
class App;
}

namespace kx {

/// What every command that runs the extension has: the GPOs or sets, the manifest, the scope, and
/// where the run takes place.
void AddRunOptions(CLI::App& command, RunOptions& options);

/// What an engine would say besides: what the GPOs are linked to, their order, which are gone, and its flags.
void AddLinkOptions(CLI::App& command, RunOptions& options);

/// Whether the real agent is meant.
void AddAgentOptions(CLI::App& command, RunOptions& options);

/// The file with facts that targeting answers from; AddRunOptions has it too.
void AddFactsOption(CLI::App& command, RunOptions& options);

/// The file that remembers the last run.
void AddStateOption(CLI::App& command, RunOptions& options);

} // namespace kx
