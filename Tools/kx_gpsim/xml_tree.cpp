#include "Tools/kx_gpsim/xml_tree.h"

#include "Tools/kx_gpsim/rapid_xml.h"

#include <algorithm>
#include <memory>

namespace kx {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

using Node = rapidxml::xml_node<char>;

// ---- before parsing -----------------------------------------------------------------------------------

// The parser descends once a level, so it must not see more of them than the stack has room for.
class DepthGuard {
  public:
    explicit DepthGuard(std::string_view text) : _m_text(text) {}

    bool IsDeep()
    {
        while (_Next())
            if (_m_depth > kMostXmlDepth)
                return true;
        return false;
    }

  private:
    // Past one piece of markup; false at the end.
    bool _Next()
    {
        _m_at = _m_text.find('<', _m_at);
        if (_m_at == std::string_view::npos)
            return false;
        const std::string_view rest = _m_text.substr(_m_at);
        if (rest.starts_with("<!--"))
            return _SkipPast("-->");
        if (rest.starts_with("<![CDATA["))
            return _SkipPast("]]>");
        if (rest.starts_with("<?"))
            return _SkipPast("?>");
        if (rest.starts_with("<!"))
            return _SkipPast(">");
        return _Tag(rest.starts_with("</"));
    }

    bool _SkipPast(std::string_view mark)
    {
        const std::size_t end = _m_text.find(mark, _m_at);
        _m_at = end == std::string_view::npos ? end : end + mark.size();
        return _m_at != std::string_view::npos;
    }

    // A bracket inside of a value closes nothing.
    bool _Tag(bool closes)
    {
        std::size_t end = _m_at + 1;
        while (end = _m_text.find_first_of("\"'>", end),
               end != std::string_view::npos && _m_text[end] != '>') {
            end = _m_text.find(_m_text[end], end + 1);
            if (end == std::string_view::npos)
                break;
            ++end;
        }
        if (closes)
            _m_depth -= _m_depth > 0 ? 1U : 0U;
        else if (end == std::string_view::npos || _m_text[end - 1] != '/')
            ++_m_depth;
        _m_at = end;
        return _m_depth > kMostXmlDepth || _m_at != std::string_view::npos;
    }

    std::string_view _m_text;
    std::size_t _m_at = 0;
    std::size_t _m_depth = 0;
};

// Line ends are one character to a parser, whichever system wrote the file.
std::string OneLineEnd(std::string_view xml)
{
    std::string text;
    text.reserve(xml.size() + 1);
    for (std::size_t at = 0; at < xml.size(); ++at)
        if (xml[at] != '\r' || at + 1 == xml.size() || xml[at + 1] != '\n')
            text += xml[at];
    return text;
}

// ---- places -------------------------------------------------------------------------------------------

// Tells line and column of offsets that only grow, so that all of them together cost one walk over the text.
class PlaceCounter {
  public:
    explicit PlaceCounter(std::string_view text) : _m_text(text) {}

    XmlPlace Of(std::size_t offset)
    {
        for (; _m_at < offset; ++_m_at) {
            const char unit = _m_text[_m_at];
            if (unit == '\n')
                _m_place = {_m_place.line + 1, 1};
            else if ((static_cast<unsigned char>(unit) & 0xC0U) != 0x80) // the first byte of a character
                ++_m_place.column;
        }
        return _m_place;
    }

  private:
    std::string_view _m_text;
    std::size_t _m_at = 0;
    XmlPlace _m_place{1, 1};
};

// ---- the tree -----------------------------------------------------------------------------------------

std::string Trimmed(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Copies the parser's nodes. Names are where they were in the text: only values are decoded in place.
class TreeMaker {
  public:
    TreeMaker(std::string_view original, const char* parsed) : _m_places(original), _m_parsed(parsed) {}

    XmlElement Make(const Node& node)
    {
        XmlElement element;
        element.name.assign(node.name(), node.name_size());
        element.place = _PlaceOf(node.name() - 1);
        for (const auto* each = node.first_attribute(); each; each = each->next_attribute())
            element.attributes.push_back({std::string(each->name(), each->name_size()),
                                          std::string(each->value(), each->value_size()),
                                          _PlaceOf(each->name())});
        for (const Node* child = node.first_node(); child; child = child->next_sibling()) {
            if (child->type() == rapidxml::node_element)
                element.children.push_back(Make(*child));
            else if (child->type() == rapidxml::node_data || child->type() == rapidxml::node_cdata)
                element.text.append(child->value(), child->value_size());
        }
        element.text = Trimmed(element.text);
        return element;
    }

  private:
    XmlPlace _PlaceOf(const char* at) { return _m_places.Of(static_cast<std::size_t>(at - _m_parsed)); }

    PlaceCounter _m_places;
    const char* _m_parsed;
};

// Null where there is no element, or more than one.
const Node* RootOf(const Node& document)
{
    const Node* root = nullptr;
    for (const Node* node = document.first_node(); node; node = node->next_sibling()) {
        if (node->type() != rapidxml::node_element)
            continue;
        if (root)
            return nullptr;
        root = node;
    }
    return root;
}

} // namespace

const XmlAttribute* XmlElement::Find(std::string_view attribute) const
{
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [&](const XmlAttribute& each) { return each.name == attribute; });
    return found == attributes.end() ? nullptr : &*found;
}

std::string_view XmlElement::Value(std::string_view attribute) const
{
    const XmlAttribute* const found = Find(attribute);
    return found ? std::string_view(found->value) : std::string_view();
}

const XmlElement* XmlElement::FirstChild(std::string_view element) const
{
    const auto found = std::find_if(children.begin(), children.end(),
                                    [&](const XmlElement& each) { return each.name == element; });
    return found == children.end() ? nullptr : &*found;
}

std::optional<XmlElement> ParseXmlTree(std::string_view xml)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (xml.starts_with(byteOrderMark))
        xml.remove_prefix(byteOrderMark.size());
    if (xml.find('\0') != std::string_view::npos || DepthGuard(xml).IsDeep())
        return std::nullopt;
    const std::string original = OneLineEnd(xml);
    std::string parsed = original;
    const auto document = std::make_unique<rapidxml::xml_document<char>>();
    try {
        document->parse<rapidxml::parse_no_element_values | rapidxml::parse_validate_closing_tags>(
            parsed.data());
    } catch (const rapidxml::parse_error&) {
        return std::nullopt;
    }
    const Node* const root = RootOf(*document);
    if (!root)
        return std::nullopt;
    return TreeMaker(original, parsed.data()).Make(*root);
}

} // namespace kx
