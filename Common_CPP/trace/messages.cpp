#include "Common_CPP/trace/messages.h"

#include "Common_CPP/trace/rule_levels.h"
#include "Common_CPP/trace/rule_table.h"
#include "Common_CPP/trace/text_builder.h"

namespace kx {

void PrintPieces(MessageSink& sink, std::initializer_list<std::string_view> pieces) noexcept
{
    FixedText<4096> whole;
    for (const std::string_view piece : pieces)
        whole.Append(piece);
    if (!whole.IsTruncated()) {
        sink.Print(whole.View());
        return;
    }
    for (const std::string_view piece : pieces)
        if (!piece.empty())
            sink.Print(piece);
}

namespace messages {
namespace {

void NoRule(MessageSink& sink, std::string_view what, std::string_view file, const char* className,
            std::uint32_t level, std::string_view assumed) noexcept
{
    const bool hasClass = className != nullptr;
    PrintPieces(sink, {"D_Lib: could not find ", what, " for: file [", file, "]", hasClass ? ", class [" : "",
                       hasClass ? className : "", hasClass ? "]" : "", ", level [", Decimal(level),
                       "] - assumed ", assumed, "\n"});
}

std::string_view KeepingAux(bool keepsAux) noexcept
{
    return keepsAux ? " (keeping aux output)\n" : "\n";
}

std::string_view ActionOf(NumberUse use) noexcept
{
    switch (use) {
    case NumberUse::StripLevel:
        return "change file name stripping level";
    case NumberUse::RefreshInterval:
        return "change refresh interval";
    case NumberUse::RotatedFiles:
        return "setting of rotated files number";
    case NumberUse::SizeLimit:
        break;
    }
    return "setting of log file size limit";
}

std::string_view SubjectsOf(ScopeKind scope) noexcept
{
    switch (scope) {
    case ScopeKind::File:
        return "files";
    case ScopeKind::Class:
        return "classes";
    case ScopeKind::Stack:
        return "stacks";
    }
    return "<unknown scope>";
}

void IllegalFormat(MessageSink& sink, std::string_view directive, std::string_view text,
                   std::string_view opening = {}, std::string_view detail = {},
                   std::string_view closing = {}) noexcept
{
    PrintPieces(sink, {"D_Lib: illegal format of the ", directive, " directive: [", text, "]", opening,
                       detail, closing, "\n"});
}

} // namespace

void TlsAllocFailed(MessageSink& sink) noexcept
{
    sink.Print("D_Lib: TlsAlloc() failed - thread safe support disabled\n");
}

void TlsSetValueFailed(MessageSink& sink) noexcept
{
    sink.Print("D_Lib: TlsSetValue() failed - thread safe support disabled\n");
}

void TlsGetValueFailed(MessageSink& sink) noexcept
{
    sink.Print("D_Lib: TlsGetValue() failed - thread safe support disabled\n");
}

void OperatorNewFailed(MessageSink& sink) noexcept
{
    sink.Print("D_Lib: operator new failed\n");
}

void InternalError(MessageSink& sink) noexcept
{
    sink.Print("D_Lib: internal error\n");
}

void IllegalTeeBuffer(MessageSink& sink) noexcept
{
    sink.Print("D_Lib: illegal zero buffer pointer in tee-stream - internal error\n");
}

void StackInformationMissing(MessageSink& sink, std::string_view scopeName) noexcept
{
    PrintPieces(sink, {"D_Lib: could not find stack information for leaving stack [", scopeName,
                       "] - internal error\n"});
}

void NoFileOperations(MessageSink& sink, std::uint32_t threadId) noexcept
{
    const Decimal number(threadId);
    PrintPieces(sink, {"D_Lib: no file operations (delete/create/etc.) in thread ",
                       threadId == 0xFFFFFFFF ? std::string_view("<no thread>") : number.View(), "\n"});
}

void FlagMissing(MessageSink& sink, std::string_view file, const char* className,
                 std::uint32_t level) noexcept
{
    NoRule(sink, "flag", file, className, level, "value 1");
}

void FormatMissing(MessageSink& sink, std::string_view file, const char* className,
                   std::uint32_t level) noexcept
{
    NoRule(sink, "format", file, className, level, "default format");
}

void OutputSwitched(MessageSink& sink, std::string_view name, bool keepsAux) noexcept
{
    PrintPieces(sink, {"D_Lib: output is switched to std", name, KeepingAux(keepsAux)});
}

void IllegalStream(MessageSink& sink, std::string_view name) noexcept
{
    PrintPieces(sink, {"D_Lib: attempt to switch output to illegal stream [", name, "]\n"});
}

void OutputCopied(MessageSink& sink, std::string_view name) noexcept
{
    PrintPieces(sink, {"D_Lib: output is copied to std", name, "\n"});
}

void IllegalAuxStream(MessageSink& sink, std::string_view name) noexcept
{
    PrintPieces(sink, {"D_Lib: attempt to copy output to illegal stream [", name, "]\n"});
}

void OutputSwitchedToFile(MessageSink& sink, std::string_view path, bool keepsAux) noexcept
{
    PrintPieces(sink, {"D_Lib: output is switched to file ", path, KeepingAux(keepsAux)});
}

void CannotOpenOutputFile(MessageSink& sink, std::string_view path) noexcept
{
    PrintPieces(sink, {"D_Lib: cannot open output file [", path, "]\n"});
}

void Separator(MessageSink& sink) noexcept
{
    sink.Print("------------------------------------------\n");
}

void ConfigurationFile(MessageSink& sink, const LocalTime& time, std::string_view path) noexcept
{
    PrintPieces(sink,
                {"D_Lib: ", Decimal(time.year, 4), "/", Decimal(time.month, 2), "/", Decimal(time.day, 2),
                 " ", Decimal(time.hour, 2), ":", Decimal(time.minute, 2), ":", Decimal(time.second, 2), ".",
                 Decimal(time.millisecond, 3), " Configuration file [", path, "]\n"});
}

void ReadingConfiguration(MessageSink& sink, std::string_view path) noexcept
{
    PrintPieces(sink, {"D_Lib: reading configuration from ", path, "...\n"});
}

void FailedToOpenConfiguration(MessageSink& sink, std::string_view path) noexcept
{
    PrintPieces(sink, {"D_Lib: failed to open file ", path, "\n"});
}

void IllegalLine(MessageSink& sink, std::string_view path, std::string_view line) noexcept
{
    PrintPieces(sink, {"D_Lib: configuration file ", path, " contains illegal line [", line, "]\n"});
}

void IllegalNumber(MessageSink& sink, NumberUse use, std::string_view text) noexcept
{
    PrintPieces(sink, {"D_Lib: attempt to ", ActionOf(use), " to illegal value [", text, "]\n"});
}

void IllegalIndent(MessageSink& sink, std::string_view line) noexcept
{
    PrintPieces(sink, {"D_Lib: illegal filling of indent [", line, "]\n"});
}

void IllegalStackTrace(MessageSink& sink, std::string_view line) noexcept
{
    PrintPieces(sink, {"D_Lib: illegal stacktrace directive [", line, "]\n"});
}

void IllegalRule(MessageSink& sink, std::string_view directive, std::string_view rest) noexcept
{
    IllegalFormat(sink, directive, rest);
}

void IllegalRuleLevel(MessageSink& sink, std::string_view directive, std::string_view rest,
                      std::string_view level) noexcept
{
    IllegalFormat(sink, directive, rest, " (level [", level, "])");
}

void IllegalRuleFlag(MessageSink& sink, std::string_view directive, std::string_view rest,
                     std::string_view flag) noexcept
{
    IllegalFormat(sink, directive, rest, " (flag [", flag, "])");
}

void IllegalRuleExpression(MessageSink& sink, std::string_view directive,
                           std::string_view expression) noexcept
{
    IllegalFormat(sink, directive, expression, " (illegal regular expression)");
}

void StripLevelChanged(MessageSink& sink, std::uint32_t level) noexcept
{
    PrintPieces(sink, {"D_Lib: file name strip level changed to ", Decimal(level), "\n"});
}

void RefreshIntervalChanged(MessageSink& sink, std::uint32_t seconds) noexcept
{
    PrintPieces(sink, {"D_Lib: refresh interval changed to ", Decimal(seconds), "\n"});
}

void RotationOff(MessageSink& sink) noexcept
{
    sink.Print("D_Lib: log file rotation turned off\n");
}

void SizeLimited(MessageSink& sink, std::uint64_t size) noexcept
{
    PrintPieces(sink, {"D_Lib: log file size is limited by ", Decimal(size), " bytes\n"});
}

void Rotated(MessageSink& sink, std::uint64_t size, std::uint32_t count) noexcept
{
    PrintPieces(sink, {"D_Lib: log file will be rotated on size ", Decimal(size), " bytes, ", Decimal(count),
                       " log files will be saved\n"});
}

void StackTraceOff(MessageSink& sink) noexcept
{
    sink.Print("D_Lib: stack tracing is turned off\n");
}

void StackTraceOn(MessageSink& sink, std::string_view enter, std::string_view leave) noexcept
{
    PrintPieces(sink, {"D_Lib: stack tracing is turned on, enter [", enter, "] leave [", leave, "]\n"});
}

void FlagRuleAdded(MessageSink& sink, std::string_view directive, ScopeKind scope,
                   std::string_view expression, const LevelRange& levels, bool on) noexcept
{
    ForEachLevelLine(levels, [&](const LevelRange& line) {
        PrintPieces(sink, {"D_Lib: ", directive, " for ", SubjectsOf(scope), " [", expression,
                           "] and level [", LevelText(line).View(), "] is turned ", on ? "on" : "off", "\n"});
    });
}

void PrefixRuleAdded(MessageSink& sink, ScopeKind scope, std::string_view expression,
                     const LevelRange& levels, std::string_view prefix) noexcept
{
    ForEachLevelLine(levels, [&](const LevelRange& line) {
        PrintPieces(sink, {"D_Lib: prefix for ", SubjectsOf(scope), " [", expression, "] and level [",
                           LevelText(line).View(), "] is changed to [", prefix, "]\n"});
    });
}

} // namespace messages
} // namespace kx
