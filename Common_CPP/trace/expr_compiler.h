#pragma once

#include "Common_CPP/trace/expr_program.h"

#include <string_view>

namespace kx {

/// Compiles the text "{" + `expression` + "}" into `program`. False when it is not well formed or longer than
/// kMaxExpression or makes more than kMaxSteps; `program` is of no use then. Throws std::bad_alloc only;
/// never recurses with the nesting.
///
/// From loosest to tightest: `|` parts alternatives, which may be empty; items follow one another; `!` in
/// front of an item with its repetition negates it (`!!x` looks ahead for x); `?` `*` `+` repeat the single
/// character, class, escape or group before them, with one more `?` as few times as possible. Errors are:
/// brackets of any kind without partner, a class that is empty or holds a range from high to low, a
/// repetition or negation of nothing, a second repetition, a backslash at the end, and a reference to a
/// group that the whole text does not have. `^` and `$` are ordinary characters, except `^` first in a class.
[[nodiscard]] bool CompileExpression(std::string_view expression, ExprProgram& program);

} // namespace kx
