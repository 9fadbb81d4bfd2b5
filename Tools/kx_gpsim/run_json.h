#pragma once

#include "Tools/kx_gpsim/run_result.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace kx {

/// The whole of a run, for programs and for a later report.
[[nodiscard]] nlohmann::json ToJson(const RunResult& run);

/// A run that ToJson wrote. Throws UsageError, naming the place in the JSON, where it is none.
[[nodiscard]] RunResult FromJson(const nlohmann::json& json);

/// Parses text that ToJson's value was written to; `file` is named in what is thrown.
[[nodiscard]] RunResult ParseRun(std::string_view text, const std::string& file);

/// The text to be saved: indented, ends in a line end. Bytes that are no UTF-8 are replaced.
[[nodiscard]] std::string RunText(const RunResult& run);

} // namespace kx
