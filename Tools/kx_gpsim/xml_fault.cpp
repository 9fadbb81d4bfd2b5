#include "Tools/kx_gpsim/xml_fault.h"

#include <algorithm>
#include <vector>

namespace kx {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kEndsName = " \t\r\n/>=<\"'";

class Scanner {
  public:
    explicit Scanner(std::string_view text) : _m_text(text) {}

    std::optional<XmlFault> Run()
    {
        while (!_m_fault && _m_at < _m_text.size()) {
            if (_m_text[_m_at] == '<')
                _Markup();
            else
                _Text();
        }
        if (!_m_fault && !_m_open.empty())
            _Fail(_m_open.back().at, "<" + std::string(_m_open.back().name) + "> is never closed");
        if (!_m_fault && !_m_rootSeen)
            _Fail(_m_text.size(), "there is no root element");
        return std::move(_m_fault);
    }

  private:
    struct Open {
        std::string_view name;
        std::size_t at;
    };

    void _Fail(std::size_t at, std::string reason)
    {
        const std::string_view before = _m_text.substr(0, at);
        const auto lines = std::count(before.begin(), before.end(), '\n');
        const std::size_t lineStart = before.rfind('\n') + 1; // npos + 1 is 0
        _m_fault = {static_cast<int>(lines) + 1, static_cast<int>(at - lineStart) + 1, std::move(reason)};
    }

    void _SkipBlanks() { _m_at = std::min(_m_text.find_first_not_of(kBlanks, _m_at), _m_text.size()); }

    std::string_view _Name()
    {
        const std::size_t end = std::min(_m_text.find_first_of(kEndsName, _m_at), _m_text.size());
        const std::string_view name = _m_text.substr(_m_at, end - _m_at);
        _m_at = end;
        return name;
    }

    void _SkipPast(std::string_view mark, const char* what)
    {
        const std::size_t end = _m_text.find(mark, _m_at);
        if (end == std::string_view::npos)
            return _Fail(_m_at, std::string(what) + " never ends");
        _m_at = end + mark.size();
    }

    void _Text()
    {
        const std::size_t end = std::min(_m_text.find('<', _m_at), _m_text.size());
        constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
        if (_m_at == 0 && _m_text.starts_with(byteOrderMark))
            _m_at = byteOrderMark.size();
        const std::string_view text = _m_text.substr(_m_at, end - _m_at);
        const std::size_t first = text.find_first_not_of(kBlanks);
        if (_m_open.empty() && first != std::string_view::npos)
            return _Fail(_m_at + first, "text stands outside of the root element");
        _CheckReferences(_m_at, end);
        _m_at = end;
    }

    // "&name;" and nothing else begins with an ampersand.
    void _CheckReferences(std::size_t begin, std::size_t end)
    {
        const std::string_view text = _m_text.substr(0, end); // never searched beyond: each part once
        for (std::size_t at = text.find('&', begin); at != text.npos && !_m_fault;
             at = text.find('&', at + 1)) {
            const std::size_t semicolon = text.find_first_of("; <&\"'\r\n", at + 1);
            if (semicolon == text.npos || text[semicolon] != ';' || semicolon == at + 1)
                _Fail(at, "'&' begins no reference; it is written &amp;");
        }
    }

    void _Markup()
    {
        const std::string_view rest = _m_text.substr(_m_at);
        if (rest.starts_with("<!--"))
            return _SkipPast("-->", "the comment");
        if (rest.starts_with("<![CDATA["))
            return _SkipPast("]]>", "the CDATA section");
        if (rest.starts_with("<!DOCTYPE"))
            return _Fail(_m_at, "a document type is refused");
        if (rest.starts_with("<?"))
            return _SkipPast("?>", "the instruction");
        if (rest.starts_with("</"))
            return _Closing();
        _Opening();
    }

    void _Closing()
    {
        const std::size_t start = _m_at;
        _m_at += 2;
        const std::string_view name = _Name();
        _SkipBlanks();
        if (_m_at >= _m_text.size() || _m_text[_m_at] != '>')
            return _Fail(start, "the closing tag never ends");
        ++_m_at;
        if (_m_open.empty())
            return _Fail(start, "</" + std::string(name) + "> closes nothing");
        if (_m_open.back().name != name)
            return _Fail(start, "</" + std::string(name) + "> stands where <" +
                                    std::string(_m_open.back().name) + "> is to be closed");
        _m_open.pop_back();
    }

    void _Opening()
    {
        const std::size_t start = _m_at++;
        const std::string_view name = _Name();
        if (name.empty())
            return _Fail(start, "'<' begins no tag; it is written &lt;");
        if (_m_open.empty() && _m_rootSeen)
            return _Fail(start, "there is a second root element");
        _m_rootSeen = true;
        while (!_m_fault) {
            _SkipBlanks();
            const std::string_view rest = _m_text.substr(_m_at);
            if (rest.starts_with("/>")) {
                _m_at += 2;
                return;
            }
            if (rest.starts_with('>')) {
                ++_m_at;
                _m_open.push_back({name, start});
                return;
            }
            if (rest.empty() || rest.starts_with('<'))
                return _Fail(start, "the tag <" + std::string(name) + " never ends");
            _Attribute();
        }
    }

    void _Attribute()
    {
        const std::size_t start = _m_at;
        const std::string_view name = _Name();
        _SkipBlanks();
        if (name.empty() || _m_at >= _m_text.size() || _m_text[_m_at] != '=')
            return _Fail(start, "there is no attribute with a value");
        ++_m_at;
        _SkipBlanks();
        const char quote = _m_at < _m_text.size() ? _m_text[_m_at] : '\0';
        if (quote != '"' && quote != '\'')
            return _Fail(start, "the value of " + std::string(name) + " has no quotation marks");
        const std::size_t end = _m_text.find(quote, _m_at + 1);
        const std::size_t markup = _m_text.find('<', _m_at + 1);
        if (end == std::string_view::npos || markup < end)
            return _Fail(start, "the value of " + std::string(name) + " never ends");
        _CheckReferences(_m_at + 1, end);
        _m_at = end + 1;
    }

    std::string_view _m_text;
    std::size_t _m_at = 0;
    std::vector<Open> _m_open;
    bool _m_rootSeen = false;
    std::optional<XmlFault> _m_fault;
};

} // namespace

std::optional<XmlFault> FindXmlFault(std::string_view xml)
{
    if (xml.find('\0') != std::string_view::npos) // two bytes a character: no superset of ASCII
        return std::nullopt;
    return Scanner(xml).Run();
}

} // namespace kx
