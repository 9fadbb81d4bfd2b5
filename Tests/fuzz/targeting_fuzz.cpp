// libFuzzer target: item-level targeting. Lines of the input up to an empty one state facts; each line after
// it is a filter, written "depth+Name attribute=value|attribute=value" with one letter a depth; the last line
// is also a pattern and a text with variables. The tree is decided as its filters are one by one, facts come
// back from what they are written as, and patterns and variables mean what their words say.
//
//   targeting_fuzz -max_len=512 -dict=targeting.dict
#include "Tests/fuzz/fuzz_input.h"
#include "Tests/targeting/fake_facts.h"
#include "Tools/targeting/item_decision.h"
#include "Tools/targeting/name_pattern.h"
#include "Tools/targeting/stated_facts.h"
#include "Tools/targeting/variable_text.h"

#include <span>

namespace {

using fuzz::Require;
using Elements = std::vector<kx::FilterElement>;

constexpr std::size_t kMostElements = 24;

kx::FilterElement ElementOf(const std::wstring& line, std::size_t deepest)
{
    kx::FilterElement element;
    element.depth = line.empty() ? 0 : std::min<std::size_t>(static_cast<std::size_t>(line[0]) % 8, deepest);
    const std::size_t blank = std::min(line.find(L' '), line.size());
    element.name = line.substr(std::min<std::size_t>(1, blank), blank - std::min<std::size_t>(1, blank));
    for (std::size_t at = blank + 1; at < line.size();) {
        const std::size_t end = std::min(line.find(L'|', at), line.size());
        const std::wstring one = line.substr(at, end - at);
        const std::size_t equals = std::min(one.find(L'='), one.size());
        element.attributes.push_back({one.substr(0, equals), one.substr(std::min(equals + 1, one.size()))});
        at = end + 1;
    }
    return element;
}

bool Is(const kx::FilterElement& element, std::wstring_view attribute, std::wstring_view value)
{
    return element.Value(attribute) == value;
}

// The members of one collection, from `at` on, each decided alone.
bool NaiveTree(const Elements& elements, std::size_t& at, std::size_t depth, const kx::TargetingFacts& facts)
{
    bool result = true;
    bool isFirst = true;
    while (at < elements.size() && elements[at].depth == depth) {
        kx::FilterElement member = elements[at++];
        bool matches = false;
        if (member.name == L"FilterCollection") {
            matches = NaiveTree(elements, at, depth + 1, facts) != Is(member, L"not", L"1");
        } else {
            member.depth = 0;
            matches = kx::DecideItem(std::span(&member, 1), facts).passes;
        }
        const bool joinsOr = Is(member, L"bool", L"OR");
        result = isFirst ? matches : joinsOr ? result || matches : result && matches;
        isFirst = false;
    }
    return result;
}

void CheckTree(const Elements& elements, const kx::TargetingFacts& facts)
{
    const kx::ItemDecision decision = kx::DecideItem(elements, facts);
    if (!decision.findings.empty()) {
        Require(decision.passes, "an item is kept back though nobody understands it");
        Require(decision.findings.size() <= elements.size(), "more findings than filters");
        return;
    }
    std::size_t at = 0;
    Require(decision.passes == NaiveTree(elements, at, 0, facts), "another decision");
    Require(at == elements.size(), "a filter that the tree does not reach");

    // All of it in a collection that is negated is the opposite.
    Elements negated{{0, L"FilterCollection", {{L"not", L"1"}}}};
    for (kx::FilterElement element : elements) {
        ++element.depth;
        negated.push_back(std::move(element));
    }
    Require(elements.empty() || kx::DecideItem(negated, facts).passes != decision.passes, "not is not not");
}

void CheckFacts(const kx::FactsFile& facts)
{
    Require(facts.problem.empty() || facts.values.empty(), "facts of a file that is not understood");
    std::wstring text = L"\uFEFF# written again\r\n";
    for (const auto& [key, values] : facts.values) {
        if (values.empty())
            text.append(key).append(L" =\r\n");
        for (const std::wstring& value : values)
            text.append(L"\t").append(key).append(L" = ").append(value).append(L"\n\n");
    }
    const kx::FactsFile again = kx::ParseFacts(text);
    Require(again.problem.empty() && again.values == facts.values, "other facts are read again");
}

bool NaiveMatch(std::wstring_view name, std::wstring_view pattern)
{
    std::vector<bool> reached(name.size() + 1, false); // which beginnings of the name fit so far
    reached[0] = true;
    for (const wchar_t unit : pattern) {
        std::vector<bool> next(name.size() + 1, false);
        bool before = false;
        for (std::size_t i = 0; i <= name.size(); ++i) {
            before = before || reached[i];
            next[i] =
                unit == L'*' ? before : i > 0 && reached[i - 1] && (unit == L'?' || unit == name[i - 1]);
        }
        reached = next;
    }
    return reached.back();
}

void CheckPattern(const std::wstring& line)
{
    const std::size_t split = line.size() / 2;
    const std::wstring_view name = std::wstring_view(line).substr(0, split);
    const std::wstring_view pattern = std::wstring_view(line).substr(split);
    if (line.size() <= 200)
        Require(kx::MatchesPattern(name, pattern) == NaiveMatch(name, pattern), "another match");
    Require(kx::MatchesPattern(name, std::wstring(L"*").append(name).append(L"*")), "not part of itself");
}

void CheckVariables(const std::wstring& text, const kx::TargetingFacts& facts)
{
    // From the left: a name between two signs; two signs side by side are text.
    std::wstring expected;
    std::wstring unknown;
    bool any = false;
    for (std::size_t at = 0; at < text.size() && unknown.empty();) {
        const std::size_t end = text[at] == L'%' ? text.find(L'%', at + 1) : std::wstring::npos;
        if (end == std::wstring::npos) {
            expected += text[at++];
        } else if (end == at + 1) {
            expected += L"%%";
            at += 2;
        } else {
            any = true;
            const std::wstring name = text.substr(at + 1, end - at - 1);
            const kx::VariableFact fact = facts.Variable(name);
            if (fact.state != kx::VariableFact::State::Set)
                unknown = name;
            expected += fact.value;
            at = end + 1;
        }
    }
    const kx::ExpandedText expanded = kx::ExpandVariables(text, facts);
    Require(kx::HasVariables(text) == any, "a variable is overlooked, or seen where there is none");
    Require(expanded.unknown == unknown, "another unknown variable");
    Require(!unknown.empty() || expanded.text == expected, "another text with its variables replaced");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const FakeFacts machine;
    fuzz::Input input(data, size);
    std::wstring stated;
    std::wstring line;
    for (line = input.Line<wchar_t>(); !line.empty(); line = input.Line<wchar_t>())
        stated.append(line).append(L"\n");
    Elements elements;
    while (!input.IsEmpty() && elements.size() < kMostElements) {
        line = input.Line<wchar_t>();
        elements.push_back(ElementOf(line, elements.empty() ? 0 : elements.back().depth + 1));
    }

    const kx::FactsFile file = kx::ParseFacts(stated);
    CheckFacts(file);
    const kx::StatedFacts facts(file, machine);
    CheckTree(elements, facts);
    CheckPattern(line);
    CheckVariables(line, facts);
    return 0;
}
