#include "Tools/kx_gpsim/run_output.h"

#include "Tools/kx_gpsim/cli.h"
#include "Tools/kx_gpsim/pretty_xml.h"
#include "Tools/kx_gpsim/run_json.h"
#include "Tools/kx_gpsim/run_table.h"
#include "Tools/kx_gpsim/terminal.h"
#include "Tools/kx_gpsim/text_file.h"

#include <algorithm>

namespace kx {

namespace {

constexpr const char* kGroup = "Output";
constexpr const char* kScreen = "-";

std::size_t CountDocuments(const RunResult& run)
{
    return static_cast<std::size_t>(std::count_if(
        run.passes.begin(), run.passes.end(), [](const PassResult& pass) { return !pass.document.empty(); }));
}

// Of several documents each has its own file: "update.xml" becomes "update.machine.xml".
std::string FileFor(const std::string& file, Scope scope, bool several)
{
    if (!several)
        return file;
    const std::size_t dot = file.rfind('.');
    const std::size_t folder = file.find_last_of("\\/");
    const bool hasType = dot != std::string::npos && (folder == std::string::npos || dot > folder);
    const std::string middle = scope == Scope::Machine ? ".machine" : ".user";
    return hasType ? file.substr(0, dot) + middle + file.substr(dot) : file + middle;
}

void WriteDocuments(const RunResult& run, const OutputOptions& output, const CkxTerminal& screen)
{
    const bool several = CountDocuments(run) > 1;
    for (const PassResult& pass : run.passes) {
        if (pass.document.empty())
            continue;
        const std::string text = output.raw ? pass.document : PrettyXml(pass.document);
        if (output.out == kScreen)
            (void)screen.Write(text.ends_with('\n') ? text : text + '\n');
        else
            WriteText(FileFor(output.out, pass.scope, several), text);
    }
}

// What goes to standard output is one thing only, so that a program can read it.
void Show(const RunResult& run, const OutputOptions& output)
{
    const CkxTerminal screen(CkxTerminal::Stream::Output);
    if (output.json == kScreen)
        (void)screen.Write(RunText(run));
    else if (!output.json.empty())
        WriteText(output.json, RunText(run));
    if (!output.out.empty())
        WriteDocuments(run, output, screen);
    if (output.json != kScreen && output.out != kScreen)
        (void)screen.Write(FormatRunTable(run, screen.Style()));
}

// The table has the notes; what a program reads has no room for them.
void ShowNotes(const RunResult& run, const OutputOptions& output)
{
    const CkxTerminal errors(CkxTerminal::Stream::Error);
    if (output.json == kScreen || output.out == kScreen)
        for (const PassResult& pass : run.passes)
            for (const std::string& note : pass.notes)
                (void)errors.Write(std::string(pass.scope == Scope::Machine ? "machine: " : "user: ") + note +
                                   '\n');
    if (!run.workFolder.empty())
        (void)errors.Write("the run's files are in " + run.workFolder + '\n');
}

} // namespace

void AddJsonOption(CLI::App& command, OutputOptions& output)
{
    command.add_option("--json", output.json, "write the whole run as JSON; - for standard output alone")
        ->type_name("FILE")
        ->group(kGroup);
}

void AddOutputOptions(CLI::App& command, OutputOptions& output)
{
    AddJsonOption(command, output);
    CLI::Option* const out = command.add_option(
        "--out", output.out,
        "write the document that arrived; - for standard output alone. Of two scopes each has "
        "its own file, with .machine or .user before the type");
    out->type_name("FILE")->group(kGroup);
    CLI::Option* const raw = command.add_flag("--raw", output.raw, "the document as it arrived");
    raw->group(kGroup)->needs(out);
    command.add_flag("--pretty", output.pretty, "the document indented; so it is without --raw")
        ->group(kGroup)
        ->needs(out)
        ->excludes(raw);
}

ExitCode RunAndShow(const RunOptions& options, const OutputOptions& output)
{
    if (output.json == kScreen && output.out == kScreen)
        throw UsageError("--json and --out cannot both go to standard output");
    const RunResult run = RunFrom(options);
    Show(run, output);
    ShowNotes(run, output);
    return HasErrors(run) ? ExitCode::DoneWithErrors : ExitCode::Done;
}

} // namespace kx
