#include "Tools/kx_gpsim/secrets.h"

#include "Tools/kx_gpsim/text_case.h"

#include <algorithm>

namespace kx {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

// A walk over the text that copies as it goes.
class Masker {
  public:
    explicit Masker(std::string_view text) : _m_text(text) {}

    std::string Run()
    {
        while (_m_at < _m_text.size()) {
            const std::size_t tag = _m_text.find('<', _m_at);
            if (_m_depth > 0)
                _MaskContent(tag);
            else
                _CopyTo(tag);
            if (tag != std::string_view::npos)
                _Markup();
        }
        return std::move(_m_out);
    }

  private:
    void _CopyTo(std::size_t end)
    {
        _m_out += _m_text.substr(_m_at, end - _m_at);
        _m_at = std::min(end, _m_text.size());
    }

    void _MaskContent(std::size_t end)
    {
        if (_m_at < std::min(end, _m_text.size()))
            _m_out += kSecretDots;
        _m_at = std::min(end, _m_text.size());
    }

    // At a '<': a comment, a section, a closing tag or an opening one.
    void _Markup()
    {
        const std::string_view rest = _m_text.substr(_m_at);
        if (rest.starts_with("<!--"))
            return _Skip("-->");
        if (rest.starts_with("<![CDATA["))
            return _Skip("]]>");
        if (rest.starts_with("</")) {
            _m_depth = std::max(_m_depth, 1) - 1;
            return _CopyTo(_EndOf(">"));
        }
        _OpeningTag();
    }

    [[nodiscard]] std::size_t _EndOf(std::string_view mark) const
    {
        const std::size_t at = _m_text.find(mark, _m_at);
        return at == std::string_view::npos ? _m_text.size() : at + mark.size();
    }

    void _Skip(std::string_view mark)
    {
        if (_m_depth > 0)
            _MaskContent(_EndOf(mark));
        else
            _CopyTo(_EndOf(mark));
    }

    void _OpeningTag()
    {
        const std::size_t nameEnd = _m_text.find_first_of(" \t\r\n/>", _m_at);
        const bool secret = IsSecretName(_m_text.substr(_m_at + 1, nameEnd - _m_at - 1));
        _CopyTo(nameEnd);
        while (_m_at < _m_text.size() && _m_text[_m_at] != '>')
            _AttributeOrUnit();
        const bool empty = _m_at > 0 && _m_at < _m_text.size() && _m_text[_m_at - 1] == '/';
        if (!empty && (secret || _m_depth > 0))
            ++_m_depth;
        _CopyTo(_m_at + 1);
    }

    // Values in quotation marks are taken whole, so that a '>' in one ends no tag.
    void _AttributeOrUnit()
    {
        const char unit = _m_text[_m_at];
        if (unit != '"' && unit != '\'')
            return _CopyTo(_m_at + 1);
        const std::size_t end = _m_text.find(unit, _m_at + 1);
        const bool secret = IsSecretName(_NameBefore(_m_at)) && end != _m_at + 1;
        if (!secret)
            return _CopyTo(end == std::string_view::npos ? end : end + 1);
        _m_out += unit;
        _m_out += kSecretDots;
        _m_at = std::min(end, _m_text.size());
        _CopyTo(_m_at + 1);
    }

    // The name in front of `="..."`.
    [[nodiscard]] std::string_view _NameBefore(std::size_t quote) const
    {
        std::string_view before = _m_text.substr(0, quote);
        const auto trim = [&] {
            const std::size_t last = before.find_last_not_of(kBlanks);
            before = last == std::string_view::npos ? std::string_view() : before.substr(0, last + 1);
        };
        trim();
        if (!before.ends_with('='))
            return {};
        before.remove_suffix(1);
        trim();
        const std::size_t start = before.find_last_of(" \t\r\n\"'<");
        return start == std::string_view::npos ? before : before.substr(start + 1);
    }

    std::string_view _m_text;
    std::string _m_out;
    std::size_t _m_at = 0;
    int _m_depth = 0; ///< of open elements from the secret one on; 0 outside of any
};

} // namespace

bool IsSecretName(std::string_view name)
{
    constexpr std::string_view secret = "password";
    return name.size() >= secret.size() && EqualNoCase(name.substr(name.size() - secret.size()), secret);
}

std::string MaskXml(std::string_view xml)
{
    return Masker(xml).Run();
}

} // namespace kx
