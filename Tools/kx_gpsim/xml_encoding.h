#pragma once

#include <string>
#include <string_view>

namespace kx {

/// The text of an XML file as UTF-8, without a byte-order mark: of UTF-16 with a mark, of UTF-8, and of other
/// bytes as if each were one character, so that places can be told whatever the encoding is. Halves of
/// surrogate pairs alone become U+FFFD. Linear.
[[nodiscard]] std::string Utf8OfXmlFile(std::string_view bytes);

} // namespace kx
