// Files as they stand on a disk, judged by the extension's own XML layer.

#include "Tests/support/temp_folder.h"
#include "Tools/kx_gpsim/gpo_source.h"
#include "Tools/kx_gpsim/lint_reader.h"
#include "Tools/kx_gpsim/lint_rules.h"
#include "Tools/kx_gpsim/wide_text.h"

#include <gmock/gmock.h>

#include <objbase.h>

namespace {

using std::string;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kGood = R"(<GpoPolicies version="5">
<Policy name="P" gpid="{1}" order="1" action="1"/></GpoPolicies>)";

constexpr const wchar_t* kGpo = L"{3D1F6B52-8E0B-4E61-9E26-5B1A7C0A1101}";

class LintReader : public testing::Test {
  protected:
    LintReader()
    {
        EXPECT_TRUE(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
        (void)_m_folder.Write(std::wstring(kGpo) + L"\\GPT.INI", "[General]\r\nVersion=1\r\n");
    }

    ~LintReader() override { ::CoUninitialize(); }

    void Write(const wchar_t* file, const string& bytes, const wchar_t* scope = L"Machine") const
    {
        (void)_m_folder.Write(std::wstring(kGpo) + L'\\' + scope + L'\\' + std::wstring(kx::kExtensionGuid) +
                                  L'\\' + file,
                              bytes);
    }

    // "KX1001 3:4" of each finding.
    [[nodiscard]] std::vector<string> Findings() const
    {
        kx::GpoRequest request;
        request.path = kx::Narrow(_m_folder / kGpo);
        std::vector<string> found;
        for (const kx::LintFinding& each : kx::Lint(ReadForLint(FindGpos(request, L""))).findings)
            found.push_back(string(each.rule->id) + ' ' + std::to_string(each.line) + ':' +
                            std::to_string(each.column));
        return found;
    }

  private:
    TempFolder _m_folder;
};

TEST_F(LintReader, FilesThatAreThereAndRight)
{
    EXPECT_THAT(Findings(), ElementsAre("KX1007 0:0")) << "no folder of the extension, no file";
    Write(L"Policies.xml", kGood);
    EXPECT_THAT(Findings(), IsEmpty());
    string utf16 = "\xFF\xFE";
    for (const char unit : string(kGood))
        utf16 += {unit, '\0'};
    Write(L"Policies.xml", utf16);
    EXPECT_THAT(Findings(), IsEmpty());
}

TEST_F(LintReader, NamesThePlaceOfWhatIsNoXml)
{
    struct Case {
        const char* why;
        const char* text;
        const char* finding; ///< the column as far as parsers agree
    };

    for (const Case& each : {Case{"a tag that does not match", "<a version=\"5\">\n<b>\n\n</a>", "KX1001 4:"},
                             {"a document type", "<!DOCTYPE a>\n<a version=\"5\"/>", "KX1001 "},
                             {"nothing", "", "KX1001 "},
                             {"a stray character, seen where people count characters",
                              "<a version=\"5\">\n\xC3\xA4\xC3\xA4 & x</a>", "KX1001 2:"}}) {
        Write(L"Policies.xml", each.text);
        const std::vector<string> findings = Findings();
        ASSERT_EQ(findings.size(), 1U) << each.why;
        EXPECT_THAT(findings[0], testing::StartsWith(each.finding)) << each.why;
    }
}

TEST_F(LintReader, TakesNoMoreThanTheExtension)
{
    string deep = "<GpoPolicies version=\"5\">";
    for (int i = 0; i < 300; ++i)
        deep += "<a>";
    for (int i = 0; i < 300; ++i)
        deep += "</a>";
    Write(L"Policies.xml", deep + "</GpoPolicies>");
    const std::vector<string> findings = Findings();
    ASSERT_EQ(findings.size(), 1U) << "nested deeper than the extension's parser goes";
    EXPECT_THAT(findings[0], testing::StartsWith("KX1001 "));
}

TEST_F(LintReader, TheVersionOfGptIniIsThatOfTheScope)
{
    Write(L"Policies.xml", kGood);
    Write(L"GUI.xml", "<GUI version=\"5\"/>", L"User");
    EXPECT_THAT(Findings(), ElementsAre("KX1006 0:0")) << "the user's half is 0, and there is a file";
}

} // namespace
