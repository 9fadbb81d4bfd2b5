#include "Common_CPP/xml/xml_namespaces.h"

#include "Common_CPP/xml/xml_scan.h"
#include "Common_CPP/xml/xml_text.h"

namespace kx {

namespace {

constexpr std::string_view kDeclaration = "xmlns";

template <class Char>
std::size_t Find(std::basic_string_view<Char> text, std::string_view ascii, std::size_t from)
{
    const auto equal = [](Char left, char right) { return left == static_cast<Char>(right); };
    const auto begin = text.begin() + static_cast<std::ptrdiff_t>(from);
    const auto found = std::search(begin, text.end(), ascii.begin(), ascii.end(), equal);
    return found == text.end() ? text.npos : static_cast<std::size_t>(found - text.begin());
}

// Where the comment, the character data or the instruction at `at` ends; `at` itself where a tag stands
// there.
template <class Char>
std::size_t SkipNoTag(std::basic_string_view<Char> xml, std::size_t at)
{
    constexpr std::string_view noTags[][2] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};

    for (const auto& [begin, end] : noTags)
        if (EqualsAscii(xml.substr(at, begin.size()), begin))
            return Find(xml, end, at + begin.size());
    return at;
}

// Where the next tag begins; npos for none.
template <class Char>
std::size_t FindTag(std::basic_string_view<Char> xml, std::size_t from)
{
    for (;;) {
        const std::size_t at = xml.find(Char('<'), from);
        from = at == xml.npos ? at : SkipNoTag(xml, at);
        if (from == at || from == xml.npos)
            return from;
    }
}

// Whether `text`, which ends in an attribute's "=", ends in that of a declaration.
template <class Char>
bool EndsInDeclaration(std::basic_string_view<Char> text)
{
    while (!text.empty() && (IsXmlSpace(text.back()) || text.back() == '='))
        text.remove_suffix(1);
    const auto begin = std::find_if(text.rbegin(), text.rend(), IsXmlSpace);
    const std::basic_string_view<Char> name = text.substr(static_cast<std::size_t>(text.rend() - begin));
    return EqualsAscii(name.substr(0, kDeclaration.size()), kDeclaration) &&
           (name.size() == kDeclaration.size() || name[kDeclaration.size()] == ':');
}

// Whether what begins with "&" is a reference that every parser resolves.
template <class Char>
bool BeginsReference(std::basic_string_view<Char> text)
{
    const std::size_t end = text.find(Char(';'));
    if (end == text.npos)
        return false;
    const std::uint32_t code = ReferencedCharacter(text.substr(1, end - 1));
    const Char unit = static_cast<Char>(code);
    return code > 0xFFFF || (code != 0 && FindInvalidXml(std::basic_string_view<Char>(&unit, 1)) != 0);
}

// Copies a text, with some of its characters replaced.
template <class Char>
class Escaper {
  public:
    explicit Escaper(std::basic_string_view<Char> xml) : _m_xml(xml) {}

    void EscapeValue(std::size_t begin, std::size_t end)
    {
        for (std::size_t at = begin; at < end; ++at) {
            if (_m_xml[at] == '<')
                _Replace(at, "&lt;");
            else if (_m_xml[at] == '&' && !BeginsReference(_m_xml.substr(at, end - at)))
                _Replace(at, "&amp;");
        }
    }

    bool Finish(std::basic_string<Char>& escaped)
    {
        if (_m_copied == 0)
            return false;
        _m_text += _m_xml.substr(_m_copied);
        escaped = std::move(_m_text);
        return true;
    }

  private:
    void _Replace(std::size_t at, std::string_view by)
    {
        _m_text += _m_xml.substr(_m_copied, at - _m_copied);
        _m_text.append(by.begin(), by.end());
        _m_copied = at + 1;
    }

    std::basic_string_view<Char> _m_xml;
    std::basic_string<Char> _m_text;
    std::size_t _m_copied = 0; ///< how much of the text has been seen to
};

// Goes through the attributes of the tag at `at`; returns where it ends.
template <class Char>
std::size_t EscapeTag(std::basic_string_view<Char> xml, std::size_t at, Escaper<Char>& escaper)
{
    constexpr Char marks[] = {'>', '"', '\''};
    for (;;) {
        const std::size_t mark = xml.find_first_of(marks, at, std::size(marks));
        if (mark == xml.npos || xml[mark] == '>')
            return mark;
        const std::size_t end = xml.find(xml[mark], mark + 1);
        if (end == xml.npos)
            return end;
        if (EndsInDeclaration(xml.substr(at, mark - at)))
            escaper.EscapeValue(mark + 1, end);
        at = end + 1;
    }
}

} // namespace

template <class Char>
bool EscapeNamespaces(std::basic_string_view<Char> xml, std::basic_string<Char>& escaped)
{
    if (Find(xml, kDeclaration, 0) == xml.npos) // nearly always
        return false;
    Escaper<Char> escaper(xml);
    for (std::size_t at = 0; at != xml.npos && (at = FindTag(xml, at)) != xml.npos;)
        at = EscapeTag(xml, at + 1, escaper);
    return escaper.Finish(escaped);
}

template bool EscapeNamespaces(std::u16string_view, std::u16string&);
template bool EscapeNamespaces(std::wstring_view, std::wstring&);

} // namespace kx
