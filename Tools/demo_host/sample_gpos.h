#pragma once

#include "Common_CPP/util/unique_handle.h"
#include "Tools/host/engine_lists.h"

#include <string>
#include <vector>

/// The Group Policy Objects under a folder such as Samples\Fernhill, in the order of their links, for one
/// scope ("Machine" or "User"). A GPO's folder is "NN display name", NN its place; in it is the folder named
/// by its GUID, as a domain's policy share has it.
[[nodiscard]] std::vector<CkxListedGpo> FindSampleGpos(const std::wstring& folder, const std::wstring& scope);
