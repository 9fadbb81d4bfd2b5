// Values of properties as people read them.
#pragma once

#include "Common_CPP/atl/kx_atl.h"

namespace kx {

/// Numbers in decimal (fractions in the fewest digits that tell the value), texts as they are, "True" or
/// "False", "<Null>", "<Object>"; for all other types a sentence that names the type. Throws CAtlException.
[[nodiscard]] CString WbemValueText(const VARIANT& value);

} // namespace kx
