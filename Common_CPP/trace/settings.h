// Everything that the configuration decides, apart from the outputs themselves.
#pragma once

#include "Common_CPP/trace/directive.h"
#include "Common_CPP/trace/messages.h"
#include "Common_CPP/trace/prefix.h"
#include "Common_CPP/trace/rule_table.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kx {

/// The settings in force. Scalars keep their value from one reading of the file to the next; of the rules,
/// each reading replaces those of the file. Not synchronised: the trace lock guards it.
struct Settings {
    std::uint64_t generation = 1; ///< grows with every change, so that cached decisions can be told stale
    std::uint32_t stripLevel = 3;
    std::uint32_t refreshSeconds = 5;
    std::optional<Rotation> rotation;     ///< nothing: the trace file grows without a limit
    std::string indentFilling;            ///< empty: no indentation
    std::optional<StackTrace> stackTrace; ///< nothing: entering and leaving is not traced
    RuleTable<bool> printRules;           ///< no rule: a statement prints
    RuleTable<bool> selftestRules;        ///< no rule: a self-test does not run
    RuleTable<PrefixTemplate> prefixRules;
    RuleSequence lastProgramRule = 0; ///< the number of the rule that the program added last
};

/// What a directive still asks of the outputs, after Apply().
enum class OutputTask {
    None,
    SwitchStream, ///< ToStream
    CopyToStream, ///< ToAuxStream
    SwitchFile,   ///< ToFile
    PrintDump     ///< Dump: DumpSettings() with the state of the outputs
};

/// Lets the directive in line `line` of the file take effect and prints its confirmation. The same rotation
/// a second time changes and prints nothing; of one that differs in its pattern alone, the pattern is taken
/// over without a line. Without memory, says so and leaves the settings as they were.
[[nodiscard]] OutputTask Apply(Settings& settings, const Directive& directive, std::uint32_t line,
                               MessageSink& sink) noexcept;

/// Drops the file's rules and installs the default prefix below all others: what a reading of the file
/// begins with, and all there is to do when there is no file.
void ClearFileRules(Settings& settings, MessageSink& sink) noexcept;

/// Adds a print rule of the program. It outranks all rules of the file and the program's earlier ones. An
/// empty expression stands for ".*". Prints what the line "print@" would print; false when the expression
/// does not compile or there is no memory.
bool AddProgramRule(Settings& settings, ScopeKind scope, std::string_view expression,
                    const LevelRange& levels, bool on, MessageSink& sink) noexcept;

/// Adds the rules that errors, warnings and information always print; once a process.
void AddBuiltInRules(Settings& settings, MessageSink& sink) noexcept;

} // namespace kx
