#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace oracle {

/// The judge over kx::Expr: says by definition, as slowly as it takes, whether an expression matches. It
/// shares nothing with the product: a tree, read by recursive descent from the wrapped text, and for every
/// node the set of all outcomes it can have. For short expressions only, with at most `kGroups` match groups.
class Expression {
  public:
    static constexpr std::size_t kGroups = 3;

    /// Nullopt when the expression is not well formed or has too many groups.
    static std::optional<Expression> Parse(std::string_view expression)
    {
        Expression parsed;
        parsed._m_text = "{" + std::string(expression) + "}";
        parsed._m_root = parsed._Alternatives();
        if (parsed._m_failed || parsed._m_next != parsed._m_text.size() ||
            parsed._m_highestReference >= static_cast<int>(parsed._m_groups) || parsed._m_groups > kGroups)
            return std::nullopt;
        return parsed;
    }

    /// Whether any part of the subject (shorter than 128 bytes) matches; nullopt when it takes too long to
    /// say.
    [[nodiscard]] std::optional<bool> Search(std::string_view subject) const
    {
        _m_subject = subject;
        _m_budget = 200'000;
        for (std::size_t at = 0; at <= subject.size(); ++at) {
            State start{static_cast<std::int8_t>(at), {}, {}};
            start.length.fill(-1);
            const bool found = _Outcomes(_m_root, start).size != 0;
            if (_m_budget == 0)
                return std::nullopt;
            if (found)
                return true;
        }
        return false;
    }

  private:
    enum class Kind { Sequence, Alternatives, Byte, Repeat, Not, Group, Same };

    struct Node {
        Kind kind = Kind::Sequence;
        std::vector<std::size_t> children{};
        std::array<bool, 256> bytes{};
        std::size_t group = 0;
        char repeat = 0;
    };

    struct State {
        std::int8_t at;
        std::array<std::int8_t, kGroups> from;
        std::array<std::int8_t, kGroups> length; // -1: not matched, or open

        bool operator==(const State&) const = default;
    };

    // A place in the subject, which is never negative here.
    static std::size_t Index(std::int8_t at) { return static_cast<std::uint8_t>(at); }

    // A set of states, without heap. One that overflows makes the search give up.
    struct States {
        States() {} // NOLINT(modernize-use-equals-default): the list stays unset, for speed

        explicit States(const State& state) : size(1) { list[0] = state; }

        [[nodiscard]] const State* begin() const { return list.data(); }

        [[nodiscard]] const State* end() const { return list.data() + size; }

        std::array<State, 32> list; // not initialised, for speed
        std::size_t size = 0;
    };

    // --- Reading. A fault sets _m_failed; what is returned then does not count.

    [[nodiscard]] bool _Ahead(std::string_view characters) const
    {
        return _m_next < _m_text.size() && characters.find(_m_text[_m_next]) != std::string_view::npos;
    }

    char _Get()
    {
        if (_m_next < _m_text.size())
            return _m_text[_m_next++];
        _m_failed = true;
        return 0;
    }

    // A sequence or a choice of one is that one.
    std::size_t _Make(Node node)
    {
        if (node.kind <= Kind::Alternatives && node.children.size() == 1)
            return node.children[0];
        _m_nodes.push_back(std::move(node));
        return _m_nodes.size() - 1;
    }

    std::size_t _Alternatives()
    {
        Node node{.kind = Kind::Alternatives};
        do {
            Node sequence;
            while (!_m_failed && _m_next < _m_text.size() && !_Ahead("|)}"))
                sequence.children.push_back(_Item());
            node.children.push_back(_Make(std::move(sequence)));
        } while (!_m_failed && _Ahead("|") && _Get());
        return _Make(std::move(node));
    }

    std::size_t _Item()
    {
        if (_Ahead("!")) {
            _Get();
            return _Make({.kind = Kind::Not, .children = {_Item()}});
        }
        const std::size_t atom = _Atom();
        if (!_Ahead("?*+"))
            return atom;
        const char repeat = _Get();
        if (_Ahead("?"))
            _Get(); // greedy or not: the set of outcomes is the same
        return _Make({.kind = Kind::Repeat, .children = {atom}, .repeat = repeat});
    }

    std::size_t _Atom()
    {
        const char character = _Get();
        switch (character) {
        case '(':
            return _Bracketed(')');
        case '{': {
            const std::size_t group = _m_groups++;
            return _Make({.kind = Kind::Group, .children = {_Bracketed('}')}, .group = group});
        }
        case '[':
            return _Class();
        case '\\':
            return _Escape(_Get());
        case '.':
            return _Bytes("", true);
        default:
            _m_failed = _m_failed || std::string_view("?*+])}|").find(character) != std::string_view::npos;
            return _Bytes({&character, 1}, false);
        }
    }

    std::size_t _Bracketed(char closing)
    {
        const std::size_t inner = _Alternatives();
        _m_failed = _m_failed || _Get() != closing;
        return inner;
    }

    std::size_t _Bytes(std::string_view bytes, bool inverted)
    {
        Node node{.kind = Kind::Byte};
        for (std::size_t byte = 0; byte < 256; ++byte)
            node.bytes[byte] = (bytes.find(static_cast<char>(byte)) != std::string_view::npos) != inverted;
        return _Make(std::move(node));
    }

