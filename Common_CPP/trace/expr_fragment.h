#pragma once

#include "Common_CPP/trace/expr_program.h"

#include <cstddef>
#include <cstdint>

namespace kx {

/// A piece of a program under construction: where it begins, and its exits, which are the steps whose `next`
/// is still open, chained through that field. Plain values; the steps themselves are in the program.
struct Fragment {
    static constexpr std::uint16_t kNone = 0xFFFF;

    std::uint16_t start = kNone;
    std::uint16_t firstExit = kNone;
    std::uint16_t lastExit = kNone;
    bool nullable = true; ///< may match without taking a byte

    /// True for a piece without steps, which matches the empty text.
    [[nodiscard]] bool Empty() const noexcept { return start == kNone; }
};

/// Emits steps and links fragments. Each fragment handed in is used up. All may throw std::bad_alloc.
class FragmentBuilder {
  public:
    /// Adds to `program`, in its reading direction; it must outlive the builder.
    explicit FragmentBuilder(ExprProgram& program) noexcept : _m_program(program) {}

    [[nodiscard]] Fragment Single(ExprOp op, std::size_t arg = 0, std::size_t alt = 0);
    /// `left` and after it, in the text, `right`.
    [[nodiscard]] Fragment Sequence(const Fragment& left, const Fragment& right);
    [[nodiscard]] Fragment Alternate(const Fragment& left, const Fragment& right);
    /// `body` as often as `kind` says: '?', '*' or '+'. An iteration that takes nothing is the last one.
    [[nodiscard]] Fragment Repeat(const Fragment& body, char kind, bool lazy);
    [[nodiscard]] Fragment Negate(const Fragment& body);
    /// `body` as a match group whose text is kept.
    [[nodiscard]] Fragment Group(const Fragment& body, unsigned group);
    /// Makes `whole` the program.
    void Finish(const Fragment& whole);

  private:
    [[nodiscard]] Fragment _Optional(const Fragment& body, bool lazy);
    [[nodiscard]] Fragment _RepeatMarked(const Fragment& body, bool once, bool lazy);
    [[nodiscard]] Fragment _Joined(std::uint16_t start, const Fragment& a, const Fragment& b) noexcept;
    void _Link(const Fragment& from, std::uint16_t to) noexcept;

    [[nodiscard]] ExprStep& _Step(std::uint16_t index) noexcept { return _m_program.steps[index]; }

    ExprProgram& _m_program;
};

} // namespace kx
