#pragma once

#include "Tools/kx_gpsim/report_model.h"
#include "Tools/kx_gpsim/secret_paths.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

namespace kx {

/// The GPOs of a report while it is put together: finds them by pass and name, ignoring case.
class ReportGpos {
  public:
    /// `report` outlives this object; its `gpos` are changed through it only.
    explicit ReportGpos(Report& report) : _m_report(report) {}

    /// Adds those of a pass, with what the RSoP data tells of them.
    void AddPass(std::size_t pass, const PassResult& result, const SecretPaths& secrets);

    /// The place in Report::gpos of the GPO of that name. One that no list names gets a place with its name
    /// only, so that a policy always has a GPO.
    [[nodiscard]] std::size_t Find(std::size_t pass, std::string_view name);

    /// Likewise for a GPOID as recorded.
    [[nodiscard]] std::size_t FindRecorded(std::size_t pass, std::string_view gpoId);

  private:
    void _AddOutcome(std::size_t pass, const GpoOutcome& outcome, const SecretPaths& secrets);
    void _AddRecorded(std::size_t pass, const RecordedInstance& instance);

    Report& _m_report;
    std::unordered_map<std::string, std::size_t> _m_places;
};

} // namespace kx
