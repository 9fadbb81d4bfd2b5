#pragma once

#include "Tools/targeting/targeting_facts.h"
#include "Tools/targeting/targeting_report.h"

#include <windows.h>

#include <string>

/// Performs the items of the file Preferences\Registry\Registry.xml in the folder, each for itself, whose
/// filters let them through. Returns the first Windows error: that of reading the file, 1465 where it is no
/// such file, 13 for an item that is not understood, 995 once `*abort` is set. The report says why, and
/// which filters were not understood. REQUIRES: COM.
[[nodiscard]] DWORD ProcessSettingsFile(const std::wstring& folder, const kx::TargetingFacts& facts,
                                        const BOOL* abort, CkxTargetingReport& report);
