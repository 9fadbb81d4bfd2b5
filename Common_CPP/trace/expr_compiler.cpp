// The only entry is CompileExpression. One walk over the text emits the steps; there is no tree and no
// recursion: brackets that are open stand in a list.
//
// A first walk assumes that there is no back-reference and links leftward. If it met one, a second walk links
// in the order of the text and adds the steps that keep groups.
#include "Common_CPP/trace/expr_compiler.h"

#include "Common_CPP/trace/expr_fragment.h"
#include "Common_CPP/trace/expr_shorthand.h"

#include <utility>

namespace kx {

namespace {

constexpr char kWhole = '\0'; // opener of the level below everything

// A bracket that is still open, with what stands in it so far.
struct Level {
    char opener = kWhole;
    bool hasBranches = false;
    std::uint16_t negations = 0; // of the group itself, once it is closed
    unsigned group = 0;
    Fragment branches;
    Fragment sequence;
};

class Compiler {
  public:
    explicit Compiler(ExprProgram& program) noexcept : _m_program(program), _m_build(program) {}

    [[nodiscard]] bool Run(std::string_view expression);

  private:
    [[nodiscard]] bool _Walk(std::string_view expression);
    [[nodiscard]] bool _Items(std::string_view text);
    [[nodiscard]] bool _Item();
    [[nodiscard]] bool _Escape();
    [[nodiscard]] bool _Shorthand(std::string_view text);
    [[nodiscard]] bool _Reference(unsigned group);
    [[nodiscard]] bool _Class();
    [[nodiscard]] std::size_t _SetNumber(const ByteSet& set);
    [[nodiscard]] bool _ClassByte(unsigned char& byte);
    void _Branch();
    void _Open(char opener);
    [[nodiscard]] bool _Close(char opener);

    void _Complete(Fragment fragment);
    [[nodiscard]] Fragment _Content(const Level& level);
    [[nodiscard]] bool _Kept(unsigned group) const noexcept;
    [[nodiscard]] char _Take() noexcept;
    [[nodiscard]] bool _TakeIf(char wanted) noexcept;

