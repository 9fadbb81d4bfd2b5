#pragma once

#include <string>
#include <string_view>

namespace kx {

/// XML text with each element on a line of its own, indented by its depth, in place of the white space
/// between elements. An element with text in it stays as it is, with all that it holds. Linear. Text that is
/// no XML comes out changed in white space alone.
[[nodiscard]] std::string PrettyXml(std::string_view xml);

} // namespace kx
