// Reads one line of the configuration file.
#pragma once

#include "Common_CPP/trace/directive.h"
#include "Common_CPP/trace/messages.h"

#include <optional>
#include <string_view>

namespace kx {

/// What became of a line.
enum class ParseOutcome {
    Accepted,     ///< it is a directive
    Reported,     ///< it cannot be used, and its message has been printed: the line is done with
    NotADirective ///< no directive accepts it: to be reported as an illegal line (messages::IllegalLine)
};

/// A directive, when the line was accepted.
struct ParseResult {
    ParseOutcome outcome = ParseOutcome::NotADirective;
    std::optional<Directive> directive{};
};

/// Reads `line`, which has no white space at its ends. A number that cannot be used prints its own message
/// and leaves the line to be reported as illegal too. Without memory the line is Reported.
[[nodiscard]] ParseResult ParseDirective(std::string_view line, MessageSink& sink) noexcept;

} // namespace kx
