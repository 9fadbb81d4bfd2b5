// What a line of the configuration file says, once it is understood: one struct a directive.
#pragma once

#include "Common_CPP/trace/rule_table.h"

#include <cstdint>
#include <string>
#include <variant>

namespace kx {

/// Shorten source paths to this many components; 0 keeps them whole.
struct FileStrip {
    std::uint32_t level = 0;
};

/// Send output to the named stream. The name is as written: whether there is such a stream, the outputs say.
struct ToStream {
    std::string name;
};

/// Copy output to the named stream. The name is as written.
struct ToAuxStream {
    std::string name;
};

/// Send output to a file.
struct ToFile {
    std::string path;      ///< UTF-8; may hold "<%PID>" and the time tokens
    bool truncate = false; ///< start with an empty file instead of appending
};

/// The trace file grows without a limit.
struct RotationOff {};

/// Limit the trace file.
struct Rotation {
    std::uint32_t count = 0; ///< older files that are kept; 0: none, the file is only emptied
    std::uint64_t size = 0;  ///< in bytes
    std::string pattern;     ///< names of the older files; empty: after the trace file

    bool operator==(const Rotation&) const = default;
};

/// Turn something on or off for the statements that the rule covers.
struct FlagRule {
    RuleKey key;
    bool on = false;
};

/// Whether statements print.
struct PrintRule : FlagRule {};

/// Whether the program's self-tests run.
struct SelftestRule : FlagRule {};

/// Begin the lines of the statements that the rule covers like this.
struct PrefixRule {
    RuleKey key;
    std::string prefix; ///< a template with tokens
};

/// The text that stands once for each step of indentation; empty: no indentation.
struct Indent {
    std::string filling;
};

/// Look for a changed configuration file at most this often.
struct Refresh {
    std::uint32_t seconds = 0;
};

/// Do not trace entering and leaving of scopes.
struct StackTraceOff {};

/// Trace entering and leaving of scopes with these templates.
struct StackTrace {
    std::string enter;
    std::string leave;

    bool operator==(const StackTrace&) const = default;
};

/// Print all settings.
struct Dump {};

/// One line of the configuration.
using Directive = std::variant<FileStrip, ToStream, ToAuxStream, ToFile, RotationOff, Rotation, PrintRule,
                               SelftestRule, PrefixRule, Indent, Refresh, StackTraceOff, StackTrace, Dump>;

} // namespace kx
