// libFuzzer target: which trace rule decides. Lines of the input are rules, "S number level level expression"
// with one byte for each of the first four; every subject gets the answer of the naive way, which asks all
// rules and takes the last of those with the highest number. Expressions with back-references are left out:
// they decide alike and took five sixths of the time.
//
//   rule_fuzz -max_len=512 -dict=expr.dict
#include "Common_CPP/trace/rule_table.h"
#include "Tests/fuzz/fuzz_input.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

namespace {

using fuzz::Require;

constexpr const char* kScopes[] = {"Send", nullptr, "Generate"};
constexpr const char* kClasses[] = {nullptr, "CkxGpXml", ""};
constexpr const char* kFiles[] = {"Agent\\engine/Gp_Xml.part.cpp", "a", "", "x/.b"};

struct PlainRule {
    kx::RuleSequence sequence = 0;
    kx::ScopeKind scope = kx::ScopeKind::File;
    std::uint32_t first = 0;
    std::uint32_t last = 0;
    bool coversAll = false;
    kx::Expr expression;
    int value = 0;
};

bool NaiveCovers(const PlainRule& rule, const kx::RuleSubject& subject)
{
    if (subject.level < rule.first || subject.level > rule.last)
        return false;
    if (rule.coversAll)
        return true;
    std::vector<std::string_view> texts;
    if (rule.scope == kx::ScopeKind::File)
        texts.push_back(subject.fileBase);
    else if (rule.scope == kx::ScopeKind::Class && subject.className != nullptr)
        texts.emplace_back(subject.className);
    else if (rule.scope == kx::ScopeKind::Stack)
        for (const char* name : subject.scopeNames)
            if (name != nullptr)
                texts.emplace_back(name);
    return std::any_of(texts.begin(), texts.end(),
                       [&](std::string_view text) { return rule.expression.Search(text); });
}

const PlainRule* NaiveFind(const std::vector<PlainRule>& rules, const kx::RuleSubject& subject)
{
    const PlainRule* best = nullptr;
    for (const PlainRule& rule : rules)
        if (NaiveCovers(rule, subject) && (best == nullptr || rule.sequence >= best->sequence))
            best = &rule;
    return best;
}

bool RefersBack(std::string_view expression)
{
    const auto refers = [](char first, char second) {
        return first == '\\' && second >= '0' && second <= '9';
    };
    return std::adjacent_find(expression.begin(), expression.end(), refers) != expression.end();
}

std::optional<PlainRule> RuleOf(const std::string& line, int value)
{
    fuzz::Input input(reinterpret_cast<const std::uint8_t*>(line.data()), line.size());
    PlainRule rule;
    rule.value = value;
    rule.scope = static_cast<kx::ScopeKind>(1 + input.Byte() % 3);
    const auto number = static_cast<std::int8_t>(input.Byte());
    rule.sequence = number < 0 ? kx::FileRuleSequence(static_cast<std::uint32_t>(-number)) : number;
    rule.first = input.Byte() * 8U;
    rule.last = input.Byte() * 8U;
    const std::string text = input.Rest<char>();
    rule.coversAll = text == ".*";
    std::optional<kx::Expr> expression = kx::Expr::Compile(text);
    if (!expression || RefersBack(text))
        return std::nullopt;
    rule.expression = *expression;
    return rule;
}

void CheckAll(const kx::RuleTable<int>& table, const std::vector<PlainRule>& rules)
{
    Require(table.Rules().size() == rules.size(), "another number of rules");
    bool asksStack = false;
    for (const PlainRule& rule : rules)
        asksStack |= rule.scope == kx::ScopeKind::Stack && !rule.coversAll;
    Require(table.HasStackRules() == asksStack, "whether the stack counts");
    for (const std::uint32_t level : {104U, 800U, 0xFFFFFFFFU})
        for (const char* className : kClasses)
            for (const char* file : kFiles)
                for (const std::size_t scopes : {std::size_t{0}, std::size(kScopes)}) {
                    char buffer[kx::kMaxFileBase];
                    const kx::RuleSubject subject{kx::FileBase(file, buffer), className,
                                                  std::span(kScopes).first(scopes), level};
                    const int* const found = table.Find(subject);
                    const PlainRule* const expected = NaiveFind(rules, subject);
                    Require((found == nullptr) == (expected == nullptr), "covered or not");
                    Require(found == nullptr || *found == expected->value, "another rule decides");
                }
}

void CheckFileBase(const std::string& path)
{
    char buffer[kx::kMaxFileBase];
    const std::string base(kx::FileBase(path, buffer));
    Require(base.find_first_of("/\\.ABCDEFGHIJKLMNOPQRSTUVWXYZ") == base.npos, "more than a base name");
    Require(base.size() <= kx::kMaxFileBase && base.size() <= path.size(), "longer than it may be");
    Require(kx::FileBase("C:\\d.x/" + path, buffer) == base, "the folder counts");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t mostRules = 5;
    fuzz::Input input(data, size);
    kx::RuleTable<int> table;
    std::vector<PlainRule> rules;
    while (!input.IsEmpty() && rules.size() < mostRules) {
        const std::string line = input.Line<char>();
        CheckFileBase(line);
        if (std::optional<PlainRule> rule = RuleOf(line, static_cast<int>(rules.size()))) {
            table.Add(rule->sequence, {rule->scope, {rule->first, rule->last, false}, rule->expression},
                      rule->value);
            rules.push_back(std::move(*rule));
        }
    }
    CheckAll(table, rules);
    table.RemoveFileRules();
    std::erase_if(rules, [](const PlainRule& rule) { return rule.sequence < 0; });
    CheckAll(table, rules);
    return 0;
}
