// Where a file is no XML, for parsers that do not tell.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kx {

/// The first fault of a text; line and column count from 1, the column in bytes.
struct XmlFault {
    int line = 0;
    int column = 0;
    std::string reason;
};

/// Looks for what makes text no well-formed XML: tags that do not match, values without quotation marks,
/// stray markup characters, no root or two, a document type (which is refused). nullopt where none of these
/// is found; the text may be no XML all the same. UTF-8 or a superset of ASCII. Linear.
[[nodiscard]] std::optional<XmlFault> FindXmlFault(std::string_view xml);

} // namespace kx
