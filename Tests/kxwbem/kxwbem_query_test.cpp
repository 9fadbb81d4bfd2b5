#include "Common_CPP/kxwbem/kxwbem_query.h"

#include <gtest/gtest.h>

#include <vector>

TEST(WbemSelectQuery, JoinsConditionsAndRefusesNamelessOnes)
{
    const struct {
        const char* name;
        std::vector<WbemCondition> conditions;
        const wchar_t* text;
        int refused; ///< -1: none
    } rows[] = {
        {"none", {}, L"SELECT * from C", -1},
        {"one", {{L"id", L"7"}}, L"SELECT * from C WHERE id='7'", -1},
        {"three",
         {{L"id", L"7"}, {L"name", L"n"}, {L"GPOID", L"g"}},
         L"SELECT * from C WHERE id='7' AND name='n' AND GPOID='g'",
         -1},
        {"null value", {{L"id", nullptr}}, L"SELECT * from C WHERE id=''", -1},
        {"value that would end its text",
         {{L"id", LR"(it's "\")"}},
         LR"(SELECT * from C WHERE id='it\'s \"\\\"')",
         -1},
        {"null name first", {{nullptr, L"7"}}, L"SELECT * from C", 0},
        {"empty name later",
         {{L"id", L"7"}, {L"", L"8"}, {L"name", L"n"}},
         L"SELECT * from C WHERE id='7'",
         1},
    };

    for (const auto& row : rows) {
        CkxWbemSelectQuery query(L"SELECT * from C");
        std::size_t refused = 99;
        EXPECT_EQ(query.AddWhereConditions(row.conditions, &refused), row.refused < 0) << row.name;
        EXPECT_EQ(refused, row.refused < 0 ? 99U : static_cast<std::size_t>(row.refused)) << row.name;
        EXPECT_EQ(query.Text(), row.text) << row.name;
    }
}

TEST(WbemSelectQuery, GoesOnWhereAnEarlierCallEnded)
{
    CkxWbemSelectQuery query(L"Q");
    const WbemCondition first[] = {{L"a", L"1"}};
    const WbemCondition second[] = {{L"b", L"2"}};
    EXPECT_TRUE(query.AddWhereConditions(first));
    EXPECT_TRUE(query.AddWhereConditions(second));
    EXPECT_EQ(query.Text(), L"Q WHERE a='1' AND b='2'");
}
