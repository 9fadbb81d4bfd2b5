#pragma once

#include "Tools/targeting/targeting_facts.h"

#include <optional>
#include <string>
#include <vector>

namespace kx {

/// Whether the group is among all groups that somebody is in, each told by its sid or its name. nullopt where
/// a group in the list could be the wanted one, but is told the other way.
[[nodiscard]] std::optional<bool> IsInGroups(const std::vector<std::wstring>& groups, const GroupId& wanted,
                                             const TargetingFacts& facts);

} // namespace kx
