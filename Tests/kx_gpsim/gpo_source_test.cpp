// What is taken for a GPO, and what it is called.

#include "Tests/support/temp_folder.h"
#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/gpo_source.h"
#include "Tools/kx_gpsim/wide_text.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;

constexpr const wchar_t* kPolicies = L"\\{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}\\Policies.xml";
const std::wstring kOne = L"{00000000-0000-0000-0000-000000000001}";
const std::wstring kTwo = L"{00000000-0000-0000-0000-000000000002}";

class GpoSource : public testing::Test {
  protected:
    void WriteScope(const std::wstring& folder) const { _m_folder.Write(folder + kPolicies, "<P/>"); }

    [[nodiscard]] std::vector<CkxGpoSource> Find(const std::wstring& path) const
    {
        kx::GpoRequest request;
        request.path = kx::Narrow(path);
        return FindGpos(request, _m_folder.Path());
    }

    TempFolder _m_folder;
};

TEST_F(GpoSource, IsFoundInEveryForm)
{
    WriteScope(L"Policies\\" + kOne + L"\\Machine");
    WriteScope(L"Policies\\" + kOne + L"\\User");
    WriteScope(L"Policies\\" + kTwo + L"\\User");
    _m_folder.Write(L"Policies\\" + kTwo + L"\\display-name.txt", "\xEF\xBB\xBFK\xC3\xA4se\r\nmore");
    WriteScope(L"set\\02 Second one\\" + kTwo + L"\\Machine");
    WriteScope(L"set\\01 First\\" + kOne + L"\\Machine");
    WriteScope(L"draft\\" + kOne + L"\\Machine");
    WriteScope(L"draft\\" + kTwo + L"\\Machine");
    WriteScope(L"My GPO\\User");
    WriteScope(L"bare");
    _m_folder.Write(L"nothing of ours\\" + kOne + L"\\Machine\\Registry.pol", "");
    // Display names, and M and U for the scopes that are found.
    const std::tuple<const wchar_t*, std::wstring, std::vector<std::string>> rows[] = {
        {L"a GPO of a domain", L"Policies\\" + kOne, {kx::Narrow(kOne) + " MU"}},
        {L"a display name of its own", L"Policies\\" + kTwo, {"K\xC3\xA4se U"}},
        {L"a scope's folder", L"Policies\\" + kOne + L"\\User", {kx::Narrow(kOne) + " U"}},
        {L"a whole domain", L"Policies", {kx::Narrow(kOne) + " MU", "K\xC3\xA4se U"}},
        {L"GPOs in folders that name them", L"set", {"First M", "Second one M"}},
        {L"one of these", L"set\\02 Second one", {"Second one M"}},
        {L"several in a folder, which is called after none of them",
         L"draft",
         {kx::Narrow(kOne) + " M", kx::Narrow(kTwo) + " M"}},
        {L"a GPO's copy with a name of its own", L"My GPO", {"My GPO U"}},
        {L"a scope's folder without any name", L"bare", {"bare MU"}},
        {L"without files for the extension", L"nothing of ours", {"nothing of ours "}},
    };
    for (const auto& [why, path, expected] : rows) {
        std::vector<std::string> found;
        for (const CkxGpoSource& source : Find(path))
            found.push_back(source.request.displayName + " " + (source.machineFolder.empty() ? "" : "M") +
                            (source.userFolder.empty() ? "" : "U"));
        EXPECT_THAT(found, ElementsAreArray(expected)) << kx::Narrow(why);
    }
    EXPECT_EQ(Find(L"Policies\\" + kOne + L"\\User")[0].request.name, kx::Narrow(kOne));
    const std::string made = Find(L"My GPO")[0].request.name;
    EXPECT_EQ(made, Find(L"MY GPO\\")[0].request.name) << "a name is made, and it is always the same";
    EXPECT_NE(made, Find(L"bare")[0].request.name);
}

TEST_F(GpoSource, RemembersVersionsByScope)
{
    WriteScope(kOne + L"\\Machine");
    WriteScope(kOne + L"\\User");
    EXPECT_FALSE(SeenOf(Find(kOne)[0], kx::Scope::Machine).version) << "there is no GPT.INI";
    _m_folder.Write(kOne + L"\\GPT.INI", "[General]\r\nVersion=196613\r\n"); // 3 and 5
    const CkxGpoSource source = Find(kOne)[0];
    EXPECT_EQ(SeenOf(source, kx::Scope::Machine).version, 5U);
    EXPECT_EQ(SeenOf(source, kx::Scope::User).version, 3U);
    const auto files = SeenOf(source, kx::Scope::User).files;
    ASSERT_EQ(files.count("Policies.xml"), 1U);
    _m_folder.Write(kOne + L"\\User" + kPolicies, "<P>another size</P>");
    EXPECT_NE(SeenOf(source, kx::Scope::User).files, files);
}

TEST_F(GpoSource, RefusesWhatIsNone)
{
    WriteScope(L"two\\" + kOne + L"\\Machine");
    WriteScope(L"two\\" + kTwo + L"\\Machine");
    const auto errorOf = [&](const std::wstring& path, const std::string& name) -> std::string {
        kx::GpoRequest request;
        request.path = kx::Narrow(path);
        request.name = name;
        try {
            (void)FindGpos(request, _m_folder.Path());
        } catch (const kx::UsageError& error) {
            return error.what();
        }
        return "no error";
    };
    EXPECT_THAT(errorOf(L"two", "{X}"), HasSubstr("several stand there"));
    EXPECT_THAT(errorOf(L"two\\" + kOne, std::string(50, 'x')), HasSubstr("at most 49 characters"));
}

} // namespace
