#pragma once

#include <memory>
#include <optional>
#include <string_view>

namespace kx {

struct ExprProgram;

/// The expression of a trace rule, compiled. Copies are cheap, share the program and never fail; const use
/// is safe in any number of threads. The default one is ".*".
class Expr {
  public:
    Expr() noexcept = default;

    /// Compiles "{" + `expression` + "}": the expression as a whole is match group 0. The dialect is
    /// described at CompileExpression. Nullopt when it is not well formed, is too long, or memory ends.
    [[nodiscard]] static std::optional<Expr> Compile(std::string_view expression) noexcept;

    /// True when the expression matches any part of the subject, with regard to case and byte by byte. Always
    /// returns soon; limits and memory that ends count as no match (see MatchesSomewhere).
    [[nodiscard]] bool Search(std::string_view subject) const noexcept;

    /// True for ".*", which is never compiled and matches every subject.
    [[nodiscard]] bool MatchesAll() const noexcept { return !_m_program; }

    /// The expression as it was given; lives as long as any copy of this.
    [[nodiscard]] std::string_view Text() const noexcept;

  private:
    std::shared_ptr<const ExprProgram> _m_program; // null for ".*"
};

} // namespace kx
