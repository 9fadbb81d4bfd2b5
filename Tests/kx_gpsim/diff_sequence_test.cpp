// What has moved between two sequences: as little as possible, and the same from both sides.

#include "Tools/kx_gpsim/sequence_diff.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <set>

namespace {

using std::string;

std::vector<kx::SequenceItem> ItemsOf(const string& before, const string& after)
{
    std::vector<kx::SequenceItem> items;
    for (const char each : before)
        items.push_back({after.find(each), string(1, each)});
    return items;
}

string MovedOf(const string& before, const string& after)
{
    string moved;
    for (const std::size_t index : kx::FindMoved(ItemsOf(before, after)))
        moved += before[index];
    std::sort(moved.begin(), moved.end());
    return moved;
}

// The longest common subsequence, by trying all of them.
std::size_t LongestBySearch(const string& before, const string& after)
{
    std::size_t longest = 0;
    for (unsigned mask = 0; mask < 1U << before.size(); ++mask) {
        string kept;
        for (std::size_t i = 0; i < before.size(); ++i)
            if ((mask >> i & 1U) != 0)
                kept += before[i];
        const bool inOrder = std::is_sorted(kept.begin(), kept.end(),
                                            [&](char a, char b) { return after.find(a) < after.find(b); });
        longest = std::max(longest, inOrder ? kept.size() : 0);
    }
    return longest;
}

TEST(FindMoved, NamesWhatMovedAndNotWhatItPassed)
{
    EXPECT_EQ(MovedOf("abcdef", "abcdef"), "");
    EXPECT_EQ(MovedOf("abcdef", "fabcde"), "f");
    EXPECT_EQ(MovedOf("abcdef", "bcdeaf"), "a");
    EXPECT_EQ(MovedOf("", ""), "");
    EXPECT_EQ(MovedOf("abc", "cba").size(), 2U);
}

TEST(FindMoved, IsLeastAndTheSameFromBothSides)
{
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        string before = "abcdefgh";
        before.resize(1 + random() % 8);
        string after = before;
        std::shuffle(after.begin(), after.end(), random);
        const string moved = MovedOf(before, after);
        EXPECT_EQ(before.size() - moved.size(), LongestBySearch(before, after)) << before << ' ' << after;
        EXPECT_EQ(moved, MovedOf(after, before)) << before << ' ' << after;
    }
}

} // namespace
