// Facts as JSON: the lines that they become, and what is refused with its place.

#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/facts_json.h"
#include "Tools/targeting/facts_file.h"

#include <gtest/gtest.h>

namespace {

using std::string;

TEST(FactsJson, BecomesLines)
{
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"nothing", "{}", ""},
        {"names may be joined already", R"({"user.ou": "OU=a,DC=b"})", "user.ou = OU=a,DC=b\n"},
        {"an array: a line an item, in its order", R"({"user": {"group": ["F\\z", "S-1-5-9", "F\\a"]}})",
         "user.group = F\\z\nuser.group = S-1-5-9\nuser.group = F\\a\n"},
        {"an empty array: there is none", R"({"computer": {"ip": []}})", "computer.ip =\n"},
        {"booleans", R"({"computer": {"battery": true, "pcCard": false}})",
         "computer.battery = yes\ncomputer.pcCard = no\n"},
        {"numbers", R"({"language": {"user": 1031}, "computer": {"freeGB": {"C": 0}}})",
         "computer.freeGB.C = 0\nlanguage.user = 1031\n"},
        {"variables: any name, any text, even none",
         R"({"variable": {"A.B": "= x", "Path": "C:\\a;#b", "E": ""}})",
         "variable.A.B = = x\nvariable.E = \nvariable.Path = C:\\a;#b\n"},
        {"a key that begins others is one itself", R"({"file": ["C:\\K\u00E4se.exe"]})",
         "file = C:\\K\xC3\xA4se.exe\n"},
        {"comments, and the mark of UTF-8", "\xEF\xBB\xBF{ // who\n\"time\": \"2026-10-31T08:30\" }",
         "time = 2026-10-31T08:30\n"},
    };
    for (const auto& [why, json, expected] : rows) {
        const string lines = kx::FactsText(json, "f.json");
        EXPECT_EQ(lines, expected) << why;
        EXPECT_EQ(kx::ParseFacts(std::wstring(lines.begin(), lines.end())).problem, L"") << why;
    }
}

TEST(FactsJson, WhatIsRefusedIsNamed)
{
    const std::pair<const char*, const char*> rows[] = {
        {"{", "no JSON at line 1, column 1"},
        {R"({"computer": {"ramMB": 1e999}})", "a number in it is too large"},
        {"[]", "it is not a JSON object"},
        {R"({"usr": {}})", "/usr is no fact that is known"},
        {R"({"variable": {"": "x"}})", "/variable/ is no fact that is known"},
        {R"({"computer": {"freeGB": {"c": 1}}})", "/computer/freeGB/c is no fact that is known"},
        {R"({"computer": {"freeGB": 80}})", "/computer/freeGB is not an object"},
        {R"({"user": {"name": ["F\\a"]}})", "/user/name is one value, not a list"},
        {R"({"user": {"group": ["F\\a", 7]}})", "/user/group/1 is not a text"},
        {R"({"user": {"group": ["F\\a", ""]}})", "/user/group/1 cannot be \"\""},
        {R"({"computer": {"ramMB": 8192.5}})", "/computer/ramMB is not a whole number"},
        {R"({"computer": {"ramMB": 4294967296}})", "/computer/ramMB cannot be \"4294967296\""},
        {R"({"computer": {"battery": "yes"}})", "/computer/battery is neither true nor false"},
        {R"({"computer": {"ip": ["10.0.0.1", "10.0.0.256"]}})", "/computer/ip/1 cannot be \"10.0.0.256\""},
        {R"({"computer": {"site": "North\nuser.sid = S-1-5-18"}})",
         "/computer/site cannot be \"North\xE2\x90\x8Auser.sid = S-1-5-18\""},
        {R"({"variable": {"A = B": "x"}})", "/variable/A = B cannot be \"x\""},
        {R"({"user": {"group": "F\\a", "group": "F\\b"}})",
         "group stands twice in one object; a list has brackets"},
        {R"({"user.name": "F\\a", "user": {"name": "F\\b"}})",
         "/user.name is stated already, in another form"},
    };
    for (const auto& [json, expected] : rows)
        try {
            ADD_FAILURE() << json << " became " << kx::FactsText(json, "f.json");
        } catch (const kx::UsageError& error) {
            EXPECT_EQ(error.what(), string("f.json: ") + expected) << json;
        }
    EXPECT_THROW(
        (void)kx::FactsText(R"({"variable": {"X": ")" + string(kx::kMostFactsBytes, 'x') + "\"}}", "f.json"),
        kx::UsageError)
        << "more than the stand-in reads";
}

} // namespace
