// An XML document as a tree that knows its places, for looking at files without a platform's parser.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// A place in a text; both count from 1, the column in characters. 0: not known.
struct XmlPlace {
    int line = 0;
    int column = 0;
};

/// An attribute, its place that of its name.
struct XmlAttribute {
    std::string name;
    std::string value;
    XmlPlace place;
};

/// An element and all below it. Comments and instructions are left out.
struct XmlElement {
    std::string name;
    XmlPlace place; ///< of the bracket that opens it
    std::vector<XmlAttribute> attributes;
    std::vector<XmlElement> children;
    std::string text; ///< what stands directly in it, without white space at its ends

    /// The attribute of exactly this name, or null.
    [[nodiscard]] const XmlAttribute* Find(std::string_view attribute) const;

    /// The attribute's value; empty where there is none.
    [[nodiscard]] std::string_view Value(std::string_view attribute) const;

    /// The first child element of exactly this name, or null.
    [[nodiscard]] const XmlElement* FirstChild(std::string_view element) const;
};

/// The most that elements may be nested, which is what the extension's parser takes.
inline constexpr std::size_t kMostXmlDepth = 256;

/// The root element of UTF-8 text. It does not judge: text that is no well-formed XML may give a tree, or
/// nullopt, as do a text nested too deep and one without a root or with several. Linear.
[[nodiscard]] std::optional<XmlElement> ParseXmlTree(std::string_view xml);

} // namespace kx
