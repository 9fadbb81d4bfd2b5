// Command lines: one text to a list of arguments and back, by the platform's documented rules.
//
// The program's name comes first and has a rule of its own: it ends at the first blank or tab outside
// quotation marks, the marks themselves are dropped, and backslashes mean nothing. A line that begins with a
// blank has an empty program name. In the arguments after it:
//   - blanks and tabs separate, unless they stand between quotation marks;
//   - 2n backslashes before a mark are n backslashes, and the mark opens or closes a quoted part;
//   - 2n+1 backslashes before a mark are n backslashes and a mark of the text;
//   - other backslashes are themselves;
//   - inside a quoted part a doubled mark is a mark of the text, and the part goes on.
// The last rule is the C runtime's. CommandLineToArgvW, whose page is silent about it, ends the quoted part
// there; and to it a quoted program name ends with its second mark, and a mark inside an unquoted one is
// text. What is written here makes use of none of these, so every reader takes it apart alike.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Splits and joins command lines; Char is char16_t or wchar_t. Everything may throw std::bad_alloc.
template <class Char>
class CkxBasicCmdLine {
  public:
    using String = std::basic_string<Char>;
    using View = std::basic_string_view<Char>;

    CkxBasicCmdLine() = delete;

    /// The program's name, possibly empty, and the arguments of a whole line. Nothing for an empty line. The
    /// line ends at its first NUL.
    [[nodiscard]] static std::vector<String> Split(View line);

    /// The arguments of a line without a program's name.
    [[nodiscard]] static std::vector<String> SplitArguments(View line);

    /// Adds `argument` to `line`, after a blank if something stands there already, quoted where needed.
    /// False, and `line` untouched, for an argument with a NUL, which no command line can carry.
    [[nodiscard]] static bool AppendArgument(String& line, View argument);

    /// Writes a line that Split takes apart into exactly `arguments`, the program's name first. False, and
    /// `line` untouched, when one holds a NUL or the program's name holds a quotation mark.
    [[nodiscard]] static bool Join(std::span<const String> arguments, String& line);
};

using CkxCmdLine = CkxBasicCmdLine<wchar_t>;
