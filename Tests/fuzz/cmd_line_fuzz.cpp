// libFuzzer target: command lines. Any line is taken apart into arguments that make a line again, which is
// taken apart into the same; and any arguments, one a line of the input, come back from the line made of
// them.
//
//   cmd_line_fuzz -max_len=256
#include "Common_CPP/util/cmd_line.h"
#include "Tests/fuzz/fuzz_input.h"

namespace {

using fuzz::Require;
using CmdLine = CkxBasicCmdLine<char16_t>;
using Arguments = std::vector<std::u16string>;

bool CannotStand(const std::u16string& argument, bool isProgram)
{
    return argument.find(u'\0') != argument.npos || (isProgram && argument.find(u'"') != argument.npos);
}

// What separates must not come from inside an argument: outside of quotation marks a line has exactly as many
// stretches as there are arguments.
std::size_t CountStretches(const std::u16string& line)
{
    std::size_t count = 0;
    bool quoted = false;
    bool between = true;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const bool isBlank = line[i] == u' ' || line[i] == u'\t';
        count += between && (quoted || !isBlank) ? 1U : 0U;
        between = isBlank && !quoted;
        std::size_t slashes = 0;
        while (slashes < i && line[i - slashes - 1] == u'\\')
            ++slashes;
        if (line[i] == u'"' && slashes % 2 == 0)
            quoted = !quoted;
    }
    return count;
}

void CheckLine(const std::u16string& line)
{
    const Arguments arguments = CmdLine::Split(line);
    Require(arguments.empty() == (line.empty() || line.front() == u'\0'),
            "no program's name, or one of nothing");
    std::size_t characters = 0;
    for (const std::u16string& argument : arguments) {
        Require(!CannotStand(argument, false), "a NUL in an argument");
        characters += argument.size();
    }
    Require(characters <= line.size(), "arguments longer than their line");
    std::u16string made;
    if (CmdLine::Join(arguments, made))
        Require(CmdLine::Split(made) == arguments, "taken apart into something else");
    else
        Require(CannotStand(arguments.front(), true), "refused without a reason");
}

void CheckArguments(const Arguments& arguments)
{
    const std::u16string before = u"before";
    std::u16string line = before;
    bool refused = CannotStand(arguments.front(), true);
    for (const std::u16string& argument : arguments)
        refused |= CannotStand(argument, false);
    Require(CmdLine::Join(arguments, line) != refused, "made or refused wrongly");
    if (refused) {
        Require(line == before, "a refused line was changed");
        return;
    }
    Require(CmdLine::Split(line) == arguments, "other arguments came back");

    std::u16string tail;
    for (std::size_t i = 1; i < arguments.size(); ++i)
        Require(CmdLine::AppendArgument(tail, arguments[i]), "an argument is refused alone");
    Require(CmdLine::SplitArguments(tail) == Arguments(arguments.begin() + 1, arguments.end()),
            "other arguments without a program");
    Require(CountStretches(tail) == arguments.size() - 1, "an argument's blanks separate");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CheckLine(fuzz::TextOf<char16_t>(data, size));
    Arguments arguments;
    fuzz::Input input(data, size);
    do
        arguments.push_back(input.Line<char16_t>());
    while (!input.IsEmpty());
    CheckArguments(arguments);
    return 0;
}
