#pragma once

#include "Tools/kx_gpsim/report_model.h"

#include <cstddef>
#include <vector>

namespace kx {

/// For each GPO of a pass of `run` its place in Report::gpos, which has the changed ones first.
[[nodiscard]] inline std::vector<std::size_t> GpoPlaces(const RunResult& run, std::size_t pass,
                                                        const Report& report)
{
    const std::vector<GpoOutcome>& gpos = run.passes[pass].gpos;
    std::vector<std::size_t> places(gpos.size());
    std::size_t next = 0;
    while (next < report.gpos.size() && report.gpos[next].pass != pass)
        ++next;
    for (const bool deleted : {false, true})
        for (std::size_t at = 0; at < gpos.size(); ++at)
            if (gpos[at].gpo.deleted == deleted)
                places[at] = next++;
    return places;
}

} // namespace kx
