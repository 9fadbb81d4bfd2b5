#include "Tools/kx_gpsim/trace_steps.h"

#include "Tools/kx_gpsim/text_case.h"
#include "Tools/kx_gpsim/trace_line.h"

#include <utility>

namespace kx {

namespace {

constexpr std::size_t kNowhere = std::string_view::npos;

// "Name=[text], more" or "Path=[text], Value=[...": a name may have brackets of its own.
std::string Bracketed(std::string_view message, std::string_view before, std::string_view after)
{
    const std::size_t start = message.find(before);
    const std::size_t begin = start == kNowhere ? kNowhere : start + before.size();
    const std::size_t end = begin == kNowhere ? kNowhere : message.find(after, begin);
    return end == kNowhere ? std::string() : std::string(message.substr(begin, end - begin));
}

bool HasWord(const TraceLine& line, std::string_view part)
{
    return line.message.find(part) != kNowhere;
}

bool AddTargeting(const TraceLine& line, TraceStep& step)
{
    switch (ClassifyTargeting(line, step.subject)) {
    case TargetingLine::None:
        return false;
    case TargetingLine::GpoExcluded:
        step.step = Step::GpoTargeting;
        return true;
    default: // which of the two a failure is about, the line does not tell
        step.step = Step::PolicyTargeting;
        return true;
    }
}

void AddLogged(const TraceLine& line, TraceStep& step)
{
    if (HasWord(line, "Namespace path is "))
        return;
    step.step = Step::Logged;
    step.subject = Bracketed(line.message, "Name=[", "], ID=");
    if (const std::size_t at = line.message.rfind("], ID="); at != kNowhere)
        step.id = line.message.substr(at + std::string_view("], ID=").size());
    else
        step.subject = Bracketed(line.message, "Path=[", "], Value=[");
}

// The step that a line of the extension itself tells of.
void AddStep(const TraceLine& line, TraceStep& step)
{
    if (AddTargeting(line, step))
        return;
    if (line.IsFrom("gp_process") || line.IsFrom("gp_pipe"))
        step.step = Step::Sending;
    else if (HasWord(line, "missing 'order' attribute"))
        step.step = Step::Order;
    else if (HasWord(line, "Unsupported version") || HasWord(line, "Failed to process polcies"))
        step.step = Step::Version;
    else if (line.IsFrom("gp_xml_migration") || HasWord(line, "igration command"))
        step.step = Step::Migration;
    else if (line.IsFrom("gp_xml_load") || HasWord(line, "Failed to load XML"))
        step.step = Step::Load;
    else if (line.IsFrom("rsop_log") || line.IsFrom("gp_config_map"))
        AddLogged(line, step);
}

// Goes through the lines and keeps which GPO they belong to.
class Reader {
  public:
    explicit Reader(const PassResult& pass) : _m_pass(pass) {}

    void Add(std::size_t number)
    {
        constexpr std::string_view display = "   * Display Name: ";
        constexpr std::string_view name = "     Unique Name : ";
        std::string_view text = _m_pass.trace[number];
        TraceStep step;
        step.line = number;
        step.at = _m_clock.Cut(text);
        const TraceLine line = ParseTraceLine(text);
        step.severity = line.severity;
        if (line.message.starts_with("   DeletedGPOList") || line.message.starts_with("   ChangedGPOList")) {
            _m_deleted = line.message.starts_with("   Deleted");
            _m_current.reset();
            return;
        }
        if (line.source.empty() || line.IsFrom("/xml/") || line.IsFrom("/kxwbem/"))
            return;
        if (line.message.starts_with(display)) {
            _m_current.reset();
            _m_heading = std::move(step);
        } else if (line.message.starts_with(name) && _m_heading)
            _Begin(line.message.substr(name.size()));
        else if (!line.IsFrom("kx_gpo.cpp"))
            _AddLine(line, std::move(step));
    }

    std::vector<TraceStep> Take() { return std::move(_m_steps); }

  private:
    void _Begin(std::string_view name)
    {
        _m_current = _Find(name);
        _m_heading->gpo = _m_current;
        _m_heading->isHeading = true;
        _m_heading->step = Step::Load;
        _m_steps.push_back(std::move(*_m_heading));
        _m_heading.reset();
    }

    void _AddLine(const TraceLine& line, TraceStep step)
    {
        AddStep(line, step);
        if (_m_pass.call == "plan")
            _FollowNames(line.message);
        const bool isConfiguration = line.IsFrom("rsop_log") && HasWord(line, "Path=[") && step.id.empty();
        if (step.step != Step::Sending && step.step != Step::Call && !isConfiguration)
            step.gpo = _m_current;
        _m_steps.push_back(std::move(step));
    }

    // A GPO may be listed twice; the list's order tells which one it is.
    [[nodiscard]] std::optional<std::size_t> _Find(std::string_view name)
    {
        const std::size_t count = _m_pass.gpos.size();
        for (std::size_t at = 0; at < count; ++at) {
            const std::size_t place = (_m_next + at) % count;
            const GpoInput& gpo = _m_pass.gpos[place].gpo;
            if (gpo.deleted != _m_deleted || !EqualNoCase(gpo.name, name))
                continue;
            _m_next = place + 1;
            return place;
        }
        return std::nullopt;
    }

    // Planning has no headings; its lines name the GPO or its folder.
    void _FollowNames(std::string_view message)
    {
        for (std::size_t place = 0; place < _m_pass.gpos.size(); ++place) {
            const GpoInput& gpo = _m_pass.gpos[place].gpo;
            if (ContainsNoCase(message, gpo.name) ||
                (!gpo.folder.empty() && ContainsNoCase(message, gpo.folder)))
                _m_current = place;
        }
    }

    const PassResult& _m_pass;
    CkxTraceClock _m_clock;
    std::vector<TraceStep> _m_steps;
    std::optional<TraceStep> _m_heading;
    std::optional<std::size_t> _m_current;
    std::size_t _m_next = 0;
    bool _m_deleted = false;
};

} // namespace

std::string_view StepText(Step step)
{
    constexpr std::string_view texts[] = {"call",      "load",    "GPO targeting",
                                          "migration", "version", "policy targeting",
                                          "order",     "logged",  "sending"};
    return texts[static_cast<std::size_t>(step)];
}

std::vector<TraceStep> ReadSteps(const PassResult& pass)
{
    Reader reader(pass);
    for (std::size_t line = 0; line < pass.trace.size(); ++line)
        reader.Add(line);
    return reader.Take();
}

} // namespace kx
