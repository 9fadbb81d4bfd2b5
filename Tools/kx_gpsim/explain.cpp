#include "Tools/kx_gpsim/explain.h"

#include "Tools/kx_gpsim/gpo_places.h"
#include "Tools/kx_gpsim/secret_paths.h"
#include "Tools/kx_gpsim/text_case.h"
#include "Tools/kx_gpsim/trace_line.h"

#include <algorithm>

namespace kx {

namespace {

bool IsCalled(std::string_view name, std::string_view wanted)
{
    return !name.empty() && EqualNoCase(name, wanted);
}

const TargetedPolicy* FindTargeted(const std::vector<TargetedPolicy>& policies, std::string_view name)
{
    const auto found = std::find_if(policies.begin(), policies.end(),
                                    [&](const TargetedPolicy& policy) { return policy.name == name; });
    return found == policies.end() ? nullptr : &*found;
}

const std::string& LabelOf(const ReportGpo& gpo)
{
    return gpo.gpo.displayName.empty() ? gpo.gpo.name : gpo.gpo.displayName;
}

std::string ComplaintText(const Complaint& complaint)
{
    std::string text = complaint.file;
    if (complaint.line > 0)
        text.append(":").append(std::to_string(complaint.line));
    if (complaint.line > 0 && complaint.column > 0)
        text.append(":").append(std::to_string(complaint.column));
    return text.append(text.empty() ? "" : ": ").append(complaint.reason);
}

// Planning neither evaluates targeting nor looks at versions, and sends nothing.
std::vector<Step> StepsBefore(Step last, std::string_view call)
{
    std::vector<Step> steps;
    for (const Step step : {Step::Load, Step::GpoTargeting, Step::Migration, Step::Version,
                            Step::PolicyTargeting, Step::Order, Step::Logged, Step::Sending}) {
        const bool isPlanned = step == Step::Load || step == Step::Order || step == Step::Logged;
        if (step < last && (call != "plan" || isPlanned))
            steps.push_back(step);
    }
    return steps;
}

// Goes through one pass.
class PassExplainer {
  public:
    PassExplainer(const RunResult& run, const Report& report, std::size_t pass, const SecretPaths& secrets)
        : _m_report(report),
          _m_pass(pass),
          _m_facts(report.passes[pass]),
          _m_trace(run.passes[pass].trace),
          _m_secrets(secrets),
          _m_places(GpoPlaces(run, pass, report)),
          _m_steps(ReadSteps(run.passes[pass]))
    {
    }

    void AddGpos(std::string_view wanted, std::vector<Explanation>& explanations) const
    {
        for (std::size_t place = 0; place < _m_report.gpos.size(); ++place) {
            const ReportGpo& gpo = _m_report.gpos[place];
            if (gpo.pass == _m_pass &&
                (IsCalled(gpo.gpo.name, wanted) || IsCalled(gpo.gpo.displayName, wanted)))
                explanations.push_back(_Gpo(place));
        }
    }

    // Policies in the document, then those that the trace or only the files know.
    void AddPolicies(std::string_view wanted, const std::vector<FiledPolicy>& filed,
                     std::vector<Explanation>& explanations) const
    {
        for (std::size_t place = 0; place < _m_report.policies.size(); ++place) {
            const ReportPolicy& policy = _m_report.policies[place];
            if (policy.pass == _m_pass && (IsCalled(policy.name, wanted) || IsCalled(policy.id, wanted)))
                explanations.push_back(_Taken(place));
        }
        for (std::size_t place = 0; place < _m_report.gpos.size(); ++place)
            if (_m_report.gpos[place].pass == _m_pass)
                _AddExcluded(place, wanted, filed, explanations);
        for (const FiledPolicy& policy : filed)
            if (policy.pass == _m_pass && policy.gpo < _m_places.size() &&
                (IsCalled(policy.name, wanted) || IsCalled(policy.id, wanted)) &&
                !_IsKnown(policy, explanations))
                explanations.push_back(_NotReached(policy));
    }

