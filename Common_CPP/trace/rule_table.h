// Rules: which statements each one covers, and which of them decides for a statement.
#pragma once

#include "Common_CPP/trace/expr.h"
#include "Common_CPP/trace/rule_levels.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace kx {

/// What the expression of a rule is searched in.
enum class ScopeKind : std::uint8_t { File = 1, Class = 2, Stack = 3 };

/// The longest file base name that rules see; the rest is cut off.
inline constexpr std::size_t kMaxFileBase = 260;

/// The subject of file rules: what follows the last slash or backslash of `path`, up to its first ".",
/// with A to Z in lower case. Written to `buffer`, and as much as fits there.
[[nodiscard]] std::string_view FileBase(std::string_view path, std::span<char> buffer) noexcept;

/// What the rules are asked about: one statement. Nothing is owned.
struct RuleSubject {
    std::string_view fileBase;       ///< as FileBase() makes it
    const char* className = nullptr; ///< null for a free function
    std::span<const char* const>
        scopeNames; ///< the thread's scopes, in any order; null entries are passed over
    std::uint32_t level = 0;
};

/// The statements that a rule covers.
struct RuleKey {
    ScopeKind scope;
    LevelRange levels;
    Expr expression;
};

/// True when the rule covers the statement. ".*" covers whatever its scope has for the statement, a missing
/// class and an empty stack included; any other expression never matches a missing class, and matches a
/// stack when it matches one of its names. The levels are compared before the expression is run.
[[nodiscard]] bool Covers(const RuleKey& key, const RuleSubject& subject) noexcept;

/// True when it depends on the scope names whether the rule covers a statement.
[[nodiscard]] bool AsksStack(const RuleKey& key) noexcept;

/// Where a rule stands among the others: the highest number decides. Rules of the configuration file have
/// numbers below zero, rules of the program above.
using RuleSequence = std::int64_t;

/// The number of a rule in line `line` of the configuration file, counted from 1; line 0 comes before all.
[[nodiscard]] constexpr RuleSequence FileRuleSequence(std::uint32_t line) noexcept
{
    return std::min<RuleSequence>(RuleSequence{-2147483648} + line, -1);
}

/// The rules of one kind, each with its value. Finding allocates nothing and never throws.
template <class Value>
class RuleTable {
  public:
    struct Rule {
        RuleSequence sequence;
        RuleKey key;
        Value value;
    };

    /// Adds a rule; it outranks those of lower and of equal number. On std::bad_alloc nothing has changed.
    void Add(RuleSequence sequence, RuleKey key, Value value)
    {
        const auto place =
            std::upper_bound(_m_rules.begin(), _m_rules.end(), sequence,
                             [](RuleSequence number, const Rule& rule) { return number < rule.sequence; });
        const bool asksStack = AsksStack(key);
        _m_rules.insert(place, Rule{sequence, std::move(key), std::move(value)});
        _m_stackRules += asksStack ? 1 : 0;
    }

    /// Drops the rules of the configuration file; those of the program stay.
    void RemoveFileRules() noexcept
    {
        const auto ours = std::find_if(_m_rules.begin(), _m_rules.end(),
                                       [](const Rule& rule) { return rule.sequence >= 0; });
        _m_rules.erase(_m_rules.begin(), ours);
        _m_stackRules = static_cast<std::size_t>(std::count_if(
            _m_rules.begin(), _m_rules.end(), [](const Rule& rule) { return AsksStack(rule.key); }));
    }

    /// The value of the rule that decides for `subject`, or null when none covers it. Valid until the table
    /// changes.
    [[nodiscard]] const Value* Find(const RuleSubject& subject) const noexcept
    {
        for (auto rule = _m_rules.rbegin(); rule != _m_rules.rend(); ++rule)
            if (Covers(rule->key, subject))
                return &rule->value;
        return nullptr;
    }

    /// True when the answer of Find() can depend on the scope names; while it is false, an answer holds for
    /// a call site until the table changes.
    [[nodiscard]] bool HasStackRules() const noexcept { return _m_stackRules != 0; }

    /// All rules, the one that decides first standing last.
    [[nodiscard]] const std::vector<Rule>& Rules() const noexcept { return _m_rules; }

  private:
    std::vector<Rule> _m_rules; // ascending by number, of equal numbers the later one behind
    std::size_t _m_stackRules = 0;
};

} // namespace kx
