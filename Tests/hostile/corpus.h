#pragma once

#include "Agent/engine/kx_gpext/policy_files.h"

#include <string_view>
#include <vector>

/// Well-formed policy files as an administrator's console writes them: what the mutations start from.
[[nodiscard]] const std::vector<std::string_view>& CorpusOf(kx::PolicyFile file);