  private:
    // ---- a GPO ----

    [[nodiscard]] Explanation _Gpo(std::size_t place) const
    {
        const ReportGpo& gpo = _m_report.gpos[place];
        Explanation explanation;
        explanation.pass = _m_pass;
        explanation.gpo = place;
        explanation.isGpo = true;
        explanation.name = LabelOf(gpo);
        explanation.id = gpo.gpo.name;
        _Judge(gpo, place, explanation);
        explanation.passed = StepsBefore(explanation.step, _m_facts.call);
        const auto isOfGpo = [&](const TraceStep& step) { return step.gpo && _m_places[*step.gpo] == place; };
        explanation.took = _Took(isOfGpo);
        explanation.trace = _Lines(isOfGpo);
        return explanation;
    }

    void _Judge(const ReportGpo& gpo, std::size_t place, Explanation& explanation) const
    {
        const auto decide = [&](Fate fate, Step step, std::string why) {
            explanation.fate = fate;
            explanation.step = step;
            explanation.why = std::move(why);
        };
        const Complaint* const error = _FirstError(gpo);
        const TargetedPolicy* const whole = FindTargeted(gpo.letThrough, "");
        if (gpo.gpo.deleted)
            decide(Fate::Deleted, Step::Call, "the engine listed it as deleted");
        else if (const TargetedPolicy* const excluded = FindTargeted(gpo.excluded, ""))
            decide(Fate::Excluded, Step::GpoTargeting, excluded->reason);
        else if (gpo.migration)
            decide(Fate::Taken, Step::Migration, "its migration command was taken, not its policies");
        else if (error && gpo.taken == 0)
            decide(Fate::Stopped, _StepOfError(place), ComplaintText(*error));
        else if (gpo.taken == 0 && _HasMigration())
            decide(Fate::Stopped, Step::Migration, "the pass sends a migration command instead of policies");
        else if (_m_facts.call != "plan" && !_m_facts.delivered)
            decide(Fate::Stopped, Step::Sending, _m_facts.meaning);
        else if (whole)
            decide(Fate::LetThrough, Step::GpoTargeting, whole->reason);
        else
            decide(Fate::Taken, _LastStep(), std::to_string(gpo.taken) + _Counts(gpo));
    }

    [[nodiscard]] std::string _Counts(const ReportGpo& gpo) const
    {
        std::string text = gpo.taken == 1 ? " policy taken" : " policies taken";
        if (!gpo.excluded.empty())
            text += ", " + std::to_string(gpo.excluded.size()) + " excluded";
        if (!gpo.letThrough.empty())
            text += ", " + std::to_string(gpo.letThrough.size()) + " let through";
        return text;
    }

    [[nodiscard]] Step _LastStep() const { return _m_facts.call == "plan" ? Step::Logged : Step::Sending; }

    [[nodiscard]] static const Complaint* _FirstError(const ReportGpo& gpo)
    {
        const auto found = std::find_if(gpo.complaints.begin(), gpo.complaints.end(),
                                        [](const Complaint& each) { return each.severity == "error"; });
        return found == gpo.complaints.end() ? nullptr : &*found;
    }

    [[nodiscard]] Step _StepOfError(std::size_t place) const
    {
        for (const TraceStep& step : _m_steps)
            if (step.gpo && _m_places[*step.gpo] == place && step.severity == "error")
                return step.step;
        return Step::Load;
    }

    [[nodiscard]] bool _HasMigration() const
    {
        return std::any_of(_m_report.gpos.begin(), _m_report.gpos.end(),
                           [&](const ReportGpo& gpo) { return gpo.pass == _m_pass && gpo.migration; });
    }

    // ---- a policy ----

    [[nodiscard]] Explanation _Policy(std::size_t gpo, const std::string& name, const std::string& id) const
    {
        Explanation explanation;
        explanation.pass = _m_pass;
        explanation.gpo = gpo;
        explanation.name = name;
        explanation.id = id;
        return explanation;
    }

