#include "Tools/kx_gpsim/trace_digest.h"

#include "Tools/kx_gpsim/text_case.h"
#include "Tools/kx_gpsim/trace_line.h"

#include <algorithm>

namespace kx {

namespace {

std::string Joined(const std::vector<std::string>& texts)
{
    std::string joined;
    for (const std::string& text : texts)
        joined.append(joined.empty() ? "" : "; ").append(text);
    return joined;
}

// What stands in the element, without the wrappers that are always the same.
std::string Filters(std::string_view targeting)
{
    for (const std::string_view name : {"ItemLevelTargeting", "Filters"}) {
        const std::string start = '<' + std::string(name) + '>';
        const std::string end = "</" + std::string(name) + '>';
        if (targeting.starts_with(start) && targeting.ends_with(end))
            targeting = targeting.substr(start.size(), targeting.size() - start.size() - end.size());
    }
    return std::string(targeting);
}

// What the stand-in says of its item has the item's name in front, which is always the same.
std::string Reason(const TargetingCheck& check)
{
    constexpr std::string_view item = "ILTTest: ";
    std::vector<std::string> findings;
    for (const std::string& finding : check.findings)
        findings.push_back(finding.starts_with(item) ? finding.substr(item.size()) : finding);
    if (findings.empty() && check.verdict == Targeted::Excluded)
        return "does not match: " + Filters(check.targeting);
    return Joined(findings);
}

TargetingStep StepOf(const TargetingCheck& check)
{
    constexpr std::string_view letThrough = "let through: ";
    TargetingStep step{check.verdict, false, {}, Reason(check)};
    // The platform's part lets through what it does not understand, and the marker is then there.
    if (const std::size_t at = step.reason.find(letThrough);
        step.verdict == Targeted::Allowed && at != std::string::npos) {
        step.verdict = Targeted::LetThrough;
        step.reason.erase(at, letThrough.size());
    }
    return step;
}

// What is about the call and not about the GPO whose lines stand before it.
bool IsGeneral(const TraceLine& line)
{
    return line.IsFrom("gp_process") || line.IsFrom("gp_pipe") || line.IsFrom("gp_generate") ||
           line.message.find("CfgPath=") != std::string_view::npos;
}

// Goes through a refresh's lines and keeps where it is.
class Digester {
  public:
    explicit Digester(const std::vector<TargetingCheck>& checks) : _m_checks(checks) {}

    void Add(std::string_view text, std::size_t offset)
    {
        _AddChecksUpTo(offset);
        const TraceLine line = ParseTraceLine(text);
        if (_IsHeading(line) || _IsTargeting(line))
            return;
        GpoTrace* const gpo = _Current();
        if (gpo && line.message.starts_with("Migration command "))
            gpo->migration = true;
        const bool general = !gpo || IsGeneral(line);
        AddComplaint(line, general ? _m_digest.general : gpo->complaints);
    }

    TraceDigest Take(std::size_t end)
    {
        _AddChecksUpTo(end);
        return std::move(_m_digest);
    }

  private:
    [[nodiscard]] GpoTrace* _Current()
    {
        return _m_inGpo && !_m_digest.changed.empty() ? &_m_digest.changed.back() : nullptr;
    }

    // The lines that tell which GPO follows.
    bool _IsHeading(const TraceLine& line)
    {
        constexpr std::string_view display = "   * Display Name: ";
        constexpr std::string_view name = "     Unique Name : ";
        if (line.message.starts_with("   DeletedGPOList"))
            _m_deleted = true;
        else if (line.message.starts_with("   ChangedGPOList"))
            _m_deleted = false;
        else if (line.message.starts_with(display)) {
            _m_inGpo = !_m_deleted;
            if (_m_inGpo)
                _m_digest.changed.push_back(
                    {{}, std::string(line.message.substr(display.size())), {}, {}, false});
        } else if (line.message.starts_with(name)) {
            if (GpoTrace* const gpo = _Current())
                gpo->name = line.message.substr(name.size());
        } else
            return false;
        return true;
    }

