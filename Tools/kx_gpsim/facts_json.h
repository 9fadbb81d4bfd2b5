#pragma once

#include <string>
#include <string_view>

namespace kx {

/// What a JSON file states for item-level targeting, as the lines that the stand-in for it reads: the names
/// of nested members are joined by dots, an array makes a line of each of its items, an empty one says that
/// there is none, true and false are yes and no. Comments are allowed.
///
///     { "user": { "name": "FERNHILL\\anna", "group": ["FERNHILL\\Dairy"] }, "computer": { "battery": true }
///     }
///
/// Throws UsageError naming the file and the member that is not known, of the wrong type or not to be stated.
[[nodiscard]] std::string FactsText(std::string_view text, const std::string& file);

} // namespace kx