    // What was decided about it, and the lines that are about it or its whole GPO.
    void _Finish(Explanation& explanation, const std::vector<std::string>& paths = {}) const
    {
        explanation.passed = StepsBefore(explanation.step, _m_facts.call);
        explanation.trace = _Lines([&](const TraceStep& step) { return _IsAbout(step, explanation, paths); });
    }

    [[nodiscard]] bool _IsAbout(const TraceStep& step, const Explanation& explanation,
                                const std::vector<std::string>& paths) const
    {
        if (!step.gpo)
            return std::find(paths.begin(), paths.end(), step.subject) != paths.end() ||
                   (step.step == Step::Sending && explanation.step == Step::Sending);
        if (_m_places[*step.gpo] != explanation.gpo)
            return false;
        if (step.isHeading)
            return true;
        if (!step.subject.empty()) // a name may be used twice, an id tells better
            return step.subject == explanation.name &&
                   (step.id.empty() || explanation.id.empty() || EqualNoCase(step.id, explanation.id));
        const bool isFailure = step.step == Step::PolicyTargeting;
        return isFailure ? explanation.fate == Fate::LetThrough : step.step != Step::Order;
    }

    [[nodiscard]] Explanation _Taken(std::size_t place) const
    {
        const ReportPolicy& policy = _m_report.policies[place];
        const ReportGpo& gpo = _m_report.gpos[policy.gpo];
        Explanation explanation = _Policy(policy.gpo, policy.name, policy.id);
        explanation.step = _LastStep();
        explanation.why = _PlaceAmongOthers(place);
        if (const TargetedPolicy* const own = FindTargeted(gpo.letThrough, policy.name)) {
            explanation.fate = Fate::LetThrough;
            explanation.step = Step::PolicyTargeting;
            explanation.why = own->reason;
        } else if (const TargetedPolicy* const whole = FindTargeted(gpo.letThrough, "")) {
            explanation.fate = Fate::LetThrough;
            explanation.step = Step::GpoTargeting;
            explanation.why = whole->reason;
        }
        _Finish(explanation, _PathsWonBy(place));
        return explanation;
    }

    [[nodiscard]] std::string _PlaceAmongOthers(std::size_t place) const
    {
        std::string text = "order " + std::to_string(_m_report.policies[place].order);
        for (const RepeatedId& group : _m_report.repeatedIds) {
            if (std::find(group.policies.begin(), group.policies.end(), place) == group.policies.end())
                continue;
            const ReportPolicy& first = _m_report.policies[group.policies.front()];
            if (group.policies.front() == place)
                return text + ", the lowest of " + std::to_string(group.policies.size()) +
                       " policies with its id";
            return text + "; of the policies with its id [" + first.name + "] of " +
                   LabelOf(_m_report.gpos[first.gpo]) + " has the lowest, " + std::to_string(first.order);
        }
        return text;
    }

    [[nodiscard]] std::vector<std::string> _PathsWonBy(std::size_t place) const
    {
        std::vector<std::string> paths;
        for (const ReportSetting& setting : _m_report.settings)
            if (setting.pass == _m_pass && setting.winner && setting.winner->policy == place)
                paths.push_back(setting.path);
        return paths;
    }

    // The run knows excluded policies by name only; their ids come from the files.
    void _AddExcluded(std::size_t place, std::string_view wanted, const std::vector<FiledPolicy>& filed,
                      std::vector<Explanation>& explanations) const
    {
        for (const TargetedPolicy& policy : _m_report.gpos[place].excluded) {
            const auto sameName = [&](const FiledPolicy& each) {
                return each.pass == _m_pass && each.gpo < _m_places.size() && _m_places[each.gpo] == place &&
                       each.name == policy.name;
            };
            const auto file = std::find_if(filed.begin(), filed.end(), sameName);
            const std::string id = file == filed.end() ? std::string() : file->id;
            if (!IsCalled(policy.name, wanted) && !IsCalled(id, wanted))
                continue;
            Explanation explanation = _Policy(place, policy.name, id);
            explanation.fate = Fate::Excluded;
            explanation.step = Step::PolicyTargeting;
            explanation.why = policy.reason;
            _Finish(explanation);
            explanations.push_back(std::move(explanation));
        }
    }

