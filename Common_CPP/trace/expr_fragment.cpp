// How the operators of an expression become linked steps. Steps name their successor instead of falling
// through, so a sequence is linked in either direction at no cost.
#include "Common_CPP/trace/expr_fragment.h"

#include <utility>

namespace kx {

Fragment FragmentBuilder::Single(ExprOp op, std::size_t arg, std::size_t alt)
{
    const auto index = static_cast<std::uint16_t>(_m_program.steps.size());
    _m_program.steps.push_back(
        {op, static_cast<std::uint8_t>(arg), Fragment::kNone, static_cast<std::uint16_t>(alt)});
    return {index, index, index, op > ExprOp::Set};
}

Fragment FragmentBuilder::Sequence(const Fragment& left, const Fragment& right)
{
    if (left.Empty())
        return right;
    if (right.Empty())
        return left;
    const Fragment& first = _m_program.leftward ? right : left;
    const Fragment& second = _m_program.leftward ? left : right;
    _Link(first, second.start);
    return {first.start, second.firstExit, second.lastExit, left.nullable && right.nullable};
}

Fragment FragmentBuilder::Alternate(const Fragment& left, const Fragment& right)
{
    if (left.Empty())
        return _Optional(right, true);
    if (right.Empty())
        return _Optional(left, false);
    const std::uint16_t fork = Single(ExprOp::Either, 0, left.start).start;
    _Step(fork).next = right.start;
    Fragment both = _Joined(fork, left, right);
    both.nullable = left.nullable || right.nullable;
    return both;
}

Fragment FragmentBuilder::Repeat(const Fragment& body, char kind, bool lazy)
{
    if (body.Empty())
        return body;
    if (kind == '?')
        return _Optional(body, lazy);
    // A leftward search keeps sets of states: going in a circle adds nothing to them.
    if (body.nullable && !_m_program.leftward)
        return _RepeatMarked(body, kind == '+', lazy);
    Fragment loop = Single(ExprOp::Maybe, lazy, body.start);
    _Link(body, loop.start);
    if (kind == '+') {
        loop.start = body.start;
        loop.nullable = body.nullable;
    }
    return loop;
}

Fragment FragmentBuilder::_RepeatMarked(const Fragment& body, bool once, bool lazy)
{
    const std::uint16_t mark = Single(ExprOp::Mark, 0, _m_program.marks++).start;
    _Step(mark).next = body.start;
    Fragment again = Single(ExprOp::Again, lazy, mark);
    _Link(body, again.start);
    again.start = mark;
    return once ? again : _Optional(again, lazy);
}

Fragment FragmentBuilder::_Optional(const Fragment& body, bool lazy)
{
    if (body.Empty())
        return body;
    const Fragment skip = Single(ExprOp::Maybe, lazy, body.start);
    return _Joined(skip.start, body, skip);
}

Fragment FragmentBuilder::Negate(const Fragment& body)
{
    const std::uint16_t found = Single(ExprOp::Found).start;
    _Link(body, found);
    _Step(found).alt = body.Empty() ? found : body.start;
    _m_program.negations.push_back(found);
    return Single(ExprOp::Not, 0, found);
}

Fragment FragmentBuilder::Group(const Fragment& body, unsigned group)
{
    const Fragment opened = Sequence(Single(ExprOp::Open, group), body);
    return Sequence(opened, Single(ExprOp::Close, group));
}

void FragmentBuilder::Finish(const Fragment& whole)
{
    const std::uint16_t match = Single(ExprOp::Match).start;
    _Link(whole, match);
    _m_program.start = whole.Empty() ? match : whole.start;
}

// The nullable piece that begins at `start` and leaves by the exits of both.
Fragment FragmentBuilder::_Joined(std::uint16_t start, const Fragment& a, const Fragment& b) noexcept
{
    _Step(a.lastExit).next = b.firstExit;
    return {start, a.firstExit, b.lastExit, true};
}

void FragmentBuilder::_Link(const Fragment& from, std::uint16_t to) noexcept
{
    for (std::uint16_t exit = from.firstExit; exit != Fragment::kNone;)
        exit = std::exchange(_Step(exit).next, to);
}

} // namespace kx
