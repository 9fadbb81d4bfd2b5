// The targeting stand-in's pure parts: joining filters, names, versions, variables, and deciding an item.

#include "Tests/targeting/fake_facts.h"
#include "Tools/targeting/filter_tree.h"
#include "Tools/targeting/item_decision.h"
#include "Tools/targeting/name_pattern.h"
#include "Tools/targeting/variable_text.h"

#include <gtest/gtest.h>

namespace {

using std::wstring;

/// Reads a tree such as "T&!F|(F|T)": T and F are filters, joined as written, parentheses are collections.
std::vector<kx::FilterNode> Tree(std::string_view text)
{
    std::vector<kx::FilterNode> nodes;
    kx::FilterNode next;
    for (const char character : text) {
        if (character == '!') {
            next.negated = true;
        } else if (character == '&' || character == '|') {
            next.join = character == '&' ? kx::FilterJoin::And : kx::FilterJoin::Or;
        } else if (character == ')') {
            --next.depth;
        } else {
            next.isCollection = character == '(';
            next.matches = character == 'T';
            nodes.push_back(next);
            next = {next.depth + (next.isCollection ? 1 : 0)};
        }
    }
    return nodes;
}

using Attributes = std::vector<kx::FilterAttribute>;

TEST(FilterTree, JoinsFromLeftToRight)
{
    const std::tuple<const char*, const char*, bool> rows[] = {
        {"no filters", "", true},
        {"and", "T&F", false},
        {"or", "F|T", true},
        {"and does not bind stronger", "T|T&F", false},
        {"the first one's OR has no meaning", "|F&T", false},
        {"not belongs to one filter", "!F&T", true},
        {"a collection changes the order", "T|(T&F)", true},
        {"a collection's first OR has no meaning", "T&(|F)", false},
        {"not belongs to the whole collection", "!(T&F)", true},
        {"not of a collection, not of a member", "!(!T|T)", false},
        {"what follows a collection joins outside", "(F)|T", true},
        {"two levels close at once", "((F))|T", true},
        {"inner first", "F|(T&(F|!(F)))&T", true},
    };
    for (const auto& [why, tree, expected] : rows)
        EXPECT_EQ(kx::EvaluateTree(Tree(tree)), expected) << why << ": " << tree;
}

TEST(NamePattern, WildcardsTakeWhatTheyCan)
{
    const std::tuple<const wchar_t*, const wchar_t*, bool> rows[] = {
        {L"PC-7", L"PC", false},     {L"PC-7", L"PC-?", true}, {L"PC-", L"PC-?", false},
        {L"", L"*", true},           {L"PC-7", L"", false},    {L"PC-77", L"*7", true},
        {L"aXbXc", L"a*b*d", false}, {L"a*b", L"a*b", true},   {L"abcabd", L"*abd", true},
    };
    for (const auto& [name, pattern, expected] : rows)
        EXPECT_EQ(kx::MatchesPattern(name, pattern), expected)
            << testing::PrintToString(name) << " as " << testing::PrintToString(pattern);
    const wstring name(3000, L'a');
    EXPECT_FALSE(kx::MatchesPattern(name, L"*a*a*a*a*a*a*a*a*a*a*b")) << "in time";
}

TEST(FileVersion, IsFourNumbers)
{
    for (const wchar_t* text : {L"", L"1.2.3", L"1.2.3.4.5", L"1.2.3.", L".2.3.4", L"1.2..4", L"1.2.3.65536",
                                L"1.2.3.-4", L"1.2.3.4 ", L"1,2,3,4", L"1.2.3.000001"})
        EXPECT_EQ(kx::ParseFileVersion(text), std::nullopt) << testing::PrintToString(text);
    EXPECT_EQ(kx::ParseFileVersion(L"0.10.65535.00007"), (kx::FileVersion{0, 10, 65535, 7}));
}

TEST(VariableText, ReplacesWhatIsSetOnce)
{
    EXPECT_EQ(kx::ExpandVariables(L"%%%Site%/%PCT% 100%", FakeFacts()).text, L"%%North/%SITE% 100%");
}

// One filter that is not known, deep in a tree that says no.
TEST(ItemDecision, WhatIsNotKnownLetsTheWholeItemThrough)
{
    const Attributes no = {{L"variableName", L"SITE"}, {L"value", L"South"}};
    std::vector<kx::FilterElement> elements = {
        {0, L"FilterVariable", no}, {0, L"FilterCollection", {{L"bool", L"AND"}, {L"name", L"inner"}}},
        {1, L"FilterVariable", no}, {1, L"FilterCollection", {{L"bool", L"AND"}, {L"not", L"1"}}},
        {2, L"FilterVariable", no},
    };
    const FakeFacts facts;
    EXPECT_FALSE(kx::DecideItem(elements, facts).passes);
    elements.push_back({3, L"FilterVariable", no}); // a filter inside one that is no collection
    EXPECT_TRUE(kx::DecideItem(elements, facts).passes);
    elements.pop_back();
    elements.push_back({2, L"FilterDun", {{L"bool", L"AND"}}});
    elements.push_back({0, L"FilterMoon", {}});
    const kx::ItemDecision decision = kx::DecideItem(elements, facts);
    EXPECT_TRUE(decision.passes);
    EXPECT_EQ(decision.findings, (std::vector<wstring>{L"FilterDun: a filter that is not known",
                                                       L"FilterMoon: a filter that is not known"}));
}

} // namespace
