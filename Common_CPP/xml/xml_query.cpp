#include "Common_CPP/xml/xml_query.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace kx {
namespace {

template <class Char>
bool IsDigit(Char character) noexcept
{
    return character >= Char{'0'} && character <= Char{'9'};
}

// Letters beyond ASCII are left out: parsers differ on which of them are letters.
template <class Char>
bool IsWordStart(Char character) noexcept
{
    return (character >= Char{'a'} && character <= Char{'z'}) ||
           (character >= Char{'A'} && character <= Char{'Z'}) || character == Char{'_'};
}

template <class Char>
bool IsWordPart(Char character) noexcept
{
    return IsWordStart(character) || IsDigit(character) || character == Char{'-'} || character == Char{'.'};
}

template <class Char>
bool Equals(std::basic_string_view<Char> word, std::string_view ascii) noexcept
{
    return std::equal(word.begin(), word.end(), ascii.begin(), ascii.end(),
                      [](Char left, char right) { return left == static_cast<Char>(right); });
}

constexpr std::array<std::string_view, 5> kOperators = {"and", "or", "not", "div", "mod"};
constexpr std::array<std::string_view, 3> kFunctions = {"text", "last", "position"};

template <class Char, class Words>
bool IsOneOf(std::basic_string_view<Char> word, const Words& words) noexcept
{
    return std::any_of(words.begin(), words.end(), [&](std::string_view one) { return Equals(word, one); });
}

// Reads a query from left to right, a method a rule of the grammar. A rule that answers false has failed for
// good: nothing is tried again.
template <class Char>
class QueryReader {
  public:
    explicit QueryReader(std::basic_string_view<Char> query) noexcept : _m_rest(query) {}

    bool Query() noexcept
    {
        do {
            if (!_Path())
                return false;
        } while (_Take('|'));
        return _m_rest.empty();
    }

  private:
    bool _Path() noexcept
    {
        (void)_TakeSlash();
        do {
            if (!_Step())
                return false;
        } while (_TakeSlash());
        return true;
    }

    bool _Step() noexcept
    {
        if (_Take('.')) {
            _TakeUnspaced('.');
            return true;
        }
        if (_Take('@'))
            return _Take('*') || _QualifiedName();
        if (!_Take('*') && !_Function() && !_QualifiedName())
            return false;
        while (_Take('['))
            if (!_Condition() || !_Take(']'))
                return false;
        return true;
    }

    bool _Name() noexcept
    {
        const std::basic_string_view<Char> word = _Word();
        return !word.empty() && !IsOneOf(word, kOperators);
    }

    bool _QualifiedName() noexcept { return _Name() && (!_TakeUnspaced(':') || !_UnspacedWord().empty()); }

    bool _Function() noexcept
    {
        const std::basic_string_view<Char> before = _m_rest;
        if (IsOneOf(_Word(), kFunctions) && _TakeUnspaced('(') && _TakeUnspaced(')'))
            return true;
        _m_rest = before;
        return false;
    }

    bool _Condition() noexcept
    {
        if (!_Term())
            return false;
        const std::string_view connective = _TakeWord("and") ? "and" : _TakeWord("or") ? "or" : "";
        if (connective.empty())
            return true;
        do {
            if (!_Term())
                return false;
        } while (_TakeWord(connective));
        return true;
    }

    bool _Term() noexcept { return (_Number() || _Operand()) && (!_TakeComparison() || _Value()); }

    bool _Operand() noexcept { return _Take('@') ? _Name() : _Function() || _Name(); }

    bool _Value() noexcept { return _Number() || _Literal('\'') || _Literal('"') || _Operand(); }

    bool _Literal(char quote) noexcept
    {
        const std::basic_string_view<Char> before = _m_rest;
        if (!_Take(quote))
            return false;
        const std::size_t length = _m_rest.find(static_cast<Char>(quote));
        if (length == 0 || length == std::basic_string_view<Char>::npos) {
            _m_rest = before;
            return false;
        }
        _m_rest.remove_prefix(length + 1);
        return true;
    }

    // "1a" is no number with a name behind it: what follows is then neither an operator nor the end.
    bool _Number() noexcept
    {
        _SkipBlanks();
        const auto end = std::find_if_not(_m_rest.begin(), _m_rest.end(), IsDigit<Char>);
        const auto length = static_cast<std::size_t>(end - _m_rest.begin());
        if (length == 0 || (end != _m_rest.end() && IsWordPart(*end)))
            return false;
        _m_rest.remove_prefix(length);
        return true;
    }

    bool _TakeComparison() noexcept
    {
        if (_Take('<') || _Take('>')) {
            _TakeUnspaced('=');
            return true;
        }
        if (_Take('!'))
            return _TakeUnspaced('='); // a "!" alone is then found where the condition should have ended
        return _Take('=');
    }

    bool _TakeWord(std::string_view wanted) noexcept
    {
        const std::basic_string_view<Char> before = _m_rest;
        if (Equals(_Word(), wanted))
            return true;
        _m_rest = before;
        return false;
    }

    bool _TakeSlash() noexcept
    {
        if (!_Take('/'))
            return false;
        _TakeUnspaced('/');
        return true;
    }

    std::basic_string_view<Char> _Word() noexcept
    {
        _SkipBlanks();
        return _UnspacedWord();
    }

    std::basic_string_view<Char> _UnspacedWord() noexcept
    {
        if (_m_rest.empty() || !IsWordStart(_m_rest.front()))
            return {};
        const auto end = std::find_if_not(_m_rest.begin(), _m_rest.end(), IsWordPart<Char>);
        const auto word = _m_rest.substr(0, static_cast<std::size_t>(end - _m_rest.begin()));
        _m_rest.remove_prefix(word.size());
        return word;
    }

    bool _Take(char character) noexcept
    {
        _SkipBlanks();
        return _TakeUnspaced(character);
    }

    bool _TakeUnspaced(char character) noexcept
    {
        if (_m_rest.empty() || _m_rest.front() != static_cast<Char>(character))
            return false;
        _m_rest.remove_prefix(1);
        return true;
    }

    void _SkipBlanks() noexcept
    {
        while (!_m_rest.empty() && _m_rest.front() == Char{' '})
            _m_rest.remove_prefix(1);
    }

    std::basic_string_view<Char> _m_rest;
};

} // namespace

bool IsSafeQuery(std::wstring_view query) noexcept
{
    return QueryReader<wchar_t>(query).Query();
}

bool IsSafeQuery(std::u16string_view query) noexcept
{
    return QueryReader<char16_t>(query).Query();
}

} // namespace kx