    std::size_t _Class()
    {
        const bool inverted = _Ahead("^") && _Get();
        std::string bytes;
        while (!_m_failed && !_Ahead("]")) {
            const auto end = [this] {
                const char character = _Get();
                return static_cast<unsigned char>(character == '\\' ? _Get() : character);
            };
            const unsigned from = end();
            unsigned to = from;
            if (_Ahead("-") && _m_next + 1 < _m_text.size() && _m_text[_m_next + 1] != ']') {
                _Get();
                to = end();
            }
            _m_failed = _m_failed || from > to;
            for (unsigned byte = from; byte <= to; ++byte)
                bytes += static_cast<char>(byte);
        }
        _m_failed = _m_failed || _Get() != ']' || bytes.empty();
        return _Bytes(bytes, inverted);
    }

    std::size_t _Escape(char character)
    {
        _m_failed = _m_failed || _m_next == _m_text.size(); // the brace of the wrapping is not to be escaped
        if (character >= '0' && character <= '9') {
            const int group = character - '0';
            _m_highestReference = group > _m_highestReference ? group : _m_highestReference;
            return _Make({.kind = Kind::Same, .group = static_cast<std::size_t>(group)});
        }
        constexpr std::pair<char, std::string_view> kShort[] = {
            {'a', "([a-zA-Z0-9])"}, {'b', "([ \t])"},       {'c', "([a-zA-Z])"},
            {'d', "([0-9])"},       {'h', "([0-9a-fA-F])"}, {'n', "(\r|\r?\n)"},
            {'w', "([a-zA-Z]+)"},   {'z', "([0-9]+)"},      {'q', "((\"[^\"]*\")|('[^']*'))"}};
        for (const auto& [letter, text] : kShort) {
            if (letter != character)
                continue;
            _m_text.insert(_m_next, text);
            return _Atom();
        }
        return _Bytes({&character, 1}, false);
    }

    // --- Matching.

    void _Add(States& states, const State& state) const
    {
        for (const State& known : states)
            if (known == state)
                return;
        if (states.size < states.list.size())
            states.list[states.size++] = state;
        else
            _m_budget = 0;
    }

    [[nodiscard]] States _Outcomes(std::size_t index, const State& state) const
    {
        if (_m_budget == 0 || --_m_budget == 0)
            return States();
        const Node& node = _m_nodes[index];
        switch (node.kind) {
        case Kind::Byte: {
            State after = state;
            const auto at = Index(after.at++);
            if (at < _m_subject.size() && node.bytes[static_cast<unsigned char>(_m_subject[at])])
                return States(after);
            return States();
        }
        case Kind::Sequence:
            return _SequenceOutcomes(node, state);
        case Kind::Alternatives: {
            States all;
            for (const std::size_t child : node.children)
                for (const State& after : _Outcomes(child, state))
                    _Add(all, after);
            return all;
        }
        case Kind::Repeat:
            return _RepeatOutcomes(node, state);
        case Kind::Not:
            return _Outcomes(node.children[0], state).size == 0 ? States(state) : States();
        case Kind::Group: {
            State opened = state;
            opened.from[node.group] = state.at;
            opened.length[node.group] = -1;
            States all = _Outcomes(node.children[0], opened);
            for (std::size_t i = 0; i < all.size; ++i)
                all.list[i].length[node.group] = static_cast<std::int8_t>(all.list[i].at - state.at);
            return all;
        }
        case Kind::Same: {
            const std::int8_t length = state.length[node.group];
            if (length < 0)
                return States();
            const auto size = Index(length);
            const auto from = Index(state.from[node.group]);
            if (_m_subject.substr(Index(state.at), size) != _m_subject.substr(from, size))
                return States();
            State after = state;
            after.at = static_cast<std::int8_t>(after.at + length);
            return States(after);
        }
        }
        return States();
    }

    [[nodiscard]] States _SequenceOutcomes(const Node& node, const State& state) const
    {
        States now(state);
        for (const std::size_t child : node.children) {
            States next;
            for (const State& before : now)
                for (const State& after : _Outcomes(child, before))
                    _Add(next, after);
            now = next;
        }
        return now;
    }

    [[nodiscard]] States _RepeatOutcomes(const Node& node, const State& state) const
    {
        States all;
        if (node.repeat != '+')
            _Add(all, state);
        States begins(state); // of iterations
        for (std::size_t i = 0; i < begins.size; ++i) {
            const State before = begins.list[i];
            for (const State& after : _Outcomes(node.children[0], before)) {
                _Add(all, after);
                if (node.repeat != '?' && after.at > before.at)
                    _Add(begins, after);
            }
        }
        return all;
    }

    std::string _m_text;
    std::size_t _m_next = 0;
    bool _m_failed = false;
    std::size_t _m_groups = 0;
    int _m_highestReference = -1;
    std::vector<Node> _m_nodes;
    std::size_t _m_root = 0;
    mutable std::string_view _m_subject;
    mutable std::size_t _m_budget = 0;
};

} // namespace oracle
