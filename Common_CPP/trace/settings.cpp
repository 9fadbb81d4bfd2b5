#include "Common_CPP/trace/settings.h"

#include "Common_CPP/trace/level.h"

#include <new>
#include <utility>

namespace kx {
namespace {

// One overload a directive. What can fail stands before what changes something, and the message comes last.
class Applier {
  public:
    Applier(Settings& settings, std::uint32_t line, MessageSink& sink) noexcept
        : _m_settings(settings), _m_sequence(FileRuleSequence(line)), _m_sink(sink)
    {
    }

    OutputTask operator()(const FileStrip& strip) const noexcept
    {
        _m_settings.stripLevel = strip.level;
        messages::StripLevelChanged(_m_sink, strip.level);
        return _Changed();
    }

    OutputTask operator()(const ToStream&) const noexcept { return OutputTask::SwitchStream; }

    OutputTask operator()(const ToAuxStream&) const noexcept { return OutputTask::CopyToStream; }

    OutputTask operator()(const ToFile&) const noexcept { return OutputTask::SwitchFile; }

    OutputTask operator()(const RotationOff&) const noexcept
    {
        _m_settings.rotation.reset();
        messages::RotationOff(_m_sink);
        return _Changed();
    }

    OutputTask operator()(const Rotation& rotation) const
    {
        auto& current = _m_settings.rotation;
        if (current == rotation)
            return OutputTask::None;
        const bool sameLimits = current && current->count == rotation.count && current->size == rotation.size;
        Rotation copy = rotation;
        current = std::move(copy);
        if (!sameLimits && rotation.count == 0)
            messages::SizeLimited(_m_sink, rotation.size);
        else if (!sameLimits)
            messages::Rotated(_m_sink, rotation.size, rotation.count);
        return _Changed();
    }

    OutputTask operator()(const PrintRule& rule) const
    {
        return _AddFlagRule(_m_settings.printRules, "print", rule);
    }

    OutputTask operator()(const SelftestRule& rule) const
    {
        return _AddFlagRule(_m_settings.selftestRules, "selftest", rule);
    }

    OutputTask operator()(const PrefixRule& rule) const
    {
        _m_settings.prefixRules.Add(_m_sequence, rule.key, PrefixTemplate(rule.prefix));
        messages::PrefixRuleAdded(_m_sink, rule.key.scope, rule.key.expression.Text(), rule.key.levels,
                                  rule.prefix);
        return _Changed();
    }

    OutputTask operator()(const Indent& indent) const
    {
        _m_settings.indentFilling = indent.filling;
        return _Changed();
    }

    OutputTask operator()(const Refresh& refresh) const noexcept
    {
        _m_settings.refreshSeconds = refresh.seconds;
        messages::RefreshIntervalChanged(_m_sink, refresh.seconds);
        return _Changed();
    }

    OutputTask operator()(const StackTraceOff&) const noexcept
    {
        _m_settings.stackTrace.reset();
        messages::StackTraceOff(_m_sink);
        return _Changed();
    }

    OutputTask operator()(const StackTrace& trace) const
    {
        StackTrace copy = trace;
        _m_settings.stackTrace = std::move(copy);
        messages::StackTraceOn(_m_sink, trace.enter, trace.leave);
        return _Changed();
    }

    OutputTask operator()(const Dump&) const noexcept { return OutputTask::PrintDump; }

  private:
    OutputTask _AddFlagRule(RuleTable<bool>& table, std::string_view name, const FlagRule& rule) const
    {
        table.Add(_m_sequence, rule.key, rule.on);
        messages::FlagRuleAdded(_m_sink, name, rule.key.scope, rule.key.expression.Text(), rule.key.levels,
                                rule.on);
        return _Changed();
    }

    OutputTask _Changed() const noexcept
    {
        ++_m_settings.generation;
        return OutputTask::None;
    }

    Settings& _m_settings;
    RuleSequence _m_sequence;
    MessageSink& _m_sink;
};

void InstallDefaultPrefix(Settings& settings)
{
    auto everything = Expr::Compile(".*");
    if (!everything)
        throw std::bad_alloc();
    settings.prefixRules.Add(FileRuleSequence(0), {ScopeKind::File, LevelRange{}, *std::move(everything)},
                             PrefixTemplate(kDefaultPrefix));
}

} // namespace

OutputTask Apply(Settings& settings, const Directive& directive, std::uint32_t line,
                 MessageSink& sink) noexcept
{
    try {
        return std::visit(Applier(settings, line, sink), directive);
    } catch (const std::bad_alloc&) {
        messages::OperatorNewFailed(sink);
        return OutputTask::None;
    }
}

void ClearFileRules(Settings& settings, MessageSink& sink) noexcept
{
    settings.printRules.RemoveFileRules();
    settings.selftestRules.RemoveFileRules();
    settings.prefixRules.RemoveFileRules();
    ++settings.generation;
    try {
        InstallDefaultPrefix(settings);
    } catch (const std::bad_alloc&) {
        messages::OperatorNewFailed(sink); // a statement without a prefix rule has the same default
    }
}

bool AddProgramRule(Settings& settings, ScopeKind scope, std::string_view expression,
                    const LevelRange& levels, bool on, MessageSink& sink) noexcept
{
    const std::string_view text = expression.empty() ? std::string_view(".*") : expression;
    try {
        auto compiled = Expr::Compile(text);
        if (!compiled) {
            messages::IllegalRuleExpression(sink, "print", text);
            return false;
        }
        const RuleSequence sequence = settings.lastProgramRule + 1;
        settings.printRules.Add(sequence, {scope, levels, *std::move(compiled)}, on);
        settings.lastProgramRule = sequence;
    } catch (const std::bad_alloc&) {
        messages::OperatorNewFailed(sink);
        return false;
    }
    ++settings.generation;
    messages::FlagRuleAdded(sink, "print", scope, text, levels, on);
    return true;
}

void AddBuiltInRules(Settings& settings, MessageSink& sink) noexcept
{
    for (const std::uint32_t level : {KXT_ERROR, KXT_WARNING, KXT_INFO})
        AddProgramRule(settings, ScopeKind::File, ".*", LevelRange::One(level), true, sink);
}

} // namespace kx
