// What Explain() found, for people and for programs.
#pragma once

#include "Tools/kx_gpsim/explain.h"
#include "Tools/kx_gpsim/ink.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// A paragraph for each; empty without any.
[[nodiscard]] std::string FormatExplanations(const Report& report,
                                             const std::vector<Explanation>& explanations,
                                             const TextStyle& style = {});

/// An object with
///
///   version    1; rises when a key changes its meaning or goes
///   name       what was asked for
///   matches[]  kind ("gpo", "policy"), scope, call, name, id, gpo and gpoName (display name and GUID), link,
///              fate ("taken", "let through", "excluded", "stopped", "deleted"), step, why, passed[], took
///              (milliseconds, of a GPO), and trace[] of at (milliseconds since the call began) and text;
///              null stands for what is not known or not there
[[nodiscard]] nlohmann::ordered_json
ExplanationsJson(const Report& report, const std::vector<Explanation>& explanations, std::string_view name);

} // namespace kx
