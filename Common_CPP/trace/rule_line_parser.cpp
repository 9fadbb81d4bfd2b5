#include "Common_CPP/trace/rule_line_parser.h"

#include "Common_CPP/trace/config_number.h"

namespace kx {
namespace {

constexpr ScopeKind kScopes[] = {ScopeKind::File, ScopeKind::Class, ScopeKind::Stack};
constexpr std::uint32_t kHighestLevel = 0xFFFFFFFF;

struct RuleParts {
    ScopeKind scope;
    std::string_view expression;
    std::string_view levels;
    std::string_view value;
};

// Takes what stands in front of the next "@" off `rest`, and the "@" with it.
std::optional<std::string_view> TakePart(std::string_view& rest) noexcept
{
    const std::size_t at = rest.find('@');
    if (at == std::string_view::npos)
        return std::nullopt;
    const std::string_view part = rest.substr(0, at);
    rest.remove_prefix(at + 1);
    return part;
}

std::optional<ScopeKind> ScopeOf(std::string_view word) noexcept
{
    for (const ScopeKind scope : kScopes)
        if (word == ScopeWord(scope))
            return scope;
    return std::nullopt;
}

std::optional<RuleParts> TakeApart(std::string_view rest) noexcept
{
    const auto word = TakePart(rest);
    const auto scope = word ? ScopeOf(*word) : std::nullopt;
    const auto expression = scope ? TakePart(rest) : std::nullopt;
    const auto levels = expression ? TakePart(rest) : std::nullopt;
    if (!levels)
        return std::nullopt;
    return RuleParts{*scope, *expression, *levels, rest};
}

std::optional<std::uint32_t> ReadLevel(std::string_view text) noexcept
{
    const auto number = ReadConfigNumber(text, kHighestLevel);
    if (!number)
        return std::nullopt;
    return static_cast<std::uint32_t>(*number);
}

// A range that runs backwards covers nothing, so it is a mistake like a level that is no number.
std::optional<LevelRange> ReadLevels(std::string_view text) noexcept
{
    if (text.empty() || text == "all")
        return LevelRange{};
    const std::size_t dash = text.find('-');
    const auto first = ReadLevel(text.substr(0, dash));
    const auto last = dash == std::string_view::npos ? first : ReadLevel(text.substr(dash + 1));
    if (!first || !last || *last < *first)
        return std::nullopt;
    return LevelRange{*first, *last, false};
}

std::optional<bool> ReadFlag(std::string_view text) noexcept
{
    if (text == "on" || text == "yes" || text == "1")
        return true;
    if (text == "off" || text == "no" || text == "0")
        return false;
    return std::nullopt;
}

std::optional<Expr> CompileExpression(std::string_view directive, std::string_view text, MessageSink& sink)
{
    auto expression = Expr::Compile(text.empty() ? ".*" : text);
    if (!expression)
        messages::IllegalRuleExpression(sink, directive, text);
    return expression;
}

// The parts and the levels, or nothing after printing what is wrong with them.
std::optional<RuleParts> ReadParts(std::string_view directive, std::string_view rest, LevelRange& levels,
                                   MessageSink& sink) noexcept
{
    const auto parts = TakeApart(rest);
    if (!parts) {
        messages::IllegalRule(sink, directive, rest);
        return std::nullopt;
    }
    const auto read = ReadLevels(parts->levels);
    if (!read) {
        messages::IllegalRuleLevel(sink, directive, rest, parts->levels);
        return std::nullopt;
    }
    levels = *read;
    return parts;
}

} // namespace

std::string_view ScopeWord(ScopeKind scope) noexcept
{
    switch (scope) {
    case ScopeKind::File:
        return "file";
    case ScopeKind::Class:
        return "class";
    case ScopeKind::Stack:
        return "stack";
    }
    return {};
}

std::optional<FlagRule> ParseFlagRule(std::string_view directive, std::string_view rest, MessageSink& sink)
{
    LevelRange levels;
    const auto parts = ReadParts(directive, rest, levels, sink);
    if (!parts)
        return std::nullopt;
    const auto flag = ReadFlag(parts->value);
    if (!flag) {
        messages::IllegalRuleFlag(sink, directive, rest, parts->value);
        return std::nullopt;
    }
    auto expression = CompileExpression(directive, parts->expression, sink);
    if (!expression)
        return std::nullopt;
    return FlagRule{{parts->scope, levels, *std::move(expression)}, *flag};
}

std::optional<PrefixRule> ParsePrefixRule(std::string_view rest, MessageSink& sink)
{
    constexpr std::string_view kDirective = "prefix";
    LevelRange levels;
    const auto parts = ReadParts(kDirective, rest, levels, sink);
    if (!parts)
        return std::nullopt;
    auto expression = CompileExpression(kDirective, parts->expression, sink);
    if (!expression)
        return std::nullopt;
    return PrefixRule{{parts->scope, levels, *std::move(expression)}, std::string(parts->value)};
}

} // namespace kx
