// Which XPath queries may be handed to the parser.
#pragma once

#include <string_view>

namespace kx {

/// Whether `query` is well formed in the part of XPath that the two query languages of the parser share.
/// Some parsers crash on what they cannot read instead of refusing it, so only what is understood here may
/// reach them:
///
///     query     = path { "|" path }
///     path      = [ "/" | "//" ] step { ( "/" | "//" ) step }
///     step      = "." | ".." | "@" ( "*" | qname ) | ( "*" | qname | function ) { "[" condition "]" }
///     qname     = name [ ":" name ]
///     function  = ( "text" | "last" | "position" ) "()"
///     condition = term { "and" term } | term { "or" term }
///     term      = ( digits | operand ) [ compare ( digits | operand | "'" text "'" | '"' text '"' ) ]
///     compare   = "=" | "!=" | "<" | "<=" | ">" | ">="
///     operand   = "@" name | name | function
///
/// Blanks may stand between these; a text in quotes has at least one character; "and", "or", "not", "div" and
/// "mod" are no names. Linear.
[[nodiscard]] bool IsSafeQuery(std::wstring_view query) noexcept;
[[nodiscard]] bool IsSafeQuery(std::u16string_view query) noexcept;

} // namespace kx
