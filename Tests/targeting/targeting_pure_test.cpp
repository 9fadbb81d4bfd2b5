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
    const struct {
        const char* why;
        const char* tree;
        bool expected;
    } rows[] = {
        {"no filters", "", true},
        {"one", "F", false},
        {"and", "T&F", false},
        {"or", "F|T", true},
        {"and does not bind stronger", "T|T&F", false},
        {"what was false can become true", "F&T|T", true},
        {"what was true can become false", "F|T&F", false},
        {"the first one's OR has no meaning", "|F&T", false},
        {"not belongs to one filter", "!F&T", true},
        {"not after and", "T&!T", false},
        {"a collection changes the order", "T|(T&F)", true},
        {"a collection's first OR has no meaning", "T&(|F)", false},
        {"not belongs to the whole collection", "!(T&F)", true},
        {"not of a collection, not of a member", "!(!T|T)", false},
        {"what follows a collection joins outside", "(F)|T", true},
        {"collections side by side", "(F|T)&(T&F)", false},
        {"two levels close at once", "((F))|T", true},
        {"negations at each level", "!(!(!(T)))", false},
        {"inner first", "F|(T&(F|!(F)))&T", true},
    };

    for (const auto& row : rows)
        EXPECT_EQ(kx::EvaluateTree(Tree(row.tree)), row.expected) << row.why << ": " << row.tree;
}

TEST(FilterTree, DepthCostsNoStack)
{
    constexpr std::size_t depth = 300001; // an odd number of negations
    std::string tree;
    for (std::size_t i = 0; i < depth; ++i)
        tree += "!(";
    EXPECT_FALSE(kx::EvaluateTree(Tree(tree + "T")));
}

TEST(NamePattern, WildcardsTakeWhatTheyCan)
{
    const struct {
        const wchar_t* name;
        const wchar_t* pattern;
        bool expected;
    } rows[] = {
        {L"PC-7", L"PC-7", true},  {L"PC-7", L"PC", false},    {L"PC-7", L"pc-7", false},
        {L"PC-7", L"PC-?", true},  {L"PC-", L"PC-?", false},   {L"PC-7", L"*", true},
        {L"", L"*", true},         {L"", L"?", false},         {L"", L"", true},
        {L"PC-7", L"", false},     {L"PC-7", L"*7", true},     {L"PC-77", L"*7", true},
        {L"PC-7", L"P**7*", true}, {L"abcabd", L"*abd", true}, {L"aXbXc", L"a*b*d", false},
        {L"a*b", L"a*b", true},    {L"abab", L"*ab?", false},  {L"mississippi", L"m*iss*pi", true},
    };

    for (const auto& row : rows)
        EXPECT_EQ(kx::MatchesPattern(row.name, row.pattern), row.expected)
            << testing::PrintToString(row.name) << " as " << testing::PrintToString(row.pattern);
    const wstring name(3000, L'a');
    EXPECT_FALSE(kx::MatchesPattern(name, L"*a*a*a*a*a*a*a*a*a*a*b")) << "in time";
}

TEST(FileVersion, IsFourNumbersInOrderOfWeight)
{
    for (const wchar_t* text : {L"", L"1", L"1.2.3", L"1.2.3.4.5", L"1.2.3.", L".2.3.4", L"1.2..4",
                                L"1.2.3.65536", L"1.2.3.-4", L"1.2.3.4 ", L"1,2,3,4", L"1.2.3.000001"})
        EXPECT_EQ(kx::ParseFileVersion(text), std::nullopt) << testing::PrintToString(text);
    EXPECT_EQ(kx::ParseFileVersion(L"0.10.65535.00007"), (kx::FileVersion{0, 10, 65535, 7}));

    const struct {
        kx::FileVersion version;
        bool withEnds, withoutEnds;
    } rows[] = {
        {{1, 9, 0, 0}, false, false}, {{1, 10, 0, 0}, true, false}, {{1, 10, 0, 1}, true, true},
        {{2, 0, 0, 0}, true, false},  {{2, 0, 0, 1}, false, false},
    };

    for (const auto& row : rows) {
        kx::VersionRange range{{1, 10, 0, 0}, {2, 0, 0, 0}, true, true};
        EXPECT_EQ(range.Holds(row.version), row.withEnds) << testing::PrintToString(row.version);
        range.withLowest = range.withHighest = false;
        EXPECT_EQ(range.Holds(row.version), row.withoutEnds) << testing::PrintToString(row.version);
    }
}

TEST(VariableText, ReplacesWhatIsSet)
{
    const FakeFacts facts;
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"%Site%/%site%", L"North/North"},
        {L"100%", L"100%"},
        {L"%%%SITE%", L"%%North"},
        {L"%PCT%", L"%SITE%"}, // not looked through again
    };
    for (const auto& [text, expected] : rows)
        EXPECT_EQ(kx::ExpandVariables(text, facts).text, expected);
    EXPECT_EQ(kx::ExpandVariables(L"%SITE%%NONE%", facts).unknown, L"NONE");
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
