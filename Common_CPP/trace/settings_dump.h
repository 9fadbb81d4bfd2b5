// The settings as the lines of a configuration file that would bring them about.
#pragma once

#include "Common_CPP/trace/messages.h"
#include "Common_CPP/trace/settings.h"

#include <string_view>

namespace kx {

/// Where output goes, as the dump is to show it. What is empty gets no line; a callback has none.
struct OutputState {
    std::string_view stream;    ///< the main output, when it is one of "out", "err", "dbg"
    std::string_view auxStream; ///< the stream that everything is copied to
    std::string_view filePath;  ///< the trace file, when it is the main output, with its tokens if it has any
};

/// Prints all settings, a line each, between two comment lines. Read as a configuration file, the lines give
/// the same settings. What the configuration cannot express (the program's rules may hold an "@" in their
/// expression) stands there as a comment.
void DumpSettings(const Settings& settings, const OutputState& outputs, MessageSink& sink) noexcept;

} // namespace kx
