// The engine for programs with back-references: it tries one possibility after the other, depth first. What
// is to be tried or undone when one fails lies on a trail of its own instead of the call stack.
#include "Common_CPP/trace/expr_trail_search.h"

#include "Common_CPP/trace/expr_scratch.h"

#include <algorithm>
#include <utility>

namespace kx {

namespace {

constexpr std::uint32_t kUnset = 0xFFFFFFFF;

// Where a match group's start is kept; its end is behind it.
constexpr std::size_t StartSlot(unsigned group) noexcept
{
    return static_cast<std::size_t>(group) * 2;
}

// Searches with a program in text order. The trail holds what is to be tried or undone when a possibility
// fails, the latest on top.
class TrailSearch {
  public:
    // cppcheck-suppress uninitMemberVar // scratch, set by whoever uses it first
    TrailSearch(const ExprProgram& program, std::string_view subject) noexcept
        : _m_program(program),
          _m_subject(subject),
          _m_maxSteps(std::clamp(std::uint64_t{4} * program.steps.size() * subject.size(), kMinSearchSteps,
                                 kMaxSearchSteps))
    {
    }

    [[nodiscard]] bool Run() noexcept;

  private:
    enum Kind : std::uint32_t {
        kTry = 0,          // go on at step `index` with position `value`
        kUndo = 1U << 30,  // the slot `index` held `value`
        kHolds = 2U << 30, // the part that the Not step `index` negates fails at `value`: go on behind it
        kKinds = 3U << 30
    };

    struct Entry {
        std::uint32_t kindAndIndex;
        std::uint32_t value;
    };

    static constexpr std::uint32_t kInlineTrail = 64;

    [[nodiscard]] bool _RunFrom(std::uint32_t at) noexcept;
    [[nodiscard]] bool _Do(const ExprStep& step) noexcept;
    [[nodiscard]] bool _DoTake(const ExprStep& step) noexcept;
    [[nodiscard]] bool _DoSame(const ExprStep& step) noexcept;
    [[nodiscard]] bool _DoMaybe(const ExprStep& step) noexcept;
    [[nodiscard]] bool _Resume() noexcept;
    void _LeaveNegation() noexcept;
    [[nodiscard]] bool _Set(std::size_t slot, std::uint32_t value) noexcept;
    [[nodiscard]] bool _Push(Kind kind, std::size_t index, std::uint32_t value) noexcept;
    [[nodiscard]] bool _PopUndone(Entry& entry) noexcept;

