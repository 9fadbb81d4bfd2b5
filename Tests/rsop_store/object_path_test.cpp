#include "Tools/rsop_store/object_path.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using kx::ObjectPath;
using Number = std::int64_t;
using Text = std::wstring;

/// A path that names an instance of A by these keys.
ObjectPath Keyed(decltype(ObjectPath::keys) keys)
{
    return {L"", L"", L"A", true, std::move(keys)};
}

struct Row {
    const char* why;
    std::wstring_view text;
    ObjectPath path;
    std::wstring_view composed; ///< empty: as `text`
};

const Row c_rows[] = {
    {"class", L"RSOP_GPO", {L"", L"", L"RSOP_GPO", false, {}}, L""},
    {"namespace of one part", L"root:__NAMESPACE", {L"", L"root", L"__NAMESPACE", false, {}}, L""},
    {"this machine", L"\\\\.\\root\\rsop:A.k=1", {L".", L"root\\rsop", L"A", true, {{L"k", Number{1}}}}, L""},
    {"slashes", L"//pc/ROOT/r\\c:A", {L"pc", L"ROOT\\r\\c", L"A", false, {}}, L"\\\\pc\\ROOT\\r\\c:A"},
    {"keys as ordered", L"A.z=\"1\",a=5,M=-9223372036854775808",
     Keyed({{L"z", Text(L"1")}, {L"a", Number{5}}, {L"M", (std::numeric_limits<Number>::min)()}}), L""},
    {"the only one of its class", L"A=@", Keyed({}), L""},
    {"escapes", L"A.k=\"c:\\\\x\\\\\",m=\"\\\"\"", Keyed({{L"k", Text(L"c:\\x\\")}, {L"m", Text(L"\"")}}),
     L""},
    {"single quotes, needless escapes", L"A.k='it\\'s \\n'", Keyed({{L"k", Text(L"it's n")}}),
     L"A.k=\"it's n\""},
    {"truth values", L"A.a=true,b=FALSE", Keyed({{L"a", Number{1}}, {L"b", Number{0}}}), L"A.a=1,b=0"},
    {"number with zeros before it", L"A.k=+007", Keyed({{L"k", Number{7}}}), L"A.k=7"},
    {"beyond ASCII",
     L"root\\\u00E4:\u540D.\u00DF=\"\u20AC\"",
     {L"", L"root\\\u00E4", L"\u540D", true, {{L"\u00DF", Text(L"\u20AC")}}},
     L""},
};

const std::pair<const char*, std::vector<std::wstring_view>> c_refused[] = {
    {"nothing, a namespace alone", {L"", L"\\\\.\\root\\cimv2", L"root\\cimv2"}},
    {"no class or no namespace", {L"\\\\pc\\root:", L":A", L"\\\\pc:A", L"\\\\pc\\:A"}},
    {"separators too many", {L"\\\\\\root:A", L"\\root:A", L"root\\\\rsop:A", L"root\\:A", L"root:rsop:A"}},
    {"no name of a class", {L"3A", L"A-B"}},
    {"blanks", {L" A", L"A ", L"A.k = 1"}},
    {"keys left out", {L"A.", L"A.k", L"A.k=", L"A.k=1,", L"A.k=\"a\"m=1"}},
    {"a second one without a name, one twice", {L"A=\"x\",k=1", L"A.k=1,m=2,K=3"}},
    {"no number", {L"A.k=x", L"A.k=9223372036854775808", L"A.k=18446744073709551617"}},
    {"texts without an end", {L"A.k=\"x", L"A.k=\"x\\\""}},
    {"something after it", {L"A.k=\"x\"y", L"A=@5", std::wstring_view(L"A\0", 2)}},
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
    for (const auto& [why, texts] : c_refused)
        for (const std::wstring_view text : texts) {
            SCOPED_TRACE(why + (" " + testing::PrintToString(text)));
            ObjectPath path = kept;
            EXPECT_FALSE(kx::ParseObjectPath(text, path));
            EXPECT_EQ(path, kept);
        }
}
