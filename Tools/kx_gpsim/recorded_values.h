// What stands in the instances that the extension recorded in RSoP.
#pragma once

#include "Tools/kx_gpsim/run_result.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kx {

/// Whether it is a policy's, or a configuration value's.
[[nodiscard]] bool IsPolicySetting(const RecordedInstance& instance);
[[nodiscard]] bool IsConfiguration(const RecordedInstance& instance);

/// A property's text; empty where it is null or not there. Valid as long as the instance.
[[nodiscard]] std::string_view TextOf(const RecordedInstance& instance, std::string_view property);

/// Its "precedence"; 0 where it is none.
[[nodiscard]] std::uint32_t PrecedenceOf(const RecordedInstance& instance);

/// "{GUID}" of a GPOID such as "CN={GUID},CN=Policies,..."; the whole text where it has no such form.
[[nodiscard]] std::string_view GpoNameOf(std::string_view gpoId);

/// A WMI date-time in UTC, "20260131101500.000000+000", as "2026-01-31T10:15:00Z"; any other text as it is.
[[nodiscard]] std::string ReadableTime(std::string_view wmiTime);

} // namespace kx