    void _AddChecksUpTo(std::size_t offset)
    {
        for (; _m_nextCheck < _m_checks.size() && _m_checks[_m_nextCheck].offset <= offset; ++_m_nextCheck)
            if (GpoTrace* const gpo = _Current())
                gpo->targeting.push_back(StepOf(_m_checks[_m_nextCheck]));
    }

    bool _IsTargeting(const TraceLine& line)
    {
        GpoTrace* const gpo = _Current();
        std::string subject;
        const TargetingLine kind = gpo ? ClassifyTargeting(line, subject) : TargetingLine::None;
        if (kind == TargetingLine::None)
            return false;
        if (kind == TargetingLine::Failed)
            _Failed(gpo->targeting, line);
        else if (kind == TargetingLine::Detail && !gpo->targeting.empty())
            gpo->targeting.back().reason.append(" ").append(line.message);
        else if (kind != TargetingLine::Detail)
            _Excluded(gpo->targeting, kind == TargetingLine::GpoExcluded, subject);
        return true;
    }

    // A failure at the marker is one of an evaluation that is known already.
    static void _Failed(std::vector<TargetingStep>& steps, const TraceLine& line)
    {
        const bool atMarker = line.message.starts_with("Failed to remove reg value");
        const bool known = atMarker && !steps.empty() && steps.back().verdict == Targeted::LetThrough &&
                           steps.back().reason.empty();
        if (!known)
            steps.push_back({Targeted::LetThrough, false, {}, {}});
        steps.back().reason = line.message;
    }

    static void _Excluded(std::vector<TargetingStep>& steps, bool ofGpo, const std::string& policy)
    {
        const bool known = !steps.empty() && steps.back().verdict == Targeted::Excluded &&
                           !steps.back().ofGpo && steps.back().policy.empty();
        if (!known)
            steps.push_back({Targeted::Excluded, false, {}, "its targeting does not match"});
        steps.back().ofGpo = ofGpo;
        steps.back().policy = policy;
    }

    const std::vector<TargetingCheck>& _m_checks;
    std::size_t _m_nextCheck = 0;
    TraceDigest _m_digest;
    bool _m_deleted = false;
    bool _m_inGpo = false;
};

template <class Visit>
void ForEachLine(std::string_view text, const Visit& visit)
{
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        std::string_view line = text.substr(at, end - at);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        visit(line, at);
        at = end + 1;
    }
}

} // namespace

TraceDigest DigestTrace(std::string_view trace, const std::vector<TargetingCheck>& checks)
{
    Digester digester(checks);
    ForEachLine(trace, [&](std::string_view line, std::size_t at) { digester.Add(line, at); });
    return digester.Take(trace.size());
}

TraceDigest DigestPlanTrace(std::string_view trace, const std::vector<GpoInput>& gpos)
{
    TraceDigest digest;
    for (const GpoInput& gpo : gpos)
        digest.changed.push_back({gpo.name, gpo.displayName, {}, {}, false});
    GpoTrace* current = nullptr;
    ForEachLine(trace, [&](std::string_view text, std::size_t) {
        const TraceLine line = ParseTraceLine(text);
        if (line.severity.empty())
            return;
        for (std::size_t i = 0; i < gpos.size(); ++i)
            if (ContainsNoCase(line.message, gpos[i].folder) || ContainsNoCase(line.message, gpos[i].name))
                current = &digest.changed[i];
        AddComplaint(line, current && !IsGeneral(line) ? current->complaints : digest.general);
    });
    return digest;
}

std::vector<std::string> SplitLines(std::string_view text)
{
    std::vector<std::string> lines;
    ForEachLine(text, [&](std::string_view line, std::size_t) { lines.emplace_back(line); });
    return lines;
}

} // namespace kx
