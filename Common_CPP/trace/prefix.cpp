#include "Common_CPP/trace/prefix.h"

#include "Common_CPP/trace/level.h"

#include <algorithm>
#include <iterator>

namespace kx {

namespace {

struct TokenName {
    std::string_view text;
    PrefixToken token;
};

constexpr TokenName kTokens[] = {{"<%PID>", PrefixToken::ProcessId},    {"<%TID>", PrefixToken::ThreadId},
                                 {"<%TNAME>", PrefixToken::ThreadName}, {"<%STACK>", PrefixToken::Stack},
                                 {"<%YEAR>", PrefixToken::Year},        {"<%MONTH>", PrefixToken::Month},
                                 {"<%DAY>", PrefixToken::Day},          {"<%HOUR>", PrefixToken::Hour},
                                 {"<%MIN>", PrefixToken::Minute},       {"<%SEC>", PrefixToken::Second},
                                 {"<%MSEC>", PrefixToken::Millisecond}, {"<%FILE>", PrefixToken::File},
                                 {"<%LINE>", PrefixToken::Line},        {"<%CLASS>", PrefixToken::Class},
                                 {"<%LEVEL>", PrefixToken::Level},      {"<%INDENT>", PrefixToken::Indent}};

constexpr std::string_view kTokenBegin = "<%";

constexpr std::uint32_t kNoThread = 0xFFFFFFFF;

// A runaway recursion must not turn a line into megabytes of blanks.
constexpr std::uint32_t kMaxIndent = 256;

const TokenName* TokenAt(std::string_view text, std::size_t at) noexcept
{
    const auto found = std::find_if(std::begin(kTokens), std::end(kTokens), [&](const TokenName& name) {
        return text.substr(at, name.text.size()) == name.text;
    });
    return found == std::end(kTokens) ? nullptr : found;
}

bool IsAmong(PrefixToken token, PrefixTokens tokens) noexcept
{
    return tokens == PrefixTokens::All ||
           (token != PrefixToken::File && token != PrefixToken::Line && token != PrefixToken::Level);
}

// Text that could complete a token together with what stands beside it; an empty one lets its neighbours
// meet.
bool CouldMakeToken(std::string_view value) noexcept
{
    // Values are short: a loop here is quicker than the library's search.
    return value.empty() || value.back() == '<' || std::find(value.begin(), value.end(), '%') != value.end();
}

bool CouldMakeToken(const char* value) noexcept
{
    return value && CouldMakeToken(std::string_view(value));
}

std::string_view OrElse(const char* text, std::string_view otherwise) noexcept
{
    return text ? std::string_view(text) : otherwise;
}

} // namespace

PrefixTemplate::PrefixTemplate(std::string_view text, PrefixTokens tokens) : _m_text(text), _m_tokens(tokens)
{
    _TakeApart();
}

void PrefixTemplate::_TakeApart()
{
    const std::string_view text = _m_text;
    bool seen[std::size(kTokens)] = {};
    std::size_t literal = 0;
    const auto endLiteral = [&](std::size_t end) {
        if (end > literal)
            _m_pieces.push_back({false, {}, literal, end - literal});
    };
    for (std::size_t at = 0; (at = text.find(kTokenBegin, at)) != std::string_view::npos;) {
        const TokenName* name = TokenAt(text, at);
        if (!name || !IsAmong(name->token, _m_tokens)) {
            _m_irregular = true;
            at += kTokenBegin.size();
            continue;
        }
        const auto index = static_cast<std::size_t>(name->token);
        if (!seen[index]) {
            seen[index] = true;
            endLiteral(at);
            _m_pieces.push_back({true, name->token, 0, 0});
            literal = at + name->text.size();
            _m_needsTime |= name->token >= PrefixToken::Year && name->token <= PrefixToken::Millisecond;
        }
        at += name->text.size();
    }
    endLiteral(text.size());
}

bool PrefixTemplate::_NeedsWordForWord(const PrefixFields& fields) const noexcept
{
    // What is missing has a text of its own, or, as the indentation, is the last to be replaced.
    const auto given = [](std::string_view text) { return !text.empty() && CouldMakeToken(text); };
    return _m_irregular || given(fields.threadName) || CouldMakeToken(fields.stackName) ||
           (_m_tokens == PrefixTokens::All && CouldMakeToken(fields.file)) ||
           CouldMakeToken(fields.className) || given(fields.indentFilling);
}

std::string PrefixTemplate::_WordForWord(const PrefixFields& fields) const
{
    std::string line = _m_text;
    for (const TokenName& name : kTokens) {
        if (!IsAmong(name.token, _m_tokens))
            continue;
        char scratch[kScratch];
        std::string value;
        if (name.token == PrefixToken::Indent)
            for (std::uint32_t i = 0; i < _IndentSteps(fields); ++i)
                value += fields.indentFilling;
        else
            value = _Value(name.token, fields, scratch);
        ReplaceFirst(line, name.text, value);
    }
    return line;
}

std::uint32_t PrefixTemplate::_IndentSteps(const PrefixFields& fields) noexcept
{
    return fields.indentFilling.empty() ? 0 : std::min(fields.depth, kMaxIndent);
}

std::string_view PrefixTemplate::_Value(PrefixToken token, const PrefixFields& fields,
                                        char (&scratch)[kScratch]) noexcept
{
    const auto number = [&](const Decimal& text) {
        return std::string_view(scratch, text.View().copy(scratch, kScratch));
    };
    const auto time = [&](TimeToken part) { return number(TimeTokenValue(part, fields.time)); };
    switch (token) {
    case PrefixToken::ProcessId:
        return number(Decimal(fields.processId));
    case PrefixToken::ThreadName:
        if (!fields.threadName.empty())
            return fields.threadName;
        [[fallthrough]];
    case PrefixToken::ThreadId:
        return fields.threadId == kNoThread ? "<no thread>" : number(Decimal(fields.threadId));
    case PrefixToken::Stack:
        return OrElse(fields.stackName, "<no stack name>");
    case PrefixToken::Year:
        return time(TimeToken::Year);
    case PrefixToken::Month:
        return time(TimeToken::Month);
    case PrefixToken::Day:
        return time(TimeToken::Day);
    case PrefixToken::Hour:
        return time(TimeToken::Hour);
    case PrefixToken::Minute:
        return time(TimeToken::Minute);
    case PrefixToken::Second:
        return time(TimeToken::Second);
    case PrefixToken::Millisecond:
        return time(TimeToken::Millisecond);
    case PrefixToken::File:
        return fields.file;
    case PrefixToken::Line:
        return number(Decimal(fields.line));
    case PrefixToken::Class:
        return OrElse(fields.className, "<no class name>");
    case PrefixToken::Level:
        break;
    case PrefixToken::Indent:
        return {};
    }
    if (fields.level == KXT_NO_LEVEL)
        return "<no level>";
    const std::string_view level = LevelName(fields.level);
    return level.empty() ? number(Decimal(fields.level)) : level;
}

} // namespace kx
