#pragma once

#include "Tools/kx_gpsim/run_result.h"

#include <string>
#include <string_view>
#include <unordered_set>

namespace kx {

/// The configuration paths of a run whose values would give a secret away: that of the secret itself, and
/// those of the elements around it, since an element is recorded with the text of all below it.
class SecretPaths {
  public:
    explicit SecretPaths(const RunResult& run);

    [[nodiscard]] bool Cover(std::string_view path) const;

    /// The value of a path as it may be shown.
    [[nodiscard]] std::string MaskValue(std::string_view path, std::string_view value) const;

    /// A line of the trace as it may be shown: some quote a value with its path.
    [[nodiscard]] std::string MaskLine(std::string_view line) const;

  private:
    void _Add(std::string_view path);

    std::unordered_set<std::string> _m_paths;
};

} // namespace kx
