// What the trace library says about itself: every "D_Lib: " text, once. The functions allocate nothing and
// never throw. Whether a text is shown at all (the silence switches) is for the sink to decide.
#pragma once

#include "Common_CPP/trace/time_tokens.h"

#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace kx {

enum class ScopeKind : std::uint8_t;
struct LevelRange;

/// Takes the library's own texts, in UTF-8. Each ends in a line feed, and comes in one call unless it is
/// longer than PrintPieces() joins.
class MessageSink {
  public:
    /// Shows `text`, which is only valid during the call.
    virtual void Print(std::string_view text) noexcept = 0;

  protected:
    MessageSink() = default;
    MessageSink(const MessageSink&) = default;
    MessageSink& operator=(const MessageSink&) = default;
    ~MessageSink() = default; // a sink is never deleted through this type
};

/// Prints the pieces as one text, in one call of the sink unless they exceed 4,096 characters together.
void PrintPieces(MessageSink& sink, std::initializer_list<std::string_view> pieces) noexcept;

namespace messages {

// Thread-local storage, memory, tables.

/// The thread-local slot cannot be had.
void TlsAllocFailed(MessageSink& sink) noexcept;
/// A thread's record cannot be stored.
void TlsSetValueFailed(MessageSink& sink) noexcept;
/// A thread's record cannot be read.
void TlsGetValueFailed(MessageSink& sink) noexcept;
/// No memory.
void OperatorNewFailed(MessageSink& sink) noexcept;
/// The library's own tables contradict each other.
void InternalError(MessageSink& sink) noexcept;
/// A tee misses one of its two buffers.
void IllegalTeeBuffer(MessageSink& sink) noexcept;
/// A scope is left that the thread never entered.
void StackInformationMissing(MessageSink& sink, std::string_view scopeName) noexcept;
/// The thread must not touch files from now on; 0xFFFFFFFF stands for an unknown thread id.
void NoFileOperations(MessageSink& sink, std::uint32_t threadId) noexcept;

// A statement that no rule covers; `className` may be null.

/// No print rule: the statement prints.
void FlagMissing(MessageSink& sink, std::string_view file, const char* className,
                 std::uint32_t level) noexcept;
/// No prefix rule: the default format is used.
void FormatMissing(MessageSink& sink, std::string_view file, const char* className,
                   std::uint32_t level) noexcept;

// Outputs. Names are those of the configuration: "out", "err", "dbg".

/// The main output is now the named stream.
void OutputSwitched(MessageSink& sink, std::string_view name, bool keepsAux) noexcept;
/// There is no such stream to switch to.
void IllegalStream(MessageSink& sink, std::string_view name) noexcept;
/// Everything is copied to the named stream as well.
void OutputCopied(MessageSink& sink, std::string_view name) noexcept;
/// There is no such stream to copy to.
void IllegalAuxStream(MessageSink& sink, std::string_view name) noexcept;
/// The main output is now the file.
void OutputSwitchedToFile(MessageSink& sink, std::string_view path, bool keepsAux) noexcept;
/// The file cannot be opened; the previous output stays.
void CannotOpenOutputFile(MessageSink& sink, std::string_view path) noexcept;

// Reading the configuration.

/// The line in front of and behind a reading.
void Separator(MessageSink& sink) noexcept;
/// A reading begins: when, and of which file.
void ConfigurationFile(MessageSink& sink, const LocalTime& time, std::string_view path) noexcept;
/// The file is about to be read.
void ReadingConfiguration(MessageSink& sink, std::string_view path) noexcept;
/// The file exists and cannot be opened.
void FailedToOpenConfiguration(MessageSink& sink, std::string_view path) noexcept;
/// No directive accepts the line.
void IllegalLine(MessageSink& sink, std::string_view path, std::string_view line) noexcept;

// Directives that cannot be used.

/// What a directive wanted to do with a number.
enum class NumberUse { StripLevel, RefreshInterval, RotatedFiles, SizeLimit };

/// The number cannot be used.
void IllegalNumber(MessageSink& sink, NumberUse use, std::string_view text) noexcept;
/// An indentation without its closing "@".
void IllegalIndent(MessageSink& sink, std::string_view line) noexcept;
/// Stack tracing with too few or too many templates.
void IllegalStackTrace(MessageSink& sink, std::string_view line) noexcept;
/// A rule without its parts; `directive` is "print", "selftest" or "prefix", `rest` what follows its "@".
void IllegalRule(MessageSink& sink, std::string_view directive, std::string_view rest) noexcept;
/// A rule whose level is none.
void IllegalRuleLevel(MessageSink& sink, std::string_view directive, std::string_view rest,
                      std::string_view level) noexcept;
/// A rule whose flag is none.
void IllegalRuleFlag(MessageSink& sink, std::string_view directive, std::string_view rest,
                     std::string_view flag) noexcept;
/// A rule whose expression does not compile.
void IllegalRuleExpression(MessageSink& sink, std::string_view directive,
                           std::string_view expression) noexcept;

// Directives that took effect.

/// The strip level of file names.
void StripLevelChanged(MessageSink& sink, std::uint32_t level) noexcept;
/// The refresh interval, in seconds.
void RefreshIntervalChanged(MessageSink& sink, std::uint32_t seconds) noexcept;
/// The trace file grows without a limit.
void RotationOff(MessageSink& sink) noexcept;
/// The trace file is emptied at `size` bytes.
void SizeLimited(MessageSink& sink, std::uint64_t size) noexcept;
/// The trace file is rotated at `size` bytes, and `count` older ones are kept.
void Rotated(MessageSink& sink, std::uint64_t size, std::uint32_t count) noexcept;
/// Entering and leaving of scopes is not traced.
void StackTraceOff(MessageSink& sink) noexcept;
/// Entering and leaving of scopes is traced with these templates.
void StackTraceOn(MessageSink& sink, std::string_view enter, std::string_view leave) noexcept;
/// A print or selftest rule counts from now on; a line a level, see ForEachLevelLine.
void FlagRuleAdded(MessageSink& sink, std::string_view directive, ScopeKind scope,
                   std::string_view expression, const LevelRange& levels, bool on) noexcept;
/// A prefix rule counts from now on; a line a level, see ForEachLevelLine.
void PrefixRuleAdded(MessageSink& sink, ScopeKind scope, std::string_view expression,
                     const LevelRange& levels, std::string_view prefix) noexcept;

} // namespace messages
} // namespace kx