    ExprProgram& _m_program;
    FragmentBuilder _m_build;
    std::vector<Level> _m_levels;
    std::string_view _m_rest;
    std::uint16_t _m_negations = 0; // `!` read and still waiting for their item
    unsigned _m_groups = 0;
    unsigned _m_references = 0; // a bit a group
};

bool Compiler::Run(std::string_view expression)
{
    if (expression.size() > kMaxExpression)
        return false;
    _m_program.steps.reserve(expression.size() + 1);
    if (!_Walk(expression))
        return false;
    if (_m_references == 0)
        return true;
    if (_m_groups < kNamedGroups && _m_references >> _m_groups != 0)
        return false;
    _m_program.leftward = false;
    return _Walk(expression);
}

bool Compiler::_Walk(std::string_view expression)
{
    _m_program.steps.clear();
    _m_program.sets.clear();
    _m_program.negations.clear();
    _m_groups = 0;
    _m_levels.assign(1, Level{});
    _Open('{');
    if (!_Items(expression) || !_Close('{') || _m_levels.size() != 1)
        return false;
    _m_build.Finish(_Content(_m_levels.front()));
    return true;
}

bool Compiler::_Items(std::string_view text)
{
    _m_rest = text;
    while (!_m_rest.empty())
        if (!_Item())
            return false;
    return true;
}

bool Compiler::_Item()
{
    const char character = _Take();
    switch (character) {
    case '(':
    case '{':
        _Open(character);
        return true;
    case ')':
        return _Close('(');
    case '}':
        return _Close('{');
    case '|':
        _Branch();
        return _m_negations == 0;
    case '!':
        ++_m_negations;
        return true;
    case '[':
        return _Class();
    case '\\':
        return _Escape();
    case '.':
        _Complete(_m_build.Single(ExprOp::Any));
        return true;
    case '?':
    case '*':
    case '+':
    case ']':
        return false; // a repetition is taken together with its item, a bracket with its class
    default:
        _Complete(_m_build.Single(ExprOp::Byte, static_cast<unsigned char>(character)));
        return true;
    }
}

bool Compiler::_Escape()
{
    if (_m_rest.empty())
        return false;
    const char character = _Take();
    if (character >= '0' && character <= '9')
        return _Reference(static_cast<unsigned>(character - '0'));
    const std::string_view shorthand = ShorthandText(character);
    if (!shorthand.empty())
        return _Shorthand(shorthand);
    _Complete(_m_build.Single(ExprOp::Byte, static_cast<unsigned char>(character)));
    return true;
}

// The text becomes a group at this place. It holds no shorthand itself, so this nests only once.
bool Compiler::_Shorthand(std::string_view text)
{
    const std::string_view outer = _m_rest;
    _Open('(');
    const bool valid = _Items(text);
    _m_rest = outer;
    return valid && _Close('(');
}

bool Compiler::_Reference(unsigned group)
{
    _m_references |= 1U << group;
    _Complete(_m_program.leftward ? Fragment{} : _m_build.Single(ExprOp::Same, group));
    return true;
}

bool Compiler::_Class()
{
    ByteSet set;
    const bool negated = _TakeIf('^');
    bool empty = true;
    while (!_TakeIf(']')) {
        unsigned char from = 0;
        if (!_ClassByte(from))
            return false;
        unsigned char to = from;
        if (_m_rest.size() > 1 && _m_rest[0] == '-' && _m_rest[1] != ']') {
            _m_rest.remove_prefix(1);
            if (!_ClassByte(to) || to < from)
                return false;
        }
        for (unsigned byte = from; byte <= to; ++byte)
            set.Add(static_cast<unsigned char>(byte));
        empty = false;
    }
    if (empty)
        return false;
    if (negated)
        set.Invert();
    _Complete(_m_build.Single(ExprOp::Set, 0, _SetNumber(set)));
    return true;
}

// Equal sets are kept once, if not far apart: that keeps programs with many shorthands small and fast.
std::size_t Compiler::_SetNumber(const ByteSet& set)
{
    constexpr std::size_t kLookBack = 8;
    std::vector<ByteSet>& sets = _m_program.sets;
    for (std::size_t i = sets.size(); i > 0 && i + kLookBack > sets.size(); --i)
        if (sets[i - 1] == set)
            return i - 1;
    sets.push_back(set);
    return sets.size() - 1;
}

// One end of a range, or a lone character. False at the end of the text: the class is not closed.
bool Compiler::_ClassByte(unsigned char& byte)
{
    (void)_TakeIf('\\');
    if (_m_rest.empty())
        return false;
    byte = static_cast<unsigned char>(_Take());
    return true;
}

void Compiler::_Branch()
{
    Level& level = _m_levels.back();
    level.branches = _Content(level);
    level.hasBranches = true;
    level.sequence = Fragment{};
}

void Compiler::_Open(char opener)
{
    Level level;
    level.opener = opener;
    level.negations = std::exchange(_m_negations, std::uint16_t{0});
    level.group = opener == '{' ? _m_groups++ : 0;
    _m_levels.push_back(level);
}

bool Compiler::_Close(char opener)
{
    if (_m_levels.back().opener != opener || _m_negations != 0)
        return false;
    const Level level = _m_levels.back();
    _m_levels.pop_back();
    Fragment body = _Content(level);
    if (opener == '{' && _Kept(level.group))
        body = _m_build.Group(body, level.group);
    _m_negations = level.negations;
    _Complete(body);
    return true;
}

// Ends an item: takes the repetition that follows in the text, negates, and appends to the sequence.
void Compiler::_Complete(Fragment fragment)
{
    const char kind = _m_rest.empty() ? '\0' : _m_rest.front();
    if (kind == '?' || kind == '*' || kind == '+') {
        _m_rest.remove_prefix(1);
        fragment = _m_build.Repeat(fragment, kind, _TakeIf('?'));
    }
    for (; _m_negations != 0; --_m_negations)
        fragment = _m_build.Negate(fragment);
    Fragment& sequence = _m_levels.back().sequence;
    sequence = _m_build.Sequence(sequence, fragment);
}

// All that stands in the bracket up to here.
Fragment Compiler::_Content(const Level& level)
{
    return level.hasBranches ? _m_build.Alternate(level.branches, level.sequence) : level.sequence;
}

bool Compiler::_Kept(unsigned group) const noexcept
{
    return !_m_program.leftward && group < kNamedGroups && (_m_references >> group & 1) != 0;
}

char Compiler::_Take() noexcept
{
    const char character = _m_rest.front();
    _m_rest.remove_prefix(1);
    return character;
}

bool Compiler::_TakeIf(char wanted) noexcept
{
    const bool there = !_m_rest.empty() && _m_rest.front() == wanted;
    if (there)
        _m_rest.remove_prefix(1);
    return there;
}

// A search begins at every position, so what it may skip at its start takes no part in the answer. Holds only
// for leftward programs: elsewhere a group in the skipped part may be referred to.
void SkipOptionalStart(ExprProgram& program) noexcept
{
    while (program.leftward && program.steps[program.start].op == ExprOp::Maybe)
        program.start = program.steps[program.start].next;
}

// Finds the bytes that a match can begin with. Gives up, leaving hasFirst unset, when the start is not plain.
void FindFirstBytes(ExprProgram& program) noexcept
{
    constexpr std::size_t kMostVisits = 32; // also ends the circles of nested repetitions
    std::uint16_t pending[kMostVisits + 1] = {program.start};
    std::size_t waiting = 1;
    for (std::size_t visits = 0; waiting != 0; ++visits) {
        if (visits == kMostVisits)
            return;
        const ExprStep& step = program.steps[pending[--waiting]];
        switch (step.op) {
        case ExprOp::Byte:
            program.first.Add(step.arg);
            break;
        case ExprOp::Set:
            program.first.AddAll(program.sets[step.alt]);
            break;
        case ExprOp::Either:
        case ExprOp::Maybe:
            pending[waiting++] = step.next;
            pending[waiting++] = step.alt;
            break;
        case ExprOp::Open:
        case ExprOp::Close:
        case ExprOp::Mark:
            pending[waiting++] = step.next;
            break;
        default:
            return;
        }
    }
    program.hasFirst = true;
}

bool IsLiteral(const ExprProgram& program) noexcept
{
    if (program.steps.size() != program.text.size() + 1)
        return false;
    for (const ExprStep& step : program.steps)
        if (step.op != ExprOp::Byte && step.op != ExprOp::Match)
            return false;
    return true;
}

} // namespace

bool CompileExpression(std::string_view expression, ExprProgram& program)
{
    if (!Compiler(program).Run(expression))
        return false;
    program.text = expression;
    program.literal = IsLiteral(program);
    if (program.literal)
        return true;
    if (program.steps.size() > kMaxSteps)
        return false;
    SkipOptionalStart(program);
    FindFirstBytes(program);
    return true;
}

} // namespace kx
