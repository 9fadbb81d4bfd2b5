// Reads what follows "print@", "selftest@" and "prefix@": scope "@" expression "@" levels "@" value.
#pragma once

#include "Common_CPP/trace/directive.h"
#include "Common_CPP/trace/messages.h"

#include <optional>
#include <string_view>

namespace kx {

/// The names of the scopes, as rules begin with them: "file", "class", "stack"; empty for no scope.
[[nodiscard]] std::string_view ScopeWord(ScopeKind scope) noexcept;

/// Reads a rule with the value "on", "yes", "1" or "off", "no", "0". `directive` is its name for messages,
/// `rest` what follows the name's "@". Nothing after printing why it is none; throws std::bad_alloc only.
[[nodiscard]] std::optional<FlagRule> ParseFlagRule(std::string_view directive, std::string_view rest,
                                                    MessageSink& sink);

/// As ParseFlagRule, with a template as the value: whatever follows the third "@".
[[nodiscard]] std::optional<PrefixRule> ParsePrefixRule(std::string_view rest, MessageSink& sink);

} // namespace kx
