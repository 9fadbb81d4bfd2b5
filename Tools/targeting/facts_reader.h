#pragma once

#include "Tools/targeting/facts_file.h"

#include <string>

/// Reads "targeting-facts.txt" in the folder, in UTF-8. Without that file nothing is stated; where it is
/// there but cannot be read, it is not understood.
[[nodiscard]] kx::FactsFile ReadFactsFile(const std::wstring& folder);
