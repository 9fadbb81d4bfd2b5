#pragma once

#include "Tools/kx_gpsim/run_folder.h"
#include "Tools/rsop_store/swbem_date_time.h"
#include "Tools/targeting/targeting_registration.h"

#include <optional>
#include <string>

/// What the extension needs of the platform, filled in where the platform has it not, until the end of this
/// object: the evaluation of item-level targeting and WMI's date-time class. Also keeps the environment's
/// switches for tracing away from the extension, but for what goes with the folder's own configuration.
/// REQUIRES: COM on the thread.
class CkxPlatform {
  public:
    /// Without `planOnly` targeting is provided too.
    CkxPlatform(const CkxRunFolder& folder, bool planOnly);

    /// Whether item-level targeting is answered by the stand-in, and not by a platform's own extension.
    [[nodiscard]] bool HasStandIn() const { return _m_hasStandIn; }

    /// What could not be provided, in words for the user; empty where nothing is missing.
    [[nodiscard]] const std::string& Note() const { return _m_note; }

  private:
    void _ProvideTargeting(const CkxRunFolder& folder);

    std::optional<CkxDateTimeClass> _m_dateTimes;
    CkxTargetingRegistration _m_targeting;
    bool _m_hasStandIn = false;
    std::string _m_note;
};

/// Whether this process runs as LocalSystem.
[[nodiscard]] bool IsLocalSystem();
