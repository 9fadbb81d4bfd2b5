// Attributes read from an element's own XML text.
#pragma once

#include <string>
#include <string_view>

namespace kx {

/// Reads an attribute from the start tag that `xml` begins with, as the parser writes it: where the text is
/// at hand anyway, cheaper than asking the parser. References to characters are resolved. False when
/// the tag has no such attribute, or is none; `value` is then unspecified. Char is char16_t or wchar_t.
/// Throws what the string throws without memory.
template <class Char>
[[nodiscard]] bool ReadStartTagAttribute(std::basic_string_view<Char> xml, std::basic_string_view<Char> name,
                                         std::basic_string<Char>& value);

} // namespace kx
