#include "Common_CPP/util/cmd_line.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace {

template <class Char>
constexpr Char c_mark = Char{'"'};

template <class Char>
constexpr Char c_backslash = Char{'\\'};

template <class Char>
constexpr bool IsSeparator(Char character) noexcept
{
    return character == Char{' '} || character == Char{'\t'};
}

/// Reads a command line from left to right.
template <class Char>
class Reader {
  public:
    explicit Reader(std::basic_string_view<Char> line) noexcept : _m_rest(line.substr(0, line.find(Char{})))
    {
    }

    [[nodiscard]] bool AtEnd() const noexcept { return _m_rest.empty(); }

    void SkipSeparators() noexcept
    {
        while (!AtEnd() && IsSeparator(_m_rest.front()))
            _m_rest.remove_prefix(1);
    }

    std::basic_string<Char> TakeProgram()
    {
        std::basic_string<Char> program;
        for (bool quoted = false; _InText(quoted);) {
            const Char character = _Take();
            if (character == c_mark<Char>)
                quoted = !quoted;
            else
                program += character;
        }
        return program;
    }

    std::basic_string<Char> TakeArgument()
    {
        std::basic_string<Char> argument;
        for (bool quoted = false; _InText(quoted);) {
            const std::size_t backslashes = _TakeBackslashes();
            const bool beforeMark = _At(c_mark<Char>);
            argument.append(beforeMark ? backslashes / 2 : backslashes, c_backslash<Char>);
            if (beforeMark && backslashes % 2 == 0)
                _TakeMark(quoted, argument);
            else if (beforeMark || backslashes == 0)
                argument += _Take();
        }
        return argument;
    }

  private:
    [[nodiscard]] bool _At(Char character) const noexcept { return !AtEnd() && _m_rest.front() == character; }

    [[nodiscard]] bool _InText(bool quoted) const noexcept
    {
        return !AtEnd() && (quoted || !IsSeparator(_m_rest.front()));
    }

    Char _Take() noexcept
    {
        const Char character = _m_rest.front();
        _m_rest.remove_prefix(1);
        return character;
    }

    std::size_t _TakeBackslashes() noexcept
    {
        const std::size_t count = std::min(_m_rest.find_first_not_of(c_backslash<Char>), _m_rest.size());
        _m_rest.remove_prefix(count);
        return count;
    }

    void _TakeMark(bool& quoted, std::basic_string<Char>& argument)
    {
        _Take();
        if (quoted && _At(c_mark<Char>))
            argument += _Take();
        else
            quoted = !quoted;
    }

    std::basic_string_view<Char> _m_rest;
};

/// Some readers take every character up to the blank for a separator, so all of them are quoted.
template <class Char>
bool NeedsQuotes(std::basic_string_view<Char> text) noexcept
{
    return text.empty() || std::any_of(text.begin(), text.end(), [](Char character) {
               return character <= Char{' '} || character == c_mark<Char>;
           });
}

/// Backslashes are doubled where a mark follows, be it one of the text or the closing one.
template <class Char>
void AppendQuoted(std::basic_string<Char>& line, std::basic_string_view<Char> argument)
{
    line += c_mark<Char>;
    std::size_t backslashes = 0;
    for (const Char character : argument) {
        if (character == c_mark<Char>)
            line.append(backslashes + 1, c_backslash<Char>);
        backslashes = character == c_backslash<Char> ? backslashes + 1 : 0;
        line += character;
    }
    line.append(backslashes, c_backslash<Char>);
    line += c_mark<Char>;
}

/// The program's name has no escapes, so it cannot hold a mark.
template <class Char>
bool AppendProgram(std::basic_string<Char>& line, std::basic_string_view<Char> program)
{
    if (program.find(c_mark<Char>) != program.npos || program.find(Char{}) != program.npos)
        return false;
    const bool quotes = NeedsQuotes(program);
    line.append(quotes ? 1 : 0, c_mark<Char>).append(program).append(quotes ? 1 : 0, c_mark<Char>);
    return true;
}

template <class Char>
void TakeArguments(Reader<Char>& reader, std::vector<std::basic_string<Char>>& arguments)
{
    for (reader.SkipSeparators(); !reader.AtEnd(); reader.SkipSeparators())
        arguments.push_back(reader.TakeArgument());
}

} // namespace

template <class Char>
std::vector<std::basic_string<Char>> CkxBasicCmdLine<Char>::Split(View line)
{
    Reader<Char> reader(line);
    std::vector<String> arguments;
    if (reader.AtEnd())
        return arguments;
    arguments.push_back(reader.TakeProgram());
    TakeArguments(reader, arguments);
    return arguments;
}

template <class Char>
std::vector<std::basic_string<Char>> CkxBasicCmdLine<Char>::SplitArguments(View line)
{
    Reader<Char> reader(line);
    std::vector<String> arguments;
    TakeArguments(reader, arguments);
    return arguments;
}

template <class Char>
bool CkxBasicCmdLine<Char>::AppendArgument(String& line, View argument)
{
    if (argument.find(Char{}) != View::npos)
        return false;
    String piece;
    if (!line.empty())
        piece += Char{' '};
    if (NeedsQuotes(argument))
        AppendQuoted(piece, argument);
    else
        piece += argument;
    line += piece;
    return true;
}

template <class Char>
bool CkxBasicCmdLine<Char>::Join(std::span<const String> arguments, String& line)
{
    String joined;
    if (!arguments.empty() && !AppendProgram<Char>(joined, arguments.front()))
        return false;
    for (std::size_t i = 1; i < arguments.size(); ++i)
        if (!AppendArgument(joined, arguments[i]))
            return false;
    line = std::move(joined);
    return true;
}

template class CkxBasicCmdLine<char16_t>;
template class CkxBasicCmdLine<wchar_t>;
