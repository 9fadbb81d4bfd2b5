#pragma once

#include "Tools/kx_gpsim/run_result.h"

#include <string>

namespace kx {

/// In words, what it means that the pass's call returned its code and that a document arrived or not.
[[nodiscard]] std::string ReturnCodeText(const PassResult& pass);

/// "machine" or "user".
[[nodiscard]] std::string ScopeText(Scope scope);

} // namespace kx
