#include "Common_CPP/trace/settings_dump.h"

#include "Common_CPP/trace/line_reader.h"
#include "Common_CPP/trace/rule_line_parser.h"
#include "Common_CPP/trace/text_builder.h"

#include <initializer_list>

namespace kx {
namespace {

bool IsLineTooLong(std::initializer_list<std::string_view> pieces) noexcept
{
    std::size_t size = 0;
    for (const std::string_view piece : pieces)
        size += piece.size();
    return size > kMaxConfigLine;
}

// False for what a line of the file cannot say; rules of the program can be like that.
bool IsExpressible(const RuleKey& key) noexcept
{
    return !ScopeWord(key.scope).empty() &&
           key.expression.Text().find_first_of("@\n") == std::string_view::npos;
}

// Prints the rule a line a level. A line grows against the one that was read only by what can also be left
// out or put shorter; so the short form, where the full one is too long, never is.
void DumpRule(MessageSink& sink, std::string_view directive, const RuleKey& key, std::string_view value,
              std::string_view shortValue) noexcept
{
    const std::string_view expression = key.expression.Text();
    const std::string_view shortExpression = key.expression.MatchesAll() ? std::string_view{} : expression;
    const std::string_view scope = ScopeWord(key.scope);
    ForEachLevelLine(key.levels, [&](const LevelRange& line) {
        const LevelText levels(line);
        const std::string_view shortLevels = line.all ? std::string_view{} : levels.View();
        const bool isFull = !IsLineTooLong({directive, "@@@@", scope, expression, levels.View(), value});
        const bool isShort =
            !isFull && !IsLineTooLong({directive, "@@@@", scope, shortExpression, shortLevels, shortValue});
        const bool isComment = !IsExpressible(key) || (!isFull && !isShort);
        PrintPieces(sink, {isComment ? "# " : "", directive, "@", scope, "@",
                           isShort ? shortExpression : expression, "@", isShort ? shortLevels : levels.View(),
                           "@", isShort ? shortValue : value, "\n"});
    });
}

void DumpFlagRules(MessageSink& sink, std::string_view directive, const RuleTable<bool>& table) noexcept
{
    for (const auto& rule : table.Rules())
        DumpRule(sink, directive, rule.key, rule.value ? "on" : "off", rule.value ? "1" : "0");
}

void DumpPrefixRules(MessageSink& sink, const RuleTable<PrefixTemplate>& table) noexcept
{
    for (const auto& rule : table.Rules())
        DumpRule(sink, "prefix", rule.key, rule.value.Text(), rule.value.Text());
}

void DumpRotation(MessageSink& sink, const std::optional<Rotation>& rotation) noexcept
{
    if (!rotation) {
        sink.Print("rotation@off\n");
        return;
    }
    PrintPieces(sink, {"rotation@", Decimal(rotation->count), "@", Decimal(rotation->size),
                       rotation->pattern.empty() ? "" : "@", rotation->pattern, "\n"});
}

// The closing "@" keeps white space at the end of the leave template.
void DumpStackTrace(MessageSink& sink, const std::optional<StackTrace>& trace) noexcept
{
    if (!trace) {
        sink.Print("stacktrace@off\n");
        return;
    }
    const bool isTooLong = IsLineTooLong({"stacktrace@@@", trace->enter, trace->leave});
    PrintPieces(sink, {"stacktrace@", trace->enter, "@", trace->leave, isTooLong ? "\n" : "@\n"});
}

// A file keeps the copy in force, so its line may stand behind that of the copy.
void DumpOutputs(MessageSink& sink, const OutputState& outputs) noexcept
{
    if (!outputs.stream.empty())
        PrintPieces(sink, {"to_stream@", outputs.stream, "\n"});
    if (!outputs.auxStream.empty())
        PrintPieces(sink, {"to_aux_stream@", outputs.auxStream, "\n"});
    if (!outputs.filePath.empty())
        PrintPieces(sink, {"to_file@", outputs.filePath, "\n"});
}

} // namespace

void DumpSettings(const Settings& settings, const OutputState& outputs, MessageSink& sink) noexcept
{
    sink.Print("# --- Dump of D_lib settings ---\n");
    PrintPieces(sink, {"refresh@", Decimal(settings.refreshSeconds), "\n"});
    PrintPieces(sink, {"fstrip@", Decimal(settings.stripLevel), "\n"});
    DumpRotation(sink, settings.rotation);
    PrintPieces(sink, {"indent@", settings.indentFilling, "@\n"});
    DumpFlagRules(sink, "print", settings.printRules);
    DumpFlagRules(sink, "selftest", settings.selftestRules);
    DumpPrefixRules(sink, settings.prefixRules);
    DumpStackTrace(sink, settings.stackTrace);
    DumpOutputs(sink, outputs);
    sink.Print("# --- End of dump ---\n");
}

} // namespace kx
