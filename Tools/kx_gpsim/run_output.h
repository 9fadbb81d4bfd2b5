#pragma once

#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/run_options.h"

#include <string>

namespace CLI {
class App;
}

namespace kx {

/// Where what a run came to is written besides the screen.
struct OutputOptions {
    std::string out;     ///< file for the document; "-" for standard output in place of the table
    bool raw = false;    ///< as it arrived instead of indented
    bool pretty = false; ///< says what is so anyway
    std::string json;    ///< file for the whole run; "-" for standard output in place of the table
};

void AddJsonOption(CLI::App& command, OutputOptions& output);

/// JSON and the document.
void AddOutputOptions(CLI::App& command, OutputOptions& output);

/// Makes the run, prints the table and writes the files.
[[nodiscard]] ExitCode RunAndShow(const RunOptions& options, const OutputOptions& output);

} // namespace kx
