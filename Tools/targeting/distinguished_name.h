#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// The parts of a distinguished name, "OU=Hall 2" first; blanks around a part are not kept, a comma behind a
/// backslash is text. Empty where a part has no name before its "=".
[[nodiscard]] std::vector<std::wstring> SplitDistinguishedName(std::wstring_view name);

/// Whether `inner` is `outer` or stands below it. REQUIRES: both in the case in which names are compared.
[[nodiscard]] bool StandsWithin(const std::vector<std::wstring>& inner,
                                const std::vector<std::wstring>& outer);

} // namespace kx
