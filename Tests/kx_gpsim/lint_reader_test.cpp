// Files as they stand on a disk, judged by the extension's own XML layer; and the samples of lint.

#include "Common_CPP/util/unique_handle.h"
#include "Common_CPP/xml/xml_document.h"
#include "Tests/support/com_scope.h"
#include "Tests/support/temp_folder.h"
#include "Tools/kx_gpsim/gpo_source.h"
#include "Tools/kx_gpsim/lint_junit.h"
#include "Tools/kx_gpsim/lint_reader.h"
#include "Tools/kx_gpsim/lint_rules.h"
#include "Tools/kx_gpsim/wide_text.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <set>
#include <sstream>

namespace {

using std::string;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kGood = R"(<GpoPolicies version="5">
<Policy name="P" gpid="{1}" order="1" action="1"/></GpoPolicies>)";

constexpr const wchar_t* kGpo = L"{3D1F6B52-8E0B-4E61-9E26-5B1A7C0A1101}";

class LintReader : public testing::Test {
  protected:
    LintReader() { _m_folder.Write(std::wstring(kGpo) + L"\\GPT.INI", "[General]\r\nVersion=1\r\n"); }

    void Write(const wchar_t* file, const string& bytes, const wchar_t* scope = L"Machine") const
    {
        (void)_m_folder.Write(std::wstring(kGpo) + L'\\' + scope + L'\\' + std::wstring(kx::kExtensionGuid) +
                                  L'\\' + file,
                              bytes);
    }

    static kx::LintReport Look(const std::wstring& set)
    {
        kx::GpoRequest request;
        request.path = kx::Narrow(set);
        return kx::Lint(ReadForLint(FindGpos(request, L"")));
    }

    // "KX1001 3:4" of each finding.
    [[nodiscard]] std::vector<string> Findings() const
    {
        std::vector<string> found;
        for (const kx::LintFinding& each : Look(_m_folder / kGpo).findings)
            found.push_back(string(each.rule->id) + ' ' + std::to_string(each.line) + ':' +
                            std::to_string(each.column));
        return found;
    }

    ComScope _m_com;
    TempFolder _m_folder;
};

TEST_F(LintReader, FilesThatAreThereAndRight)
{
    EXPECT_THAT(Findings(), ElementsAre("KX1007 0:0")) << "no folder of the extension, no file";
    string utf16 = "\xFF\xFE";
    for (const char unit : string(kGood))
        utf16 += {unit, '\0'};
    for (const string& text : {string(kGood), utf16}) {
        Write(L"Policies.xml", text);
        EXPECT_THAT(Findings(), IsEmpty());
    }
}

TEST_F(LintReader, NestedDeeperThanTheExtensionsParserGoes)
{
    string deep = "<GpoPolicies version=\"5\">";
    for (const char* const tag : {"<a>", "</a>"})
        for (int i = 0; i < 300; ++i)
            deep += tag;
    Write(L"Policies.xml", deep + "</GpoPolicies>");
    EXPECT_THAT(Findings(), ElementsAre(testing::StartsWith("KX1001 ")));
}

TEST_F(LintReader, AFileThatSomebodyHolds)
{
    Write(L"Policies.xml", kGood);
    const std::wstring path =
        _m_folder / kGpo + L"\\Machine\\" + std::wstring(kx::kExtensionGuid) + L"\\Policies.xml";
    const CkxFileHandle held(
        ::CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(held);
    EXPECT_THAT(Findings(), ElementsAre("KX1002 0:0"));
}

TEST_F(LintReader, TheVersionOfGptIniIsThatOfTheScope)
{
    Write(L"Policies.xml", kGood);
    Write(L"GUI.xml", "<GUI version=\"5\"/>", L"User");
    EXPECT_THAT(Findings(), ElementsAre("KX1006 0:0")) << "the user's half is 0, and there is a file";
}

// ---- the samples --------------------------------------------------------------------------------------

const std::wstring kSamples = std::wstring(KX_SOURCE_DIR) + L"\\Samples\\Lint\\";

// The finding with its path in the set, without the folders that are named by GUIDs.
string Shown(const kx::LintFinding& finding, const std::wstring& set)
{
    string file;
    for (const auto& part : std::filesystem::path(kx::Wide(finding.file)).lexically_relative(set))
        if (const string name = kx::Narrow(part.wstring()); !name.starts_with('{'))
            file.append(file.empty() ? " " : "/").append(name);
    if (finding.line > 0)
        file += ':' + std::to_string(finding.line) + ':' + std::to_string(finding.column);
    return string(finding.rule->id) + file;
}

std::vector<string> LinesOf(const std::wstring& path)
{
    std::vector<string> lines;
    std::istringstream text(ReadBytes(path));
    for (string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

TEST_F(LintReader, FindsInTheSamplesWhatIsListedBesideThem)
{
    const kx::LintReport clean = Look(kSamples + L"clean");
    EXPECT_THAT(clean.findings, IsEmpty());
    EXPECT_EQ(clean.files.size(), 8U);

    const kx::LintReport planted = Look(kSamples + L"planted");
    std::vector<string> found;
    for (const kx::LintFinding& each : planted.findings)
        found.push_back(Shown(each, kSamples + L"planted"));
    EXPECT_EQ(found, LinesOf(kSamples + L"planted.expected"));

    const CkxXMLDocumentFactory factory;
    CkxXMLDocument junit(factory);
    const string text = kx::FormatLintJUnit(planted, kx::LintSeverity::Warning);
    EXPECT_TRUE(junit.Load(CString(kx::Wide(text).c_str()))) << "for a parser that is not ours";
}

TEST_F(LintReader, EveryRuleIsDocumentedAndNoOther)
{
    std::set<string> documented;
    for (const string& line : LinesOf(std::wstring(KX_SOURCE_DIR) + L"\\Docs\\lint.md"))
        if (line.starts_with("### KX"))
            documented.insert(line.substr(4));
    std::set<string> known;
    for (const kx::LintRule& rule : kx::LintRules())
        known.insert(string(rule.id));
    EXPECT_EQ(documented, known);
}

} // namespace
