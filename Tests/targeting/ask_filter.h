// One filter asked over stated facts and a machine.
#pragma once

#include "Tests/targeting/fake_facts.h"
#include "Tools/targeting/item_decision.h"
#include "Tools/targeting/stated_facts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <string>
#include <string_view>

enum Answer { Yes, No, CannotTell };

/// One filter, written "FilterName attribute=value|attribute=value".
inline kx::FilterElement Filter(std::wstring_view text)
{
    kx::FilterElement filter;
    const std::size_t split = std::min(text.find(L' '), text.size());
    filter.name = text.substr(0, split);
    text.remove_prefix(std::min(split + 1, text.size()));
    while (!text.empty()) {
        const std::wstring_view one = text.substr(0, text.find(L'|'));
        const std::size_t equals = one.find(L'=');
        filter.attributes.push_back(
            {std::wstring(one.substr(0, equals)), std::wstring(one.substr(equals + 1))});
        text.remove_prefix(std::min(one.size() + 1, text.size()));
    }
    return filter;
}

/// What the filter answers over a facts file and a machine.
inline Answer Ask(std::wstring_view filter, std::wstring_view stated, const FakeFacts& machine)
{
    const kx::FactsFile file = kx::ParseFacts(stated);
    const kx::StatedFacts facts(file, machine);
    const kx::FilterElement element = Filter(filter);
    const kx::ItemDecision decision = kx::DecideItem(std::span(&element, 1), facts);
    if (!decision.findings.empty())
        return CannotTell;
    return decision.passes ? Yes : No;
}

struct FilterRow {
    int line;
    Answer expected;
    const wchar_t* filter; ///< without the "Filter" that each name begins with
    const wchar_t* stated = L"";
};

/// Asks the filter, and asks it negated.
inline void ExpectAnswer(int line, const std::wstring& filter, const std::wstring& stated,
                         const FakeFacts& machine, Answer expected)
{
    const std::wstring whole = L"Filter" + filter;
    EXPECT_EQ(kx::ParseFacts(stated).problem, L"") << "line " << line;
    EXPECT_EQ(Ask(whole, stated, machine), expected) << "line " << line;
    const wchar_t* const negation = whole.find(L' ') == std::wstring::npos ? L" not=1" : L"|not=1";
    const Answer other = expected == Yes ? No : expected == No ? Yes : CannotTell;
    EXPECT_EQ(Ask(whole + negation, stated, machine), other) << "negated, line " << line;
}

inline void ExpectAnswers(std::span<const FilterRow> rows, const FakeFacts& machine = FakeFacts())
{
    for (const FilterRow& row : rows)
        ExpectAnswer(row.line, row.filter, row.stated, machine, row.expected);
}
