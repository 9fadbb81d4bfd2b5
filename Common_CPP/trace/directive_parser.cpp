#include "Common_CPP/trace/directive_parser.h"

#include "Common_CPP/trace/config_number.h"
#include "Common_CPP/trace/rule_line_parser.h"

#include <new>
#include <utility>

namespace kx {
namespace {

constexpr std::uint64_t kMaxNumber = 0x7FFFFFFF;
constexpr std::uint64_t kMaxSize = 0x7FFFFFFFFFFFFFFF;

ParseResult Accept(Directive directive)
{
    return {ParseOutcome::Accepted, std::move(directive)};
}

ParseResult Reported()
{
    return {ParseOutcome::Reported, std::nullopt};
}

// The number, or nothing after printing why it is none.
std::optional<std::uint64_t> TakeNumber(std::string_view text, messages::NumberUse use, std::uint64_t max,
                                        MessageSink& sink) noexcept
{
    const auto number = ReadConfigNumber(text, max);
    if (!number)
        messages::IllegalNumber(sink, use, text);
    return number;
}

// A parser gets what follows the directive's name, and the whole line for its messages.
struct Line {
    std::string_view whole;
    std::string_view rest;
};

ParseResult ParseFileStrip(const Line& line, MessageSink& sink)
{
    const auto level = TakeNumber(line.rest, messages::NumberUse::StripLevel, kMaxNumber, sink);
    return level ? Accept(FileStrip{static_cast<std::uint32_t>(*level)}) : ParseResult{};
}

ParseResult ParseToStream(const Line& line, MessageSink&)
{
    return Accept(ToStream{std::string(line.rest)});
}

ParseResult ParseToAuxStream(const Line& line, MessageSink&)
{
    return Accept(ToAuxStream{std::string(line.rest)});
}

ParseResult ParseToFile(const Line& line, MessageSink&)
{
    return Accept(ToFile{std::string(line.rest), false});
}

ParseResult ParseToNewFile(const Line& line, MessageSink&)
{
    return Accept(ToFile{std::string(line.rest), true});
}

// count "@" size ["@" pattern]; the pattern may hold further "@".
ParseResult ParseRotation(const Line& line, MessageSink& sink)
{
    if (line.rest == "off")
        return Accept(RotationOff{});
    const std::size_t at = line.rest.find('@');
    if (at == std::string_view::npos)
        return {};
    const auto count =
        TakeNumber(line.rest.substr(0, at), messages::NumberUse::RotatedFiles, kMaxNumber, sink);
    if (!count)
        return {};
    const std::string_view tail = line.rest.substr(at + 1);
    const std::size_t next = tail.find('@');
    const auto size = TakeNumber(tail.substr(0, next), messages::NumberUse::SizeLimit, kMaxSize, sink);
    if (!size)
        return {};
    const std::string_view pattern =
        next == std::string_view::npos ? std::string_view{} : tail.substr(next + 1);
    return Accept(Rotation{static_cast<std::uint32_t>(*count), *size, std::string(pattern)});
}

ParseResult ParsePrint(const Line& line, MessageSink& sink)
{
    auto rule = ParseFlagRule("print", line.rest, sink);
    return rule ? Accept(PrintRule{*std::move(rule)}) : Reported();
}

ParseResult ParseSelftest(const Line& line, MessageSink& sink)
{
    auto rule = ParseFlagRule("selftest", line.rest, sink);
    return rule ? Accept(SelftestRule{*std::move(rule)}) : Reported();
}

ParseResult ParsePrefix(const Line& line, MessageSink& sink)
{
    auto rule = ParsePrefixRule(line.rest, sink);
    return rule ? Accept(*std::move(rule)) : Reported();
}

// What stands behind the closing "@" does not matter.
ParseResult ParseIndent(const Line& line, MessageSink& sink)
{
    const std::size_t end = line.rest.find('@');
    if (end == std::string_view::npos) {
        messages::IllegalIndent(sink, line.whole);
        return Reported();
    }
    return Accept(Indent{std::string(line.rest.substr(0, end))});
}

ParseResult ParseRefresh(const Line& line, MessageSink& sink)
{
    const auto seconds = TakeNumber(line.rest, messages::NumberUse::RefreshInterval, kMaxNumber, sink);
    return seconds ? Accept(Refresh{static_cast<std::uint32_t>(*seconds)}) : ParseResult{};
}

// "off", or enter "@" leave ["@"] with nothing behind.
ParseResult ParseStackTrace(const Line& line, MessageSink& sink)
{
    if (line.rest == "off")
        return Accept(StackTraceOff{});
    const std::size_t at = line.rest.find('@');
    if (at != std::string_view::npos) {
        std::string_view leave = line.rest.substr(at + 1);
        if (!leave.empty() && leave.back() == '@')
            leave.remove_suffix(1);
        if (leave.find('@') == std::string_view::npos)
            return Accept(StackTrace{std::string(line.rest.substr(0, at)), std::string(leave)});
    }
    messages::IllegalStackTrace(sink, line.whole);
    return Reported();
}

struct DirectiveName {
    std::string_view name;
    ParseResult (*parse)(const Line& line, MessageSink& sink);
};

constexpr DirectiveName kDirectives[] = {
    {"fstrip@", ParseFileStrip}, {"to_stream@", ParseToStream},    {"to_aux_stream@", ParseToAuxStream},
    {"to_file@", ParseToFile},   {"to_new_file@", ParseToNewFile}, {"rotation@", ParseRotation},
    {"print@", ParsePrint},      {"selftest@", ParseSelftest},     {"prefix@", ParsePrefix},
    {"indent@", ParseIndent},    {"refresh@", ParseRefresh},       {"stacktrace@", ParseStackTrace},
};

ParseResult ParseAny(std::string_view line, MessageSink& sink)
{
    for (const DirectiveName& directive : kDirectives)
        if (line.starts_with(directive.name))
            return directive.parse({line, line.substr(directive.name.size())}, sink);
    if (line == "dump")
        return Accept(Dump{});
    return {};
}

} // namespace

ParseResult ParseDirective(std::string_view line, MessageSink& sink) noexcept
{
    try {
        return ParseAny(line, sink);
    } catch (const std::bad_alloc&) {
        messages::OperatorNewFailed(sink);
        return Reported();
    }
}

} // namespace kx
