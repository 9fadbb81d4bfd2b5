#include "Tools/kx_gpsim/report_gpos.h"

#include "Tools/kx_gpsim/recorded_values.h"
#include "Tools/kx_gpsim/text_case.h"

namespace kx {

namespace {

std::string KeyOf(std::size_t pass, std::string_view name)
{
    return std::to_string(pass) + '/' + LowerAscii(name);
}

// As the extension records it, so that a GPO of which nothing was recorded looks the same.
std::string SomIdOf(const std::string& link)
{
    constexpr std::string_view prefix = "ldap://";
    const bool isCut = link.size() > prefix.size() && StartsWithNoCase(link, prefix);
    return isCut ? link.substr(prefix.size()) : link;
}

} // namespace

void ReportGpos::AddPass(std::size_t pass, const PassResult& result, const SecretPaths& secrets)
{
    // A name may stand in both lists; policies then belong to the changed GPO.
    for (const bool deleted : {false, true})
        for (const GpoOutcome& outcome : result.gpos)
            if (outcome.gpo.deleted == deleted)
                _AddOutcome(pass, outcome, secrets);
    for (const RecordedInstance& instance : result.recorded)
        _AddRecorded(pass, instance);
}

void ReportGpos::_AddOutcome(std::size_t pass, const GpoOutcome& outcome, const SecretPaths& secrets)
{
    ReportGpo gpo;
    gpo.pass = pass;
    gpo.gpo = outcome.gpo;
    gpo.somId = SomIdOf(outcome.gpo.link);
    gpo.taken = outcome.taken;
    gpo.excluded = outcome.excluded;
    gpo.letThrough = outcome.letThrough;
    gpo.complaints = outcome.complaints;
    gpo.migration = outcome.migration;
    for (Complaint& complaint : gpo.complaints)
        complaint.reason = secrets.MaskLine(complaint.reason);
    for (auto* const policies : {&gpo.excluded, &gpo.letThrough})
        for (TargetedPolicy& policy : *policies)
            policy.reason = secrets.MaskLine(policy.reason);
    _m_places.try_emplace(KeyOf(pass, outcome.gpo.name), _m_report.gpos.size());
    _m_report.gpos.push_back(std::move(gpo));
}

void ReportGpos::_AddRecorded(std::size_t pass, const RecordedInstance& instance)
{
    if (!IsPolicySetting(instance) && !IsConfiguration(instance))
        return;
    const std::string_view gpoId = TextOf(instance, "GPOID");
    ReportGpo& gpo = _m_report.gpos[FindRecorded(pass, gpoId)];
    if (!gpo.gpoId.empty())
        return; // all instances of a GPO tell the same of it
    gpo.gpoId = gpoId;
    if (const std::string_view somId = TextOf(instance, "SOMID"); !somId.empty())
        gpo.somId = somId;
    gpo.written = ReadableTime(TextOf(instance, "creationTime"));
}

std::size_t ReportGpos::Find(std::size_t pass, std::string_view name)
{
    const auto [place, isNew] = _m_places.try_emplace(KeyOf(pass, name), _m_report.gpos.size());
    if (isNew) {
        ReportGpo gpo;
        gpo.pass = pass;
        gpo.gpo.name = name;
        _m_report.gpos.push_back(std::move(gpo));
    }
    return place->second;
}

std::size_t ReportGpos::FindRecorded(std::size_t pass, std::string_view gpoId)
{
    return Find(pass, GpoNameOf(gpoId));
}

} // namespace kx
