#pragma once

#include <windows.h>

#include <userenv.h>

#include <vector>

/// The engine's linked list as it stands, in order. A list that runs into itself ends at its first repeated
/// entry, with an error line.
[[nodiscard]] std::vector<PGROUP_POLICY_OBJECTW> CollectGpos(PGROUP_POLICY_OBJECTW first);
