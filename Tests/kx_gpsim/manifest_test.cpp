#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/link_target.h"
#include "Tools/kx_gpsim/manifest.h"
#include "Tools/kx_gpsim/run_request.h"

#include <gmock/gmock.h>

namespace {

using kx::RunOptions;
using testing::ElementsAre;
using testing::HasSubstr;

template <class Work>
std::string ErrorOf(const Work& work)
{
    try {
        (void)work();
    } catch (const kx::UsageError& error) {
        return error.what();
    }
    return "no error";
}

// The paths of a list, forced ones with an exclamation mark, with the link's kind and path where there is
// one.
std::vector<std::string> Shown(const std::vector<kx::GpoRequest>& gpos)
{
    std::vector<std::string> shown;
    for (const kx::GpoRequest& gpo : gpos)
        shown.push_back(gpo.path + (gpo.forced ? "!" : "") +
                        (gpo.link.empty() ? "" : " " + gpo.linkKind + "=" + gpo.link));
    return shown;
}

TEST(Manifest, IsReadWhole)
{
    const kx::Manifest manifest = kx::ParseManifest(R"(// what stands before is a comment
        { "scope": "user", "flags": ["FORCED_REFRESH"], "deleteAll": true,
          "gpos": [ { "path": "b", "order": 2, "forced": true, "link": "ou:OU=X,DC=d" },
                    { "path": "a", "order": 1, "name": "{A}", "displayName": "A", "link": "LDAP://DC=d" } ],
          "deleted": [ { "name": "{D}", "displayName": "Gone" } ] })",
                                                    "m.json");
    EXPECT_EQ(manifest.scope, "user");
    EXPECT_THAT(manifest.flags, ElementsAre("FORCED_REFRESH"));
    EXPECT_TRUE(manifest.deleteAll);
    EXPECT_THAT(Shown(manifest.gpos), ElementsAre("a domain=LDAP://DC=d", "b! ou=LDAP://OU=X,DC=d"));
    EXPECT_EQ(manifest.gpos[0].name + manifest.gpos[0].displayName, "{A}A");
    ASSERT_EQ(manifest.deleted.size(), 1U);
    EXPECT_EQ(manifest.deleted[0].name + manifest.deleted[0].displayName, "{D}Gone");
}

TEST(Manifest, FaultsNameFileAndPlace)
{
    const std::pair<const char*, const char*> rows[] = {
        {"{\n  \"gpos\": [,]\n}", "m.json: no JSON at line 2, column 12"},
        {"[]", "m.json: the manifest is not a JSON object"},
        {"{}", "m.json: /gpos is missing"},
        {R"({"gpos": {}})", "m.json: /gpos is not an array"},
        {R"({"gpos": [{"path": "a"}, 7]})", "m.json: /gpos/1 is not an object"},
        {R"({"gpos": [{"path": 7}]})", "m.json: /gpos/0/path is not a text"},
        {R"({"gpos": [{"path": ""}]})", "m.json: /gpos/0/path is empty"},
        {R"({"gpos": [{"path": "a", "froced": true}]})", "m.json: /gpos/0/froced is not known here"},
        {R"({"gpos": [{"path": "a", "order": 1.5}]})", "m.json: /gpos/0/order is not a whole number"},
        {R"({"gpos": [{"path": "a", "order": 3000000000}]})", "m.json: /gpos/0/order is out of range"},
        {R"({"gpos": [{"path": "a", "linkKind": "forest"}]})",
         "m.json: /gpos/0/linkKind is none of site, domain"},
        {R"({"gpos": [{"path": "a", "order": 1}, {"path": "b"}]})",
         "m.json: /gpos has GPOs with an order and"},
        {R"({"gpos": [{"path": "a", "order": 1}, {"path": "b", "order": 1}]})", "two GPOs with the order 1"},
        {R"({"gpos": [], "deleted": [{}]})", "m.json: /deleted/0/name is missing"},
        {R"({"gpos": [], "scope": "all"})", "m.json: /scope is none of machine, user, both"},
        {R"({"gpos": [], "flags": ["A", 1]})", "m.json: /flags/1 is not a text"},
    };
    for (const auto& row : rows)
        EXPECT_THAT(ErrorOf([&] { return kx::ParseManifest(row.first, "m.json"); }), HasSubstr(row.second))
            << row.first;
}

