#include "Tools/kx_gpsim/report_settings.h"

#include "Tools/kx_gpsim/recorded_values.h"

#include <algorithm>
#include <map>
#include <utility>

namespace kx {

namespace {

using SettingsByPath = std::map<std::string, ReportSetting, std::less<>>;

ReportSetting& SettingOf(SettingsByPath& settings, std::size_t pass, std::string_view path)
{
    const auto found = settings.find(path);
    if (found != settings.end())
        return found->second;
    ReportSetting& setting = settings[std::string(path)];
    setting.pass = pass;
    setting.path = path;
    return setting;
}

// The policy in the document that a recorded value came from. Of several with its precedence the one with its
// value; the last of those, as the extension takes the later of two equal ones. The end for none.
std::vector<SettingSource>::iterator FindSource(std::vector<SettingSource>& sources,
                                                const SettingSource& recorded)
{
    auto best = sources.end();
    for (auto source = sources.begin(); source != sources.end(); ++source) {
        const bool fits = source->precedence == recorded.precedence && source->gpo == recorded.gpo;
        const bool isBetter =
            best == sources.end() || source->value == recorded.value || best->value != recorded.value;
        if (fits && isBetter)
            best = source;
    }
    return best;
}

void SetWinner(ReportSetting& setting, SettingSource recorded)
{
    if (const auto source = FindSource(setting.others, recorded); source != setting.others.end()) {
        recorded.policy = source->policy;
        setting.others.erase(source);
    }
    setting.winner = std::move(recorded);
}

void MaskAndSort(ReportSetting& setting, const SecretPaths& secrets)
{
    for (SettingSource& source : setting.others)
        source.value = secrets.MaskValue(setting.path, source.value);
    if (setting.winner)
        setting.winner->value = secrets.MaskValue(setting.path, setting.winner->value);
    std::stable_sort(setting.others.begin(), setting.others.end(),
                     [](const SettingSource& left, const SettingSource& right) {
                         return left.precedence < right.precedence;
                     });
}

// A collection by path, so that the passes of a run do not mix: each has a namespace of its own.
class PassSettings {
  public:
    PassSettings(std::size_t pass, const PassResult& result, ReportGpos& gpos)
        : _m_pass(pass), _m_result(result), _m_gpos(gpos)
    {
    }

    void AddSources(const std::vector<std::size_t>& places)
    {
        for (std::size_t at = 0; at < _m_result.policies.size(); ++at) {
            const SentPolicy& policy = _m_result.policies[at];
            if (!policy.configuration.empty())
                _AddPolicy(_m_gpos.Find(_m_pass, policy.gpo), policy, places[at]);
            for (const auto& [path, value] : policy.configuration)
                SettingOf(_m_settings, _m_pass, path)
                    .others.push_back({_m_gpos.Find(_m_pass, policy.gpo), places[at], value,
                                       static_cast<std::uint32_t>(policy.order)});
        }
    }

    void AddWinners()
    {
        for (const RecordedInstance& instance : _m_result.recorded)
            if (IsConfiguration(instance))
                SetWinner(SettingOf(_m_settings, _m_pass, TextOf(instance, "id")), _Recorded(instance));
    }

    void MoveTo(Report& report, const SecretPaths& secrets)
    {
        for (auto& [path, setting] : _m_settings) {
            MaskAndSort(setting, secrets);
            report.settings.push_back(std::move(setting));
        }
    }

  private:
    using Rank = std::pair<std::size_t, std::uint32_t>; // GPO and precedence

    void _AddPolicy(std::size_t gpo, const SentPolicy& policy, std::size_t place)
    {
        const auto [known, isNew] =
            _m_policies.try_emplace({gpo, static_cast<std::uint32_t>(policy.order)}, place);
        if (!isNew)
            known->second = kNoIndex; // nobody can tell one from the other
    }

    // Where the document has no such path, as for an element that holds others, GPO and precedence tell the
    // policy.
    [[nodiscard]] SettingSource _Recorded(const RecordedInstance& instance)
    {
        const std::size_t gpo = _m_gpos.FindRecorded(_m_pass, TextOf(instance, "GPOID"));
        const auto policy = _m_policies.find({gpo, PrecedenceOf(instance)});
        return {gpo, policy == _m_policies.end() ? kNoIndex : policy->second,
                std::string(TextOf(instance, "Value")), PrecedenceOf(instance)};
    }

    std::size_t _m_pass;
    const PassResult& _m_result;
    ReportGpos& _m_gpos;
    SettingsByPath _m_settings;
    std::map<Rank, std::size_t> _m_policies; ///< kNoIndex where several have the rank
};

} // namespace

void AddSettings(const RunResult& run, const PolicyPlaces& places, const SecretPaths& secrets,
                 ReportGpos& gpos, Report& report)
{
    for (std::size_t pass = 0; pass < run.passes.size(); ++pass) {
        PassSettings settings(pass, run.passes[pass], gpos);
        settings.AddSources(places[pass]);
        settings.AddWinners();
        settings.MoveTo(report, secrets);
    }
}

} // namespace kx
