#pragma once

#include "Tools/kx_gpsim/run_result.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kx {

/// A line of the trace in its parts, which point into it. Lines of the trace library itself have no source.
struct TraceLine {
    std::string_view source;   ///< ".../engine/kx_gpext/gp_xml.cpp"
    std::string_view severity; ///< "error", "warning" or ""
    std::string_view message;  ///< without "ERROR: " and the like

    /// Whether the source's path has `part` in it.
    [[nodiscard]] bool IsFrom(std::string_view part) const
    {
        return source.find(part) != std::string_view::npos;
    }
};

/// Reads a line, with or without a time at its beginning.
[[nodiscard]] TraceLine ParseTraceLine(std::string_view line);

/// Tells when the lines of a trace were written, where they begin with a local time, "12:34:56.789 ", with or
/// without a date "2026-01-31 " before it. REQUIRES: the lines' order, and less than a day between any two.
class CkxTraceClock {
  public:
    /// Takes the time off the line's beginning. Gives the milliseconds since the first line that had one,
    /// also past midnight; none, and the line stays, where it does not begin so.
    [[nodiscard]] std::optional<std::int64_t> Cut(std::string_view& line);

  private:
    std::optional<std::int64_t> _m_first; ///< since midnight
};

/// How a line about targeting concerns an evaluation.
enum class TargetingLine {
    None,
    Failed,         ///< it could not be made, and what it was for was let through
    Detail,         ///< says more about the failure before
    PolicyExcluded, ///< `subject` is the policy
    GpoExcluded
};

/// `subject` is set where the kind says so.
[[nodiscard]] TargetingLine ClassifyTargeting(const TraceLine& line, std::string& subject);

/// Makes complaints of a GPO's lines and keeps them in `complaints`. Lines that only say that something
/// before them had consequences are left out where there is something before them. Where the extension goes
/// on without loss for the agent, as with RSoP data, its errors are warnings.
void AddComplaint(const TraceLine& line, std::vector<Complaint>& complaints);

/// The name of the file at the end of a path.
[[nodiscard]] std::string BaseName(std::string_view path);

} // namespace kx
