#include "Tools/kx_gpsim/lint_rules.h"

#include "Tools/kx_gpsim/lint_sink.h"

namespace kx {

LintReport Lint(const LintInput& input)
{
    CkxLintSink sink;
    LintFileFrames(input, sink);
    ForEachFile(input, [&](const LintWhere& where) {
        if (where.file->which == PolicyFile::Policies) {
            LintPolicies(where, sink, input.isKnownFilter);
            LintTargets(where, sink);
        } else if (where.file->which == PolicyFile::ApplicationGroups) {
            LintGroups(where, sink);
        }
    });
    LintMigrations(input, sink);
    LintNames(input, sink);
    LintAcrossPolicies(input, sink);

    LintReport report;
    report.findings = sink.Take();
    for (const LintGpo& gpo : input.gpos)
        for (const LintFolder& folder : gpo.folders)
            for (const LintFile& file : folder.files)
                report.files.push_back(file.path);
    return report;
}

} // namespace kx
