#pragma once

#include "Tools/kx_gpsim/run_options.h"

#include <string>
#include <vector>

/// The same run without some of its GPOs, described by a manifest in the temporary folder, which lasts as
/// long as this object.
class CkxGposWithout {
  public:
    /// `run` names GPOs or a manifest; `without` has their "{GUID}", display name or path, as given or found.
    /// Throws UsageError where one of these names none of the GPOs or several.
    CkxGposWithout(const kx::RunOptions& run, const std::vector<std::string>& without);
    ~CkxGposWithout();

    CkxGposWithout(const CkxGposWithout&) = delete;
    CkxGposWithout& operator=(const CkxGposWithout&) = delete;

    /// No GPO is left, so that there is nothing to run.
    [[nodiscard]] bool IsEmpty() const { return _m_manifest.empty(); }

    /// What is to be run. REQUIRES: !IsEmpty().
    [[nodiscard]] kx::RunOptions Options() const;

  private:
    kx::RunOptions _m_run;
    std::string _m_manifest; ///< path of the file; empty where there is none
};
