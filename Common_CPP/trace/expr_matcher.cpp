// The only entry is MatchesSomewhere, which picks one of two engines. StateSearch, here, follows all
// possibilities at once and so never does work twice. Back-references make a possibility depend on what its
// groups hold, which a set of steps cannot tell; programs with them go to expr_trail_search.
#include "Common_CPP/trace/expr_matcher.h"

#include "Common_CPP/trace/expr_scratch.h"
#include "Common_CPP/trace/expr_trail_search.h"

#include <algorithm>
#include <utility>

namespace kx {

namespace {

// Positions are kept in 32 bits, of which one value says "none".
constexpr std::size_t kMaxSubject = 0xFFFFFFFE;

// Searches with a leftward program. At each position, from the end of the subject to its start, it holds the
// set of steps from which the text right of the position has been taken. Negated parts begin anew at every
// position; one that has reached its Found step matches there. Inner ones are advanced before those around
// them, and all before the expression itself, so an answer stands when it is asked for.
class StateSearch {
  public:
    // cppcheck-suppress uninitMemberVar // scratch, set by whoever uses it first
    explicit StateSearch(const ExprProgram& program) noexcept : _m_program(program) {}

    [[nodiscard]] bool Run(std::string_view subject) noexcept;

  private:
    [[nodiscard]] bool _Allocate() noexcept;
    void _Advance(unsigned char byte) noexcept;
    void _NextGeneration() noexcept;
    void _Take(std::size_t from, std::size_t to, unsigned char byte) noexcept;
    void _Enter(std::uint16_t index) noexcept;

    [[nodiscard]] bool _Entered(std::uint16_t index) const noexcept
    {
        return _m_entered[index] == _m_generation;
    }

    const ExprProgram& _m_program;
    Scratch<std::uint16_t, 320> _m_memory;
    std::uint16_t* _m_entered = nullptr; // the generation in which a step was last entered
    std::uint16_t* _m_now = nullptr;     // entered steps that take a byte: of the position before
    std::uint16_t* _m_next = nullptr;    // and of this one, ordered by the part they belong to
    std::uint16_t* _m_pending = nullptr;
    std::uint16_t* _m_partEnd = nullptr; // where the steps of a negated part end in _m_next
    // Wider than their values need: a store to the arrays above then cannot change them in the compiler's
    // eyes.
    std::size_t _m_nowSize = 0;
    std::size_t _m_nextSize = 0;
    std::uint32_t _m_generation = 0; // one a position, up to 16 bits
    bool _m_matched = false;
};

bool StateSearch::Run(std::string_view subject) noexcept
{
    if (!_Allocate())
        return false;
    const bool skips = _m_program.hasFirst && _m_program.negations.empty();
    for (std::size_t at = subject.size();; --at) {
        if (at == subject.size())
            _Advance(0); // no step waits for a byte yet
        else
            _Advance(static_cast<unsigned char>(subject[at]));
        if (skips && _m_nextSize == 0)
            while (at > 0 && !_m_program.first.Has(static_cast<unsigned char>(subject[at - 1])))
                --at;
        _Enter(_m_program.start);
        if (_m_matched || at == 0)
            return _m_matched;
    }
}

bool StateSearch::_Allocate() noexcept
{
    const std::size_t size = _m_program.steps.size();
    if (!_m_memory.Allocate(size * 5))
        return false;
    _m_entered = _m_memory.Data();
    _m_now = _m_entered + size;
    _m_next = _m_now + size;
    _m_pending = _m_next + size;
    _m_partEnd = _m_pending + size;
    std::fill_n(_m_entered, size, std::uint16_t{0});
    std::fill_n(_m_partEnd, _m_program.negations.size(), std::uint16_t{0});
    return true;
}

// Takes `byte` in all states and begins the negated parts anew.
void StateSearch::_Advance(unsigned char byte) noexcept
{
    _NextGeneration();
    std::swap(_m_now, _m_next);
    _m_nowSize = std::exchange(_m_nextSize, 0);
    std::size_t done = 0;
    for (std::size_t part = 0; part < _m_program.negations.size(); ++part) {
        _Take(done, _m_partEnd[part], byte);
        done = _m_partEnd[part];
        _Enter(_m_program.steps[_m_program.negations[part]].alt);
        _m_partEnd[part] = static_cast<std::uint16_t>(_m_nextSize);
    }
    _Take(done, _m_nowSize, byte);
}

void StateSearch::_NextGeneration() noexcept
{
    if (++_m_generation <= 0xFFFF)
        return;
    std::fill_n(_m_entered, _m_program.steps.size(), std::uint16_t{0});
    _m_generation = 1;
}

void StateSearch::_Take(std::size_t from, std::size_t to, unsigned char byte) noexcept
{
    const ExprStep* const steps = _m_program.steps.data();
    for (std::size_t i = from; i < to; ++i) {
        const ExprStep& step = steps[_m_now[i]];
        if (_m_program.Takes(step, byte) && !_Entered(step.next))
            _Enter(step.next);
    }
}

// Enters the step and all that can be reached from it without taking a byte.
void StateSearch::_Enter(std::uint16_t index) noexcept
{
    const ExprStep* const steps = _m_program.steps.data();
    const auto generation = static_cast<std::uint16_t>(_m_generation);
    std::uint16_t* const entered = _m_entered;
    std::uint16_t* const pending = _m_pending;
    std::uint16_t* next = _m_next + _m_nextSize;
    for (std::size_t waiting = 0;;) {
        if (entered[index] != generation) {
            entered[index] = generation;
            const ExprStep& step = steps[index];
            if (step.op <= ExprOp::Set) {
                *next++ = index;
            } else if (step.op <= ExprOp::Maybe) {
                // Most often this leads to a step that takes a byte, which need not wait its turn.
                if (steps[step.alt].op > ExprOp::Set) {
                    pending[waiting++] = step.alt;
                } else if (entered[step.alt] != generation) {
                    entered[step.alt] = generation;
                    *next++ = step.alt;
                }
                index = step.next;
                continue;
            } else if (step.op == ExprOp::Not && entered[step.alt] != generation) {
                index = step.next;
                continue;
            } else if (step.op == ExprOp::Match) {
                _m_matched = true;
            }
        }
        if (waiting == 0)
            break;
        index = pending[--waiting];
    }
    _m_nextSize = static_cast<std::size_t>(next - _m_next);
}

} // namespace

bool MatchesSomewhere(const ExprProgram& program, std::string_view subject) noexcept
{
    if (subject.size() > kMaxSubject)
        return false;
    if (program.literal)
        return subject.find(program.text) != std::string_view::npos;
    return program.leftward ? StateSearch(program).Run(subject) : SearchByTrail(program, subject);
}

} // namespace kx
