#include "Tools/kx_gpsim/pretty_xml.h"

#include <algorithm>
#include <vector>

namespace kx {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

enum class Kind { Text, Opening, Closing, Alone };

struct Piece {
    Kind kind = Kind::Text;
    std::string_view text;
};

bool IsBlank(std::string_view text)
{
    return text.find_first_not_of(kBlanks) == std::string_view::npos;
}

// The end of the markup that begins at `start`; a '>' in a quoted value ends nothing.
std::size_t EndOfTag(std::string_view xml, std::size_t start)
{
    char quote = 0;
    for (std::size_t at = start; at < xml.size(); ++at) {
        const char unit = xml[at];
        if (quote != 0)
            quote = unit == quote ? char{0} : quote;
        else if (unit == '"' || unit == '\'')
            quote = unit;
        else if (unit == '>')
            return at + 1;
    }
    return xml.size();
}

std::size_t EndAfter(std::string_view xml, std::string_view mark, std::size_t start)
{
    const std::size_t at = xml.find(mark, start);
    return at == std::string_view::npos ? xml.size() : at + mark.size();
}

Piece Cut(std::string_view xml, std::size_t at)
{
    const std::string_view rest = xml.substr(at);
    const auto piece = [&](Kind kind, std::size_t end) { return Piece{kind, xml.substr(at, end - at)}; };
    if (!rest.starts_with('<'))
        return piece(Kind::Text, std::min(xml.find('<', at), xml.size()));
    if (rest.starts_with("<![CDATA["))
        return piece(Kind::Text, EndAfter(xml, "]]>", at));
    if (rest.starts_with("<!--"))
        return piece(Kind::Alone, EndAfter(xml, "-->", at));
    const std::size_t end = EndOfTag(xml, at);
    if (rest.starts_with("</"))
        return piece(Kind::Closing, end);
    const bool alone =
        rest.starts_with("<?") || rest.starts_with("<!") || xml.substr(at, end - at).ends_with("/>");
    return piece(alone ? Kind::Alone : Kind::Opening, end);
}

std::vector<Piece> CutAll(std::string_view xml)
{
    std::vector<Piece> pieces;
    for (std::size_t at = 0; at < xml.size(); at += pieces.back().text.size())
        pieces.push_back(Cut(xml, at));
    return pieces;
}

// For each opening tag, whether text stands directly in its element.
std::vector<bool> FindMixed(const std::vector<Piece>& pieces)
{
    std::vector<bool> mixed(pieces.size());
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (pieces[i].kind == Kind::Opening)
            open.push_back(i);
        else if (pieces[i].kind == Kind::Closing && !open.empty())
            open.pop_back();
        else if (pieces[i].kind == Kind::Text && !IsBlank(pieces[i].text) && !open.empty())
            mixed[open.back()] = true;
    }
    return mixed;
}

} // namespace

std::string PrettyXml(std::string_view xml)
{
    const std::vector<Piece> pieces = CutAll(xml);
    const std::vector<bool> mixed = FindMixed(pieces);
    std::string pretty;
    std::size_t depth = 0;
    std::size_t verbatim = 0; // open elements from the first one with text on
    bool lastWasOpening = false;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        const Piece& piece = pieces[i];
        if (verbatim == 0 && piece.kind == Kind::Text && IsBlank(piece.text))
            continue;
        if (piece.kind == Kind::Closing && depth > 0)
            --depth;
        const bool joins = verbatim > 0 || (piece.kind == Kind::Closing && lastWasOpening);
        if (!joins && !pretty.empty())
            pretty += '\n' + std::string(2 * depth, ' ');
        pretty += piece.text;
        lastWasOpening = piece.kind == Kind::Opening;
        if (verbatim > 0 && piece.kind == Kind::Closing)
            --verbatim;
        else if (piece.kind == Kind::Opening && (verbatim > 0 || mixed[i]))
            ++verbatim;
        if (piece.kind == Kind::Opening)
            ++depth;
    }
    if (!pretty.empty() && !pretty.ends_with('\n'))
        pretty += '\n';
    return pretty;
}

} // namespace kx