    [[nodiscard]] bool _IsKnown(const FiledPolicy& policy, const std::vector<Explanation>& explanations) const
    {
        return std::any_of(explanations.begin(), explanations.end(), [&](const Explanation& each) {
            return !each.isGpo && each.pass == _m_pass && each.gpo == _m_places[policy.gpo] &&
                   each.name == policy.name && (each.id.empty() || EqualNoCase(each.id, policy.id));
        });
    }

    // It stands in a file and came no further than its GPO.
    [[nodiscard]] Explanation _NotReached(const FiledPolicy& policy) const
    {
        const std::size_t place = _m_places[policy.gpo];
        Explanation explanation = _Policy(place, policy.name, policy.id);
        _Judge(_m_report.gpos[place], place, explanation);
        if (explanation.fate == Fate::Taken || explanation.fate == Fate::LetThrough) {
            const bool isMigration = explanation.step == Step::Migration;
            explanation.fate = Fate::Stopped;
            if (!isMigration)
                explanation.why =
                    "it stands in the GPO's file and did not arrive; the file may be another by now";
        }
        _Finish(explanation);
        return explanation;
    }

    template <class Wanted>
    [[nodiscard]] std::vector<ExplainedLine> _Lines(const Wanted& wanted) const
    {
        std::vector<ExplainedLine> lines;
        for (const TraceStep& step : _m_steps) {
            if (!wanted(step))
                continue;
            std::string_view text = _m_trace[step.line];
            (void)CkxTraceClock().Cut(text);
            lines.push_back({_m_secrets.MaskLine(text), step.at});
        }
        return lines;
    }

    // From the first step that is wanted to the one that comes next after them.
    template <class Wanted>
    [[nodiscard]] std::optional<std::int64_t> _Took(const Wanted& wanted) const
    {
        const auto first = std::find_if(_m_steps.begin(), _m_steps.end(), wanted);
        const auto next = std::find_if_not(first, _m_steps.end(), wanted);
        if (next == _m_steps.end() || !first->at || !next->at)
            return std::nullopt;
        return *next->at - *first->at;
    }

    const Report& _m_report;
    std::size_t _m_pass;
    const ReportPass& _m_facts;
    const std::vector<std::string>& _m_trace;
    const SecretPaths& _m_secrets;
    std::vector<std::size_t> _m_places;
    std::vector<TraceStep> _m_steps;
};

} // namespace

std::string_view FateText(Fate fate)
{
    constexpr std::string_view texts[] = {"taken", "let through", "excluded", "stopped", "deleted"};
    return texts[static_cast<std::size_t>(fate)];
}

std::vector<Explanation> Explain(const RunResult& run, const Report& report,
                                 const std::vector<FiledPolicy>& filed, std::string_view name)
{
    const SecretPaths secrets(run);
    std::vector<Explanation> explanations;
    for (std::size_t pass = 0; pass < run.passes.size(); ++pass) {
        const PassExplainer explainer(run, report, pass, secrets);
        explainer.AddGpos(name, explanations);
        explainer.AddPolicies(name, filed, explanations);
    }
    return explanations;
}

std::vector<std::string> SimilarNames(const Report& report, const std::vector<FiledPolicy>& filed,
                                      std::string_view part)
{
    constexpr std::size_t most = 5;
    std::vector<std::string> names;
    const auto add = [&](const std::string& name) {
        if (names.size() < most && ContainsNoCase(name, part) &&
            std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    };
    for (const ReportGpo& gpo : report.gpos) {
        add(LabelOf(gpo));
        for (const TargetedPolicy& policy : gpo.excluded)
            add(policy.name);
    }
    for (const ReportPolicy& policy : report.policies)
        add(policy.name);
    for (const FiledPolicy& policy : filed)
        add(policy.name);
    return names;
}

} // namespace kx
