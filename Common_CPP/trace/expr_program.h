#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// The longest expression that compiles, in bytes: four lines of a configuration file. It keeps step
/// numbers within 16 bits (a byte of an expression makes five steps at most) and a search below 1 MB.
inline constexpr std::size_t kMaxExpression = 4096;

/// The most steps that an expression may compile to, unless it is a literal, which is searched without them:
/// shorthands grow, and a search of 16,000 characters must end within 100 ms.
inline constexpr std::size_t kMaxSteps = 1500;

/// Match groups that a back-reference can name; the others leave no trace in the program.
inline constexpr unsigned kNamedGroups = 10;

/// A set of bytes.
struct ByteSet {
    std::uint64_t bits[4] = {};

    [[nodiscard]] bool operator==(const ByteSet&) const noexcept = default;

    void Add(unsigned char byte) noexcept { bits[byte >> 6] |= std::uint64_t{1} << (byte & 63); }

    [[nodiscard]] bool Has(unsigned char byte) const noexcept { return (bits[byte >> 6] >> (byte & 63)) & 1; }

    void AddAll(const ByteSet& other) noexcept
    {
        for (std::size_t i = 0; i < 4; ++i)
            bits[i] |= other.bits[i];
    }

    void Invert() noexcept
    {
        for (std::uint64_t& word : bits)
            word = ~word;
    }
};

/// What a step does. The last five stand only in programs with back-references.
enum class ExprOp : std::uint8_t {
    Byte,   ///< takes the byte `arg`
    Any,    ///< takes any byte
    Set,    ///< takes a byte of the set number `alt`
    Either, ///< goes to `alt` or to `next`: alternation
    Maybe,  ///< as Either, but whatever `alt` leads to comes to `next` in the end; prefers `next` if `arg`
    Not,    ///< goes on if the part that ends at the Found step `alt` does not match here
    Found,  ///< end of a negated part, which begins at `alt`
    Match,  ///< the whole expression has matched
    Open,   ///< match group `arg` begins here; what it held is forgotten
    Close,  ///< match group `arg` ends here
    Same,   ///< takes the text of group `arg` again; fails while that group is open or has not matched
    Mark,   ///< notes the position in the slot `alt`: an iteration that may take nothing begins
    Again,  ///< goes on if nothing was taken since the Mark step `alt`, otherwise a Maybe
};

/// One instruction. `next` is the step that follows.
struct ExprStep {
    ExprOp op = ExprOp::Match;
    std::uint8_t arg = 0;
    std::uint16_t next = 0;
    std::uint16_t alt = 0;
};

/// A compiled expression; never changes after compilation.
///
/// Without back-references the steps are linked for a reading of the subject from its end to its start
/// (`leftward`): all that lies right of a position is then known when it is reached, so whether a negated
/// part matches there is a mere look into the set of states, and one pass over the subject decides.
struct ExprProgram {
    std::string text; ///< the expression as written
    std::vector<ExprStep> steps;
    std::vector<ByteSet> sets;
    std::vector<std::uint16_t> negations; ///< the Found steps, inner before outer
    std::uint16_t start = 0;
    std::uint16_t marks = 0; ///< number of slots that Mark steps use
    bool leftward = true;
    bool literal = false;  ///< `text` holds nothing but ordinary characters
    bool hasFirst = false; ///< every match begins (in reading direction) with a byte of `first`
    ByteSet first;

    /// Whether `step`, which takes a byte, takes this one.
    [[nodiscard]] bool Takes(const ExprStep& step, unsigned char byte) const noexcept
    {
        if (step.op == ExprOp::Byte)
            return step.arg == byte;
        return step.op == ExprOp::Any || sets[step.alt].Has(byte);
    }
};

/// The ranges of a set, such as "[0-9_]"; bytes that do not print appear as "\x1f".
[[nodiscard]] inline std::string Dump(const ByteSet& set)
{
    const auto name = [](unsigned byte) {
        constexpr char kHex[] = "0123456789abcdef";
        if (byte > ' ' && byte < 0x7F)
            return std::string(1, static_cast<char>(byte));
        return std::string("\\x") + kHex[byte >> 4] + kHex[byte & 15];
    };
    std::string text = "[";
    for (unsigned from = 0; from < 256; ++from) {
        if (!set.Has(static_cast<unsigned char>(from)))
            continue;
        unsigned to = from;
        while (to < 255 && set.Has(static_cast<unsigned char>(to + 1)))
            ++to;
        text += to == from ? name(from) : name(from) + '-' + name(to);
        from = to;
    }
    return text + ']';
}

/// The program on one line, for tests: "< 1: 0 'a' 2; 1 'b' 0; 2 match" reads leftward from step 1; a step is
/// its number, what it does, and where it goes.
[[nodiscard]] inline std::string Dump(const ExprProgram& program)
{
    constexpr std::string_view kNames[] = {"",      "any",  "",      "either", "maybe", "not",  "found",
                                           "match", "open", "close", "same",   "mark",  "again"};
    std::string text = (program.leftward ? "< " : "> ") + std::to_string(program.start) + ':';
    for (std::size_t i = 0; i < program.steps.size(); ++i) {
        const ExprStep& step = program.steps[i];
        text += (i == 0 ? " " : "; ") + std::to_string(i) + ' ';
        text += kNames[static_cast<std::size_t>(step.op)];
        if (step.op == ExprOp::Byte)
            text += std::string("'") + static_cast<char>(step.arg) + '\'';
        else if (step.op == ExprOp::Set)
            text += Dump(program.sets[step.alt]);
        else if (step.op >= ExprOp::Open && step.op <= ExprOp::Same)
            text += ' ' + std::to_string(step.arg);
        else if (step.arg != 0)
            text += " lazy";
        if (step.op == ExprOp::Mark)
            text += " #" + std::to_string(step.alt);
        else if ((step.op > ExprOp::Set && step.op < ExprOp::Match) || step.op == ExprOp::Again)
            text += " /" + std::to_string(step.alt);
        if (step.op != ExprOp::Match && step.op != ExprOp::Found)
            text += ' ' + std::to_string(step.next);
    }
    return text;
}

} // namespace kx
