// What is done to the characters of XML text, apart from any parser.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Char is char16_t or wchar_t; one stands for one UTF-16 code unit.
namespace kx {

/// Whether XML 1.0 has a character with this code point. A UTF-16 code unit is asked about as one that stands
/// for itself.
[[nodiscard]] bool IsXmlCharacter(std::uint32_t code) noexcept;

/// The index of the first UTF-16 code unit that XML 1.0 does not allow where it stands (a control
/// character, half of a surrogate pair alone, U+FFFE, U+FFFF), or npos. Linear.
template <class Char>
[[nodiscard]] std::size_t FindInvalidXml(std::basic_string_view<Char> text) noexcept;

/// Replaces every such code unit by U+FFFD, in place; well-formed pairs stay.
template <class Char>
void ReplaceInvalidXml(Char* text, std::size_t size) noexcept;

/// Replaces every code unit that is not itself an XML 1.0 character, in place, up to the first NUL. Both
/// halves of a pair are replaced too: for readers that know only the basic plane. Linear.
template <class Char>
void ReplaceInvalidCharacters(Char* text, std::size_t size, Char replacement) noexcept;

/// What ObfuscateTagText did.
struct ObfuscatedTags {
    int count = 0;         ///< elements masked
    bool unclosed = false; ///< an opening tag had no closing one after it; the text from there on stayed
};

/// Writes `text` to `masked` with the content of every element called `tag` replaced by "...". `tag` is a
/// bare name, or its opening tag with or without the final ">". Names are matched exactly, and only opening
/// tags without attributes; of nested ones the outermost counts, up to the first closing tag. An empty `tag`
/// masks nothing. `masked` stays as it was when nothing is masked. Linear in the text's length; throws what
/// the string throws without memory.
template <class Char>
[[nodiscard]] ObfuscatedTags ObfuscateTagText(std::basic_string_view<Char> text,
                                              std::basic_string_view<Char> tag,
                                              std::basic_string<Char>& masked);

} // namespace kx
