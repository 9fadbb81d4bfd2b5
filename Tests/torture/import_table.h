#pragma once

#include "Tests/torture/stand_in.h"

#include <span>
#include <string_view>

/// Every import that can fail, or that gives something back, with its stand-in.
[[nodiscard]] std::span<const standin::Row> ImportTable();

/// True for an import that needs no stand-in: it cannot fail, its answer is no failure, or it belongs to the
/// language's run-time library, which has no way on where it fails.
[[nodiscard]] bool NeedsNoStandIn(std::string_view name);
