#include "Tools/kx_gpsim/report_model.h"

#include "Tools/kx_gpsim/report_gpos.h"
#include "Tools/kx_gpsim/report_policies.h"
#include "Tools/kx_gpsim/report_settings.h"
#include "Tools/kx_gpsim/report_timeline.h"
#include "Tools/kx_gpsim/return_code_text.h"
#include "Tools/kx_gpsim/secret_paths.h"
#include "Tools/kx_gpsim/secrets.h"

namespace kx {

namespace {

ReportPass PassOf(const PassResult& result, const SecretPaths& secrets)
{
    ReportPass pass;
    pass.scope = result.scope;
    pass.call = result.call;
    pass.code = result.code;
    pass.meaning = ReturnCodeText(result);
    pass.delivered = result.delivered;
    pass.documentRoot = result.documentRoot;
    pass.document = MaskXml(result.document);
    pass.recorded = result.recorded.size();
    pass.complaints = result.complaints;
    for (Complaint& complaint : pass.complaints)
        complaint.reason = secrets.MaskLine(complaint.reason);
    pass.notes = result.notes;
    pass.timeline = MakeTimeline(result.trace, secrets);
    return pass;
}

void CountComplaints(const std::vector<Complaint>& complaints, ReportTotals& totals)
{
    for (const Complaint& complaint : complaints)
        ++(complaint.severity == "warning" ? totals.warnings : totals.errors);
}

void CountGpo(const ReportGpo& gpo, ReportTotals& totals)
{
    ++(gpo.gpo.deleted ? totals.deletedGpos : totals.gpos);
    for (const TargetedPolicy& policy : gpo.excluded)
        ++(policy.name.empty() ? totals.excludedGpos : totals.excludedPolicies);
    totals.letThrough += gpo.letThrough.size();
    totals.migrations += gpo.migration ? 1 : 0;
    CountComplaints(gpo.complaints, totals);
}

ReportTotals TotalsOf(const Report& report)
{
    ReportTotals totals;
    totals.policies = report.policies.size();
    totals.repeatedIds = report.repeatedIds.size();
    totals.settings = report.settings.size();
    for (const ReportPass& pass : report.passes) {
        totals.failedCalls += pass.code != 0 ? 1 : 0;
        CountComplaints(pass.complaints, totals);
    }
    for (const ReportGpo& gpo : report.gpos)
        CountGpo(gpo, totals);
    for (const ReportSetting& setting : report.settings)
        totals.contestedSettings += setting.others.size() + (setting.winner ? 1 : 0) > 1 ? 1 : 0;
    return totals;
}

} // namespace

const char* StandingName(Standing standing)
{
    switch (standing) {
    case Standing::First:
        return "first";
    case Standing::Later:
        return "later";
    case Standing::Only:
        break;
    }
    return "only";
}

Report MakeReport(const RunResult& run)
{
    const SecretPaths secrets(run);
    Report report;
    ReportGpos gpos(report);
    for (std::size_t pass = 0; pass < run.passes.size(); ++pass) {
        report.passes.push_back(PassOf(run.passes[pass], secrets));
        gpos.AddPass(pass, run.passes[pass], secrets);
    }
    const PolicyPlaces places = AddPolicies(run, gpos, report);
    AddSettings(run, places, secrets, gpos, report);
    report.totals = TotalsOf(report);
    return report;
}

} // namespace kx
