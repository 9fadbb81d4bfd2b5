#include "Tools/kx_gpsim/cli.h"
#include "Tools/kx_gpsim/commands.h"
#include "Tools/kx_gpsim/diff_json.h"
#include "Tools/kx_gpsim/diff_text.h"
#include "Tools/kx_gpsim/gpos_without.h"
#include "Tools/kx_gpsim/options.h"
#include "Tools/kx_gpsim/return_code_text.h"
#include "Tools/kx_gpsim/run_json.h"
#include "Tools/kx_gpsim/run_options.h"
#include "Tools/kx_gpsim/saved_side.h"
#include "Tools/kx_gpsim/terminal.h"
#include "Tools/kx_gpsim/text_file.h"
#include "Tools/kx_gpsim/wide_text.h"

#include <filesystem>
#include <memory>
#include <optional>

namespace fs = std::filesystem;

namespace kx {

namespace {

constexpr const char* kScreen = "-";

constexpr const char* kExamples = R"(Examples:
  kx_gpsim diff published draft                 two folders of GPOs
  kx_gpsim diff fernhill.json draft.json        two manifests
  kx_gpsim diff update.xml draft.json           a saved document, and what a set would send
  kx_gpsim diff last-week.json this-week.json   two runs that apply --json saved
  kx_gpsim diff fernhill.json --without "Dairy floor workstations"

Exit codes: 0 no differences, 2 usage, 3 no agent to be played or no extension, 5 differences.)";

struct DiffOptions {
    std::string before;
    std::string after;
    std::vector<std::string> without;
    RunOptions run;   ///< what the sets are run with
    std::string json; ///< "-" for standard output in place of the text
};

void AddOptions(CLI::App& command, DiffOptions& options)
{
    constexpr const char* what = "What is compared";
    constexpr const char* how = "How";
    command
        .add_option("A", options.before,
                    "a folder of GPOs, a manifest, a run that was saved as JSON, or a saved document")
        ->required()
        ->type_name("")
        ->group(what);
    CLI::Option* const after = command.add_option("B", options.after, "another one");
    after->type_name("")->group(what);
    command
        .add_option("--without", options.without,
                    "compare with A itself without this GPO: its {GUID}, display name or folder")
        ->excludes(after)
        ->allow_extra_args(false)
        ->type_name("GPO")
        ->group(what);
    command.add_option("--scope", options.run.scope, "machine, user or both")
        ->check(CLI::IsMember({"machine", "user", "both"}))
        ->type_name("SCOPE")
        ->group(how);
    AddFactsOption(command, options.run);
    command
        .add_option("--extension", options.run.extension,
                    "the kx_gpext.dll to run, if not the one beside this program")
        ->type_name("FILE")
        ->group(how);
    command.add_option("--json", options.json, "write the differences as JSON; - for standard output alone")
        ->type_name("FILE")
        ->group("Output");
}

// ---- the sides ----------------------------------------------------------------------------------------

bool IsFolder(const std::string& path)
{
    std::error_code ignored;
    return fs::is_directory(Wide(path), ignored);
}

// The run of a set; nullopt for a file that holds what is compared.
std::optional<RunOptions> RunOf(const std::string& given, const DiffOptions& options)
{
    RunOptions run = options.run;
    if (IsFolder(given))
        run.gpos = {given};
    else if (KindOfSideFile(ReadText(given), given) == SideFile::Manifest)
        run.manifest = given;
    else
        return std::nullopt;
    return run;
}

DiffSide ReadSaved(const std::string& given, const DiffOptions& options)
{
    const std::string text = ReadText(given);
    if (KindOfSideFile(text, given) == SideFile::SavedRun)
        return SideOfRun(ParseRun(text, given), given);
    return SideOfDocument(text, given, options.run.scope == "user" ? Scope::User : Scope::Machine);
}

struct Sides {
    DiffSide before;
    DiffSide after;
};

// The only scope of a saved side; empty where it has both, or is no saved one.
std::string OnlyScope(const DiffSide& side)
{
    return side.documents.size() == 1 ? ScopeText(side.documents.front().scope) : std::string();
}

void KeepScope(const std::string& scope, DiffSide& side)
{
    if (!scope.empty() && scope != "both")
        std::erase_if(side.documents,
                      [&](const DiffDocument& document) { return ScopeText(document.scope) != scope; });
}

// What a set would send, for the scope that the saved side has.
DiffSide RunSide(const std::string& label, RunOptions run, const DiffSide& other)
{
    if (run.scope.empty())
        run.scope = OnlyScope(other);
    return SideOfRun(RunFrom(run), label);
}

Sides TwoSides(const DiffOptions& options)
{
    const std::optional<RunOptions> first = RunOf(options.before, options);
    const std::optional<RunOptions> second = RunOf(options.after, options);
    if (!first && !second && !options.run.facts.empty())
        throw UsageError("--facts: A and B are run already");
    Sides sides;
    if (!first)
        sides.before = ReadSaved(options.before, options);
    if (!second)
        sides.after = ReadSaved(options.after, options);
    if (!first && !second && options.run.scope.empty()) {
        // Two saved sides are compared in what both have.
        KeepScope(OnlyScope(sides.before), sides.after);
        KeepScope(OnlyScope(sides.after), sides.before);
        if (sides.before.documents.empty() || sides.after.documents.empty())
            throw UsageError("A is for one scope and B for the other");
    }
    if (first)
        sides.before = RunSide(options.before, *first, sides.after);
    if (second)
        sides.after = RunSide(options.after, *second, first ? DiffSide{} : sides.before);
    KeepScope(options.run.scope, sides.before);
    KeepScope(options.run.scope, sides.after);
    return sides;
}

Sides WithAndWithout(const DiffOptions& options)
{
    const std::optional<RunOptions> with = RunOf(options.before, options);
    if (!with)
        throw UsageError("--without needs a folder of GPOs or a manifest: " + options.before +
                         " is run already");
    const CkxGposWithout without(*with, options.without);
    Sides sides;
    sides.before = SideOfRun(RunFrom(*with), options.before);
    std::string label = options.before + " without";
    for (const std::string& name : options.without)
        label += ' ' + name;
    sides.after.label = label;
    if (!without.IsEmpty())
        sides.after = SideOfRun(RunFrom(without.Options()), label);
    return sides;
}

// ---- the command --------------------------------------------------------------------------------------

ExitCode RunDiff(const DiffOptions& options)
{
    if (options.after.empty() == options.without.empty())
        throw UsageError("diff compares A with B, or A with itself --without a GPO");
    const Sides sides = options.without.empty() ? TwoSides(options) : WithAndWithout(options);
    const DocumentDiff diff = CompareSides(sides.before, sides.after);
    const CkxTerminal screen(CkxTerminal::Stream::Output);
    if (options.json == kScreen)
        (void)screen.Write(FormatDiffJson(diff, sides.before, sides.after));
    else if (!options.json.empty())
        WriteText(options.json, FormatDiffJson(diff, sides.before, sides.after));
    if (options.json != kScreen)
        (void)screen.Write(FormatDiffText(diff, sides.before, sides.after, screen.Style()));
    return diff.IsEmpty() ? ExitCode::Done : ExitCode::Differences;
}

} // namespace

void AddDiffCommand(CLI::App& program, Action& action)
{
    const auto options = std::make_shared<DiffOptions>();
    CLI::App& command =
        *program.add_subcommand("diff", "two sets of GPOs, or two documents, compared by meaning");
    AddOptions(command, *options);
    command.footer(kExamples);
    command.callback([options, &action] { action = [options] { return RunDiff(*options); }; });
}

} // namespace kx
