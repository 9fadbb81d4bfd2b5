#include "Common_CPP/trace/expr.h"

#include "Common_CPP/trace/expr_compiler.h"
#include "Common_CPP/trace/expr_matcher.h"

#include <utility>

namespace kx {

namespace {

constexpr std::string_view kEverything = ".*";

} // namespace

std::optional<Expr> Expr::Compile(std::string_view expression) noexcept
{
    Expr compiled;
    if (expression == kEverything)
        return compiled;
    try {
        auto program = std::make_shared<ExprProgram>();
        if (!CompileExpression(expression, *program))
            return std::nullopt;
        compiled._m_program = std::move(program);
    } catch (...) {
        return std::nullopt;
    }
    return compiled;
}

bool Expr::Search(std::string_view subject) const noexcept
{
    return MatchesAll() || MatchesSomewhere(*_m_program, subject);
}

std::string_view Expr::Text() const noexcept
{
    return MatchesAll() ? kEverything : std::string_view(_m_program->text);
}

} // namespace kx
