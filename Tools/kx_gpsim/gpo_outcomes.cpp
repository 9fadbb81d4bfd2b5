#include "Tools/kx_gpsim/gpo_outcomes.h"

#include "Tools/kx_gpsim/text_case.h"

#include <algorithm>

namespace kx {

namespace {

bool HasTargeting(const SentPolicy& policy)
{
    return policy.xml.find("<ItemLevelTargeting") != std::string::npos;
}

// The extension evaluates the GPO's own targeting first and then that of each policy, in order; what it did
// not exclude stands in the document in the same order. So the steps can be told apart by counting.
void AddTargeting(const std::vector<TargetingStep>& steps, const std::vector<std::string>& passed,
                  GpoOutcome& outcome)
{
    const auto kept =
        static_cast<std::size_t>(std::count_if(steps.begin(), steps.end(), [](const TargetingStep& step) {
            return step.verdict != Targeted::Excluded;
        }));
    const bool firstIsGpos = kept == passed.size() + 1;
    const bool countsFit = firstIsGpos || kept == passed.size();
    std::size_t index = 0;
    for (const TargetingStep& step : steps) {
        if (step.verdict == Targeted::Excluded) {
            const bool unnamed = !step.ofGpo && step.policy.empty();
            outcome.excluded.push_back({unnamed ? "(a policy without a name)" : step.policy, step.reason});
            continue;
        }
        const std::size_t place = index++;
        if (step.verdict != Targeted::LetThrough)
            continue;
        if (firstIsGpos && place == 0)
            outcome.letThrough.push_back({"", step.reason});
        else
            outcome.letThrough.push_back(
                {countsFit ? passed[place - (firstIsGpos ? 1 : 0)] : "(one of its policies)", step.reason});
    }
}

} // namespace

std::vector<GpoOutcome> GatherOutcomes(const std::vector<GpoInput>& changed,
                                       const std::vector<GpoInput>& deleted, const TraceDigest& digest,
                                       const std::vector<SentPolicy>& policies)
{
    std::vector<GpoOutcome> outcomes;
    for (std::size_t i = 0; i < changed.size(); ++i) {
        GpoOutcome outcome;
        outcome.gpo = changed[i];
        const auto sameName = [&](const GpoOutcome& other) {
            return EqualNoCase(other.gpo.name, outcome.gpo.name);
        };
        // Of a GPO that is listed twice the first one's policies count.
        const bool again = std::any_of(outcomes.begin(), outcomes.end(), sameName);
        std::vector<std::string> passed;
        for (const SentPolicy& policy : policies) {
            if (again || !EqualNoCase(policy.gpo, outcome.gpo.name))
                continue;
            ++outcome.taken;
            if (HasTargeting(policy))
                passed.push_back(policy.name);
        }
        if (i < digest.changed.size()) {
            const GpoTrace& trace = digest.changed[i];
            AddTargeting(trace.targeting, passed, outcome);
            outcome.complaints = trace.complaints;
            outcome.migration = trace.migration;
        }
        outcomes.push_back(std::move(outcome));
    }
    for (const GpoInput& gpo : deleted)
        outcomes.push_back({gpo, 0, {}, {}, {}, false});
    return outcomes;
}

} // namespace kx