    const ExprProgram& _m_program;
    const std::string_view _m_subject;
    const std::uint64_t _m_maxSteps;
    Scratch<std::uint32_t, 2 * kNamedGroups + 12> _m_slots; // start and end a group, then the marks
    Scratch<Entry, kInlineTrail> _m_trail;
    std::uint32_t _m_trailSize = 0;
    std::uint64_t _m_steps = 0;
    std::uint16_t _m_index = 0;
    std::uint32_t _m_at = 0;
    bool _m_exhausted = false;
};

bool TrailSearch::Run() noexcept
{
    const std::size_t slots = StartSlot(kNamedGroups) + _m_program.marks;
    if (!_m_slots.Allocate(slots))
        return false;
    std::fill_n(_m_slots.Data(), slots, kUnset);
    for (std::uint32_t at = 0; at <= _m_subject.size() && !_m_exhausted; ++at) {
        if (_m_program.hasFirst &&
            (at == _m_subject.size() || !_m_program.first.Has(static_cast<unsigned char>(_m_subject[at]))))
            continue;
        if (_RunFrom(at))
            return true;
    }
    return false;
}

// A start that fails leaves the slots as it found them, since the trail is empty then.
bool TrailSearch::_RunFrom(std::uint32_t at) noexcept
{
    _m_at = at;
    _m_index = _m_program.start;
    for (;;) {
        const ExprStep& step = _m_program.steps[_m_index];
        if (step.op == ExprOp::Match)
            return true;
        if (++_m_steps > _m_maxSteps)
            _m_exhausted = true;
        if (!_Do(step) && (_m_exhausted || !_Resume()))
            return false;
    }
}

// Carries one step out. False when this possibility has failed.
bool TrailSearch::_Do(const ExprStep& step) noexcept
{
    const std::uint32_t at = _m_at;
    const auto index = std::exchange(_m_index, step.next);
    switch (step.op) {
    case ExprOp::Either:
    case ExprOp::Maybe:
        return _DoMaybe(step);
    case ExprOp::Again:
        return at == _m_slots.Data()[StartSlot(kNamedGroups) + _m_program.steps[step.alt].alt] ||
               _DoMaybe(step);
    case ExprOp::Mark:
        return _Set(StartSlot(kNamedGroups) + step.alt, at);
    case ExprOp::Open:
        return _Set(StartSlot(step.arg), at) && _Set(StartSlot(step.arg) + 1, kUnset);
    case ExprOp::Close:
        return _Set(StartSlot(step.arg) + 1, at);
    case ExprOp::Same:
        return _DoSame(step);
    case ExprOp::Not:
        _m_index = _m_program.steps[step.alt].alt;
        return _Push(kHolds, index, at);
    case ExprOp::Found:
        _LeaveNegation();
        return false;
    default:
        return _DoTake(step);
    }
}

bool TrailSearch::_DoTake(const ExprStep& step) noexcept
{
    return _m_at < _m_subject.size() &&
           _m_program.Takes(step, static_cast<unsigned char>(_m_subject[_m_at++]));
}

bool TrailSearch::_DoSame(const ExprStep& step) noexcept
{
    const std::uint32_t from = _m_slots.Data()[StartSlot(step.arg)];
    const std::uint32_t to = _m_slots.Data()[StartSlot(step.arg) + 1];
    if (to == kUnset)
        return false;
    const std::string_view text = _m_subject.substr(from, to - from);
    const std::string_view here = _m_subject.substr(_m_at, text.size());
    if (here.size() == text.size())
        _m_steps += text.size() / 16; // comparing is cheap, but not free, and may fail at the last byte
    if (here != text)
        return false;
    _m_at += to - from;
    return true;
}

bool TrailSearch::_DoMaybe(const ExprStep& step) noexcept
{
    const bool skipsFirst = step.arg != 0;
    _m_index = skipsFirst ? step.next : step.alt;
    return _Push(kTry, skipsFirst ? step.alt : step.next, _m_at);
}

// Takes up the latest possibility that is left. False when there is none.
bool TrailSearch::_Resume() noexcept
{
    Entry entry;
    if (!_PopUndone(entry))
        return false;
    _m_index = static_cast<std::uint16_t>(entry.kindAndIndex & ~kKinds);
    if ((entry.kindAndIndex & kKinds) == kHolds)
        _m_index = _m_program.steps[_m_index].next;
    _m_at = entry.value;
    return true;
}

// The part under negation matches: drops what is left of it. What is tried next lies before it.
void TrailSearch::_LeaveNegation() noexcept
{
    Entry entry;
    while (_PopUndone(entry) && (entry.kindAndIndex & kKinds) != kHolds) {
    }
}

bool TrailSearch::_Set(std::size_t slot, std::uint32_t value) noexcept
{
    return _Push(kUndo, slot, std::exchange(_m_slots.Data()[slot], value));
}

// False when the trail is full, which ends the search.
bool TrailSearch::_Push(Kind kind, std::size_t index, std::uint32_t value) noexcept
{
    if (_m_trailSize == kMaxSearchTrail || (_m_trailSize == kInlineTrail && !_m_trail.Grow(kMaxSearchTrail)))
        _m_exhausted = true;
    if (_m_exhausted)
        return false;
    _m_trail.Data()[_m_trailSize++] = {static_cast<std::uint32_t>(kind | index), value};
    return true;
}

// Undoes changes down to the latest entry of another kind, and takes that off the trail.
bool TrailSearch::_PopUndone(Entry& entry) noexcept
{
    while (_m_trailSize != 0) {
        entry = _m_trail.Data()[--_m_trailSize];
        if ((entry.kindAndIndex & kKinds) != kUndo)
            return true;
        _m_slots.Data()[entry.kindAndIndex & ~kKinds] = entry.value;
    }
    return false;
}

} // namespace

bool SearchByTrail(const ExprProgram& program, std::string_view subject) noexcept
{
    return TrailSearch(program, subject).Run();
}

} // namespace kx
