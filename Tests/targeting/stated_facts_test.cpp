// Whom a filter believes where facts are stated, and what a facts file may hold.

#include "Tests/targeting/ask_filter.h"

#include <gtest/gtest.h>

namespace {

using std::wstring;

// Of another user or computer this machine knows nothing, and does not answer in its place.
TEST(StatedFacts, WhoIsNamedDecidesWhomToAsk)
{
    const wchar_t* const variable = L"Variable variableName=site|value=north";
    const wchar_t* const file = L"File type=EXISTS|path=C:\\Tools\\a.exe";
    const wchar_t* const key = L"Registry type=KEYEXISTS|hive=HKEY_CURRENT_USER|key=Software\\Fernhill";
    const wchar_t* const group = L"Group sid=S-1-5-32-545|userContext=1";
    const wchar_t* const otherUser = L"user.name = FERNHILL\\Bert";
    const wchar_t* const otherPc = L"computer.name = PC-8";
    const FilterRow rows[] = {
        {__LINE__, Yes, L"User name=*\\bert", otherUser},
        {__LINE__, Yes, L"User name=FERNHILL\\Bert|sid=S-1-5-21-1-2-3-1001", otherUser},
        {__LINE__, No, L"User name=FERNHILL\\Anna|sid=S-1-5-21-1-2-3-1001", otherUser},
        {__LINE__, No, L"User sid=S-1-5-21-1-2-3-1001", L"user.sid = S-1-5-21-1-2-3-9"},
        {__LINE__, CannotTell, L"User name=*\\*", L"user.sid = S-1-5-21-1-2-3-9"},
        {__LINE__, CannotTell, L"Computer type=DNS|name=pc-7.example.net", otherPc},
        {__LINE__, Yes, L"Computer type=DNS|name=pc-7.example.net", L"computer.name = pc-7"},
        {__LINE__, Yes, group, L"user.name = fernhill\\anna\ncomputer.name = PC-8"},
        {__LINE__, CannotTell, group, otherUser},
        {__LINE__, Yes, variable, L"user.name = FERNHILL\\ANNA"},
        {__LINE__, CannotTell, variable, otherUser},
        {__LINE__, Yes, variable, L"computer.name = PC-8\nvariable.Site = NORTH"},
        {__LINE__, Yes, file, otherUser},
        {__LINE__, CannotTell, file, otherPc},
        {__LINE__, No, file, L"computer.name = PC-8\nabsent = c:\\tools\\A.EXE"},
        {__LINE__, Yes, L"File type=EXISTS|folder=1|path=D:\\x", L"folder = D:\\x"},
        {__LINE__, CannotTell, L"File type=VERSION|path=D:\\x|min=0.0.0.0|max=9.0.0.0|gte=1|lte=1",
         L"file = D:\\x"},
        {__LINE__, Yes, key},
        {__LINE__, CannotTell, key, otherUser},
    };
    ExpectAnswers(rows);
}

TEST(FactsFile, IsLinesOfKeysAndValues)
{
    const kx::FactsFile file =
        kx::ParseFacts(L"\xFEFF# who\r\n\r\n  user.name\t=  F\\a = b \r\nuser.group=\nuser.group = x");
    EXPECT_EQ(file.problem, L"");
    EXPECT_EQ(file.values.size(), 2U);
    EXPECT_EQ(file.Find(L"user.name")->front(), L"F\\a = b");
    EXPECT_EQ(*file.Find(L"user.group"), std::vector<wstring>{L"x"});
}

TEST(FactsFile, OneFaultMakesEverythingUnknown)
{
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"user.name", L"line 1: there is no = in it"},
        {L"# x\nuser.colour = red", L"line 2: [user.colour] is no fact that is known"},
        {L"variable. = x", L"line 1: [variable.] is no fact that is known"},
        {L"computer.freeGB.c = 1", L"line 1: [computer.freeGB.c] is no fact that is known"},
        {L"user.name = F\\a\n\nuser.name = F\\a", L"line 3: [user.name] is stated twice"},
        {L"user.name = Anna", L"line 1: [user.name] cannot be [Anna]"},
        {L"user.sid =", L"line 1: [user.sid] cannot be []"},
        {L"user.ou = Hall 2", L"line 1: [user.ou] cannot be [Hall 2]"},
        {L"computer.ip = 10.0.0.256", L"line 1: [computer.ip] cannot be [10.0.0.256]"},
        {L"computer.mac = 00-1-2-3-4-5", L"line 1: [computer.mac] cannot be [00-1-2-3-4-5]"},
        {L"computer.ramMB = 4294967296", L"line 1: [computer.ramMB] cannot be [4294967296]"},
        {L"computer.battery = 1", L"line 1: [computer.battery] cannot be [1]"},
        {L"processing = fast", L"line 1: [processing] cannot be [fast]"},
        {L"time = 2026-02-29T08:00", L"line 1: [time] cannot be [2026-02-29T08:00]"},
        {L"time = 2026-02-28T24:00", L"line 1: [time] cannot be [2026-02-28T24:00]"},
    };
    for (const auto& [text, problem] : rows) {
        const kx::FactsFile file = kx::ParseFacts(text);
        EXPECT_EQ(file.problem, problem);
        EXPECT_TRUE(file.values.empty());
    }
    for (const wchar_t* const filter : {L"FilterUser name=*\\*", L"FilterComputer type=NETBIOS|name=*",
                                        L"FilterVariable variableName=a", L"FilterProcMode slowLink=1"})
        EXPECT_EQ(Ask(filter, L"user.name = F\\a\nuser.nam = F\\b", FakeFacts()), CannotTell) << filter;
}

} // namespace
