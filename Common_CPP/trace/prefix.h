#pragma once

#include "Common_CPP/trace/time_tokens.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// The prefix of a statement for which no rule gives another.
inline constexpr std::string_view kDefaultPrefix = "<%PID>:<%FILE>(<%LINE>):";

/// What a template can show, in the order in which its tokens are replaced.
enum class PrefixToken : std::uint8_t {
    ProcessId,
    ThreadId,
    ThreadName,
    Stack,
    Year,
    Month,
    Day,
    Hour,
    Minute,
    Second,
    Millisecond,
    File,
    Line,
    Class,
    Level,
    Indent,
};

/// The values of one statement. Texts are borrowed.
struct PrefixFields {
    std::uint32_t processId = 0;
    std::uint32_t threadId = 0;
    std::string_view threadName;     ///< empty: the thread id is shown
    const char* stackName = nullptr; ///< innermost scope, null when there is none
    LocalTime time;                  ///< read only when NeedsTime()
    std::string_view file;           ///< already stripped
    int line = 0;
    const char* className = nullptr;
    std::uint32_t level = 0;
    std::uint32_t depth = 0;
    std::string_view indentFilling; ///< repeated `depth` times
};

/// Which tokens a template knows; the others stay as they are written.
enum class PrefixTokens : std::uint8_t {
    All,
    Scope, ///< those that entering or leaving a scope can show: no file, line and level
};

/// A format template, taken apart once when it is read. Of each token only the first occurrence is
/// replaced; tokens are replaced one after the other, so that a token inside a value counts as well.
class PrefixTemplate {
  public:
    explicit PrefixTemplate(std::string_view text, PrefixTokens tokens = PrefixTokens::All);

    [[nodiscard]] const std::string& Text() const noexcept { return _m_text; }

    /// True when the template can show the date or the time, so that the clock must be read: by a token of
    /// its own, or by one in a value.
    [[nodiscard]] bool NeedsTime(const PrefixFields& fields) const noexcept
    {
        return _m_needsTime || _NeedsWordForWord(fields);
    }

    /// Writes a line's beginning to `out`, anything with Append(std::string_view): the template with its
    /// values, and a blank behind unless it is empty or ends in one.
    template <class Out>
    void Write(Out& out, const PrefixFields& fields) const
    {
        if (Expand(out, fields) != ' ')
            out.Append(" ");
    }

    /// Writes the template with its values; returns the last character written, a blank for none. Allocates
    /// only where a value holds what could be a token.
    template <class Out>
    char Expand(Out& out, const PrefixFields& fields) const
    {
        char last = ' ';
        const auto put = [&](std::string_view text) {
            if (text.empty())
                return;
            out.Append(text);
            last = text.back();
        };
        if (_NeedsWordForWord(fields)) {
            put(_WordForWord(fields));
            return last;
        }
        for (const Piece& piece : _m_pieces) {
            char scratch[kScratch];
            if (!piece.isToken)
                put(std::string_view(_m_text).substr(piece.begin, piece.size));
            else if (piece.token == PrefixToken::Indent)
                for (std::uint32_t i = 0; i < _IndentSteps(fields); ++i)
                    put(fields.indentFilling);
            else
                put(_Value(piece.token, fields, scratch));
        }
        return last;
    }

  private:
    struct Piece {
        bool isToken;
        PrefixToken token;
        std::size_t begin; // of the literal text, in _m_text
        std::size_t size;
    };

    static constexpr std::size_t kScratch = 32;
    static std::uint32_t _IndentSteps(const PrefixFields& fields) noexcept;
    // The token's value; a number is written into `scratch`.
    static std::string_view _Value(PrefixToken token, const PrefixFields& fields,
                                   char (&scratch)[kScratch]) noexcept;
    void _TakeApart();
    [[nodiscard]] bool _NeedsWordForWord(const PrefixFields& fields) const noexcept;
    [[nodiscard]] std::string _WordForWord(const PrefixFields& fields) const;

    std::string _m_text;
    PrefixTokens _m_tokens;
    std::vector<Piece> _m_pieces;
    bool _m_needsTime = false;
    bool _m_irregular = false; // has "<%" that begins no token: values could complete one
};

} // namespace kx
