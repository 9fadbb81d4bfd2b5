// The names of namespaces in XML text.
#pragma once

#include <string>
#include <string_view>

namespace kx {

/// Writes `xml`, a parser's own text, to `escaped` with "<" and "&" in xmlns="..." as references. Some
/// parsers write that one kind of value as it is, and then no other reads the text. An "&" that already
/// begins a reference stays. False, and `escaped` stays as it was, when there is nothing to do. Linear in the
/// text's length; throws what the string throws without memory. Char is char16_t or wchar_t.
template <class Char>
[[nodiscard]] bool EscapeNamespaces(std::basic_string_view<Char> xml, std::basic_string<Char>& escaped);

} // namespace kx