TEST(LinkTarget, IsToldFromThePathOrSaid)
{
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"LDAP://DC=a,DC=b", "domain", "LDAP://DC=a,DC=b"},
        {"ou=x,dc=a", "ou", "LDAP://ou=x,dc=a"},
        {"ldap://CN=S,CN=Sites,CN=Configuration,DC=a", "site", "LDAP://CN=S,CN=Sites,CN=Configuration,DC=a"},
        {"site:CN=S,DC=a", "site", "LDAP://CN=S,DC=a"},
        {"CN=Odd,DC=a", "", "LDAP://CN=Odd,DC=a"},
        {"local:", "local", "Local"},
        {"", "", ""},
    };
    for (const auto& [text, kind, path] : rows) {
        const kx::LinkTarget target = kx::ParseLink(text);
        EXPECT_EQ(target.kind, kind) << text;
        EXPECT_EQ(target.path, path) << text;
    }
    EXPECT_EQ(kx::DirectoryPath("{G}", "LDAP://OU=ADC=x,DC=a,DC=b", true),
              "LDAP://CN=Machine,CN={G},CN=Policies,CN=System,DC=a,DC=b");
    EXPECT_EQ(kx::DirectoryPath("{G}", "", false), "LDAP://CN=User,CN={G},CN=Policies,CN=System");
}

TEST(RunRequest, PlacesCountTheGposAsGiven)
{
    RunOptions options;
    options.gpos = {"a", "b", "c"};
    options.links = {"LDAP://DC=d", "3=OU=X,DC=d"};
    options.forced = {2};
    options.order = {3, 1, 2};
    options.deleted = {"{D}", "old"};
    options.flags = {"forced_refresh", "0x80", "32"};
    const kx::RunRequest request = kx::MakeRequest(options, nullptr);
    EXPECT_THAT(Shown(request.gpos),
                ElementsAre("c ou=LDAP://OU=X,DC=d", "a domain=LDAP://DC=d", "b! domain=LDAP://DC=d"));
    EXPECT_EQ(request.flags, 0x4A0U);
    EXPECT_EQ(request.deleted[0].name + request.deleted[1].path, "{D}old");
    EXPECT_THAT(request.scopes, ElementsAre(kx::Scope::Machine, kx::Scope::User));
}

TEST(RunRequest, RefusesWhatDoesNotFit)
{
    const kx::Manifest manifest = kx::ParseManifest(R"({"gpos": [{"path": "m"}], "scope": "user"})", "m");

    const auto linkBesideManifest = [](RunOptions& o) {
        o.gpos.clear();
        o.links = {"DC=d"};
    };

    const struct {
        const char* error;
        void (*set)(RunOptions&);
        const kx::Manifest* manifest = nullptr;
    } rows[] = {
        {"no GPO is named", [](RunOptions& o) { o.gpos.clear(); }},
        {"either on the command line or in a manifest", [](RunOptions&) {}, &manifest},
        {"either on the command line", linkBesideManifest, &manifest},
        {"--link: there is no GPO number 3", [](RunOptions& o) { o.links = {"3=DC=d"}; }},
        {"there is no GPO number 0", [](RunOptions& o) { o.forced = {0}; }},
        {"--order: it names 1 of 2 GPOs", [](RunOptions& o) { o.order = {2}; }},
        {"--order: 2 stands there twice",
         [](RunOptions& o) {
             o.order = {2, 2};
         }},
        {"FORCED is no engine flag; there are", [](RunOptions& o) { o.flags = {"FORCED"}; }},
        {"0x is no engine flag", [](RunOptions& o) { o.flags = {"0x"}; }},
        {"MACHINE is set by the scope", [](RunOptions& o) { o.flags = {"machine"}; }},
    };

    for (const auto& row : rows) {
        RunOptions options;
        options.gpos = {"a", "b"};
        row.set(options);
        EXPECT_THAT(ErrorOf([&] { return kx::MakeRequest(options, row.manifest); }), HasSubstr(row.error));
    }
}

TEST(RunRequest, TakesTheScopeFromTheCommandLineFirst)
{
    const kx::Manifest manifest = kx::ParseManifest(R"({"gpos": [{"path": "m"}], "scope": "user"})", "m");
    RunOptions options;
    EXPECT_THAT(kx::MakeRequest(options, &manifest).scopes, ElementsAre(kx::Scope::User));
    options.scope = "machine";
    EXPECT_THAT(kx::MakeRequest(options, &manifest).scopes, ElementsAre(kx::Scope::Machine));
}

} // namespace
