#include "Tools/rsop_store/object_path.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using kx::ObjectPath;
using Number = std::int64_t;
using Text = std::wstring;

struct Row {
    const char* why;
    std::wstring_view text;
    ObjectPath path;
    std::wstring_view composed; ///< empty: as `text`
};

const Row c_rows[] = {
    {"class", L"RSOP_GPO", {L"", L"", L"RSOP_GPO", false, {}}, L""},
    {"class of a namespace", L"root\\rsop:A", {L"", L"root\\rsop", L"A", false, {}}, L""},
    {"namespace of one part", L"root:__NAMESPACE", {L"", L"root", L"__NAMESPACE", false, {}}, L""},
    {"class of a machine", L"\\\\pc-1.lab\\root\\rsop:A", {L"pc-1.lab", L"root\\rsop", L"A", false, {}}, L""},
    {"this machine", L"\\\\.\\root\\rsop:A.k=1", {L".", L"root\\rsop", L"A", true, {{L"k", Number{1}}}}, L""},
    {"slashes",
     L"//pc/ROOT/rsop\\computer:A",
     {L"pc", L"ROOT\\rsop\\computer", L"A", false, {}},
     L"\\\\pc\\ROOT\\rsop\\computer:A"},
    {"part of a namespace with a digit first", L"root\\7x:A", {L"", L"root\\7x", L"A", false, {}}, L""},
    {"single quotes", L"A.Name='x'", {L"", L"", L"A", true, {{L"Name", Text(L"x")}}}, L"A.Name=\"x\""},
    {"keys as ordered",
     L"A.z=\"1\",a=5,M=-9223372036854775808",
     {L"",
      L"",
      L"A",
      true,
      {{L"z", Text(L"1")}, {L"a", Number{5}}, {L"M", (std::numeric_limits<Number>::min)()}}},
     L""},
    {"key without a name", L"A=\"x\"", {L"", L"", L"A", true, {{L"", Text(L"x")}}}, L""},
    {"number without a name", L"root:A=-5", {L"", L"root", L"A", true, {{L"", Number{-5}}}}, L""},
    {"the only one of its class", L"A=@", {L"", L"", L"A", true, {}}, L""},
    {"escapes",
     L"A.k=\"c:\\\\x\\\\\",m=\"\\\"\"",
     {L"", L"", L"A", true, {{L"k", Text(L"c:\\x\\")}, {L"m", Text(L"\"")}}},
     L""},
    {"escapes that are not needed",
     L"A.k='it\\'s \\n'",
     {L"", L"", L"A", true, {{L"k", Text(L"it's n")}}},
     L"A.k=\"it's n\""},
    {"signs of a path inside a text",
     L"A.k=\"\\\\\\\\pc\\\\root:B.x=1,y=2\"",
     {L"", L"", L"A", true, {{L"k", Text(L"\\\\pc\\root:B.x=1,y=2")}}},
     L""},
    {"colon in a text is no namespace's end",
     L"A.k='b:C'",
     {L"", L"", L"A", true, {{L"k", Text(L"b:C")}}},
     L"A.k=\"b:C\""},
    {"truth values",
     L"A.a=true,b=FALSE",
     {L"", L"", L"A", true, {{L"a", Number{1}}, {L"b", Number{0}}}},
     L"A.a=1,b=0"},
    {"empty text", L"A.k=\"\"", {L"", L"", L"A", true, {{L"k", Text()}}}, L""},
    {"number with zeros before it", L"A.k=+007", {L"", L"", L"A", true, {{L"k", Number{7}}}}, L"A.k=7"},
    {"characters beyond ASCII",
     L"root\\\u00E4:\u540D.\u00DF=\"\u20AC\"",
     {L"", L"root\\\u00E4", L"\u540D", true, {{L"\u00DF", Text(L"\u20AC")}}},
     L""},
};

struct Refused {
    const char* why;
    std::wstring_view text;
};

const Refused c_refused[] = {
    {"nothing", L""},
    {"namespace of this machine alone", L"\\\\.\\root\\cimv2"},
    {"namespace alone", L"root\\cimv2"},
    {"no class", L"\\\\pc\\root:"},
    {"no namespace", L":A"},
    {"machine without namespace", L"\\\\pc:A"},
    {"machine with empty namespace", L"\\\\pc\\:A"},
    {"empty machine", L"\\\\\\root:A"},
    {"one separator first", L"\\root:A"},
    {"empty part of a namespace", L"root\\\\rsop:A"},
    {"separator before the colon", L"root\\:A"},
    {"two namespaces", L"root:rsop:A"},
    {"class with a digit first", L"3A"},
    {"class with a sign", L"A-B"},
    {"blank before", L" A"},
    {"blank after", L"A "},
    {"blank between", L"A.k = 1"},
    {"point without keys", L"A."},
    {"key without a value", L"A.k"},
    {"no value", L"A.k="},
    {"comma without a key", L"A.k=1,"},
    {"no comma", L"A.k=\"a\"m=1"},
    {"second value without a name", L"A=\"x\",k=1"},
    {"same key twice", L"A.k=1,m=2,K=3"},
    {"value without quotes", L"A.k=x"},
    {"number too high", L"A.k=9223372036854775808"},
    {"number that wraps", L"A.k=18446744073709551617"},
    {"text without end", L"A.k=\"x"},
    {"closing quote escaped", L"A.k=\"x\\\""},
    {"something after a text", L"A.k=\"x\"y"},
    {"something after the only one", L"A=@5"},
    {"NUL after the end", std::wstring_view(L"A\0", 2)},
};

} // namespace

TEST(ObjectPath, ReadsAndComposes)
{
    for (const Row& row : c_rows) {
        ObjectPath path{L"old", L"old", L"old", true, {{L"old", Number{1}}}}; // all of it is replaced
        EXPECT_TRUE(kx::ParseObjectPath(row.text, path)) << row.why;
        EXPECT_EQ(path, row.path) << row.why;
        EXPECT_EQ(kx::ComposeObjectPath(row.path), row.composed.empty() ? row.text : row.composed) << row.why;
    }
}

TEST(ObjectPath, RelativePathLeavesOutThePlace)
{
    const ObjectPath path{L"pc", L"root", L"A", true, {{L"k", Text(L"\\")}, {L"n", Number{5}}}};
    EXPECT_EQ(kx::ComposeRelativePath(path), L"A.k=\"\\\\\",n=5");
}

TEST(ObjectPath, HasAtMostAsManyKeysAsAClass)
{
    ObjectPath path{L"", L"", L"A", true, {}};
    for (int i = 0; i < 256; ++i)
        path.keys.emplace_back(L"k" + std::to_wstring(i), Number{i});
    ObjectPath again;
    EXPECT_TRUE(kx::ParseObjectPath(kx::ComposeObjectPath(path), again));
    EXPECT_EQ(again, path);
    path.keys.emplace_back(L"more", Number{1});
    EXPECT_FALSE(kx::ParseObjectPath(kx::ComposeObjectPath(path), again));
}

TEST(ObjectPath, RefusesWhatIsNoObjectAndKeepsThePath)
{
    const ObjectPath kept{L"s", L"n", L"C", true, {{L"k", Number{1}}}};
    for (const Refused& row : c_refused) {
        ObjectPath path = kept;
        EXPECT_FALSE(kx::ParseObjectPath(row.text, path)) << row.why;
        EXPECT_EQ(path, kept) << row.why;
    }
}
