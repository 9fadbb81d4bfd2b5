// The samples of lint: nothing is found in the clean set, each fault alone where it was planted into it, and
// in the planted set exactly what is listed beside it.

#include "Common_CPP/util/unique_handle.h"
#include "Common_CPP/xml/xml_document.h"
#include "Tests/support/temp_folder.h"
#include "Tools/kx_gpsim/gpo_source.h"
#include "Tools/kx_gpsim/lint_junit.h"
#include "Tools/kx_gpsim/lint_reader.h"
#include "Tools/kx_gpsim/lint_rules.h"
#include "Tools/kx_gpsim/wide_text.h"

#include <gmock/gmock.h>

#include <objbase.h>

#include <filesystem>
#include <set>

namespace {

namespace fs = std::filesystem;
using std::string;
using testing::ElementsAreArray;
using testing::IsEmpty;

const std::wstring kSamples = std::wstring(KX_SOURCE_DIR) + L"\\Samples\\Lint\\";

struct Planted {
    const char* file; ///< as in the findings
    const char* from; ///< what of the clean file is replaced; "": it is a new file
    const char* to;
    std::vector<string> findings; ///< "ID FILE:LINE:COLUMN"
};

constexpr const char* kPolicies = "01 Creamery/Machine/Policies.xml";
constexpr const char* kGroups = "01 Creamery/Machine/ApplicationGroups.xml";
constexpr const char* kOfUser = "01 Creamery/User/Policies.xml";
constexpr const char* kPacking = "02 Packing hall/Machine/Policies.xml";
constexpr const char* kLabels = "02 Packing hall/Machine/ApplicationGroups.xml";
constexpr const char* kCommand = "<AgentParameters version='5' setId='{S}' dispatcherUrl='https://d/'/>";

// The id's own rule alone, but for KX1106: places meet only where one of them leaves its band.
const std::vector<Planted>& PlantedFaults()
{
    static const std::vector<Planted> faults = {
        {kPolicies, "</GpoPolicies>", "</GpoPolicy>", {"KX1001 01 Creamery/Machine/Policies.xml:18:1"}},
        {kGroups, " version=\"5\"", "", {"KX1003 01 Creamery/Machine/ApplicationGroups.xml:2:1"}},
        {kPolicies, "version=\"5\"", "version=\"five\"", {"KX1004 01 Creamery/Machine/Policies.xml:2:14"}},
        {"01 Creamery/User/GUI.xml",
         "version=\"5\"",
         "version=\"4\"",
         {"KX1005 01 Creamery/User/GUI.xml:2:6"}},
        {"01 Creamery/GPT.INI", "65537", "65536", {"KX1006 01 Creamery/Machine"}},
        {"03 More/GPT.INI", "", "[General]\nVersion=1\n", {"KX1007 03 More"}},
        {"04 Packing again/Machine/Policies.xml", "", "<P version='5'/>", {"KX1008 04 Packing again"}},
        {kPolicies, " order=\"10\"", "", {"KX1101 01 Creamery/Machine/Policies.xml:3:3"}},
        {kPolicies, "order=\"10\"", "order=\"10.\"", {"KX1102 01 Creamery/Machine/Policies.xml:3:86"}},
        {kPolicies, "order=\"99999\"", "order=\"100000\"", {"KX1103 01 Creamery/Machine/Policies.xml:13:90"}},
        {kPolicies, "order=\"10\"", "order=\"4294967306\"", {"KX1104 01 Creamery/Machine/Policies.xml:3:86"}},
        {kPolicies, "order=\"99999\"", "order=\"010\"", {"KX1105 01 Creamery/Machine/Policies.xml:13:90"}},
        {kPacking,
         "order=\"1\"",
         "order=\"100010\"",
         {"KX1103 02 Packing hall/Machine/Policies.xml:3:91",
          "KX1106 02 Packing hall/Machine/Policies.xml:3:91"}},
        {kOfUser,
         " gpid=\"{D4000000-0000-4000-8000-000000000003}\"",
         "",
         {"KX1201 01 Creamery/User/Policies.xml:3:3"}},
        {kPolicies,
         "name=\"Block unsigned installers\" ",
         "",
         {"KX1202 01 Creamery/Machine/Policies.xml:13:3"}},
        {kPolicies,
         "{D4000000-0000-4000-8000-000000000002}",
         "{d4000000-0000-4000-8000-000000000001}",
         {"KX1203 01 Creamery/Machine/Policies.xml:13:44"}},
        {kPacking,
         "{D4000000-0000-4000-8000-000000000004}",
         "{D4000000-0000-4000-8000-000000000002}",
         {"KX1204 02 Packing hall/Machine/Policies.xml:3:45"}},
        {kPacking,
         "</Targets>",
         "<ApplicationGroup id=\"{C3000000-0000-4000-8000-000000000001}\"/></Targets>",
         {"KX1301 02 Packing hall/Machine/Policies.xml:6:23"}},
        {kLabels,
         "</ApplicationGroups>",
         "<ApplicationGroup id=\"{9}\" name=\"Nobody\"/></ApplicationGroups>",
         {"KX1302 02 Packing hall/Machine/ApplicationGroups.xml:6:1"}},
        {kLabels,
         "</ApplicationGroups>",
         "<ApplicationGroup name=\"Nobody\"/></ApplicationGroups>",
         {"KX1303 02 Packing hall/Machine/ApplicationGroups.xml:6:1"}},
        {kGroups,
         "</ApplicationGroups>",
         "<ApplicationGroup id=\"{C3000000-0000-4000-8000-000000000001}\" name=\"Two\"/></ApplicationGroups>",
         {"KX1304 01 Creamery/Machine/ApplicationGroups.xml:9:19"}},
        {kLabels,
         " name=\"Labelling line\"",
         "",
         {"KX1305 02 Packing hall/Machine/ApplicationGroups.xml:3:3"}},
        {kPacking, " action=\"1\"", "", {"KX1401 02 Packing hall/Machine/Policies.xml:3:3"}},
        {kOfUser, "action=\"10\"", "action=\"ten\"", {"KX1402 01 Creamery/User/Policies.xml:3:109"}},
        {"01 Creamery/User/Migration.xml", "", kCommand, {"KX1501 01 Creamery/User/Migration.xml:1:1"}},
        {"03 More/Machine/Migration.xml", "", kCommand, {"KX1502 03 More/Machine/Migration.xml:1:1"}},
        {"03 More/Machine/Migration.xml",
         "",
         "\n<AgentParameters version='5'\nsetId='{S}'/>",
         {"KX1503 03 More/Machine/Migration.xml:2:1"}},
        {kPolicies, "FilterComputer", "FilterMoon", {"KX1601 01 Creamery/Machine/Policies.xml:6:9"}},
        {kPolicies,
         "</ItemLevelTargeting>",
         "</ItemLevelTargeting><ItemLevelTargeting/>",
         {"KX1602 01 Creamery/Machine/Policies.xml:8:26"}},
        {kPolicies,
         "Block unsigned installers",
         "elevate THE separator",
         {"KX1701 01 Creamery/Machine/Policies.xml:13:11"}},
        {kPacking,
         "Elevate the labelling line",
         "BLOCK unsigned installers",
         {"KX1702 02 Packing hall/Machine/Policies.xml:3:11"}},
        {kOfUser, " order=\"0\"", " Order=\"0\"", {"KX1703 01 Creamery/User/Policies.xml:3:99"}},
    };
    return faults;
}

// "01 Creamery/Machine/Policies.xml" of a path in the set: without the folders that are named by GUIDs.
string ShortPath(const string& path, const std::wstring& set)
{
    string text;
    for (const fs::path& part : fs::path(kx::Wide(path)).lexically_relative(set))
        if (const string name = kx::Narrow(part.wstring()); !name.starts_with('{'))
            text.append(text.empty() ? "" : "/").append(name);
    return text;
}

// The other way round; GPOs that are not in the clean set get names of their own.
fs::path FullPath(const string& file, const std::wstring& set)
{
    const std::size_t end = file.find('/');
    fs::path path = fs::path(set) / file.substr(0, end);
    std::error_code none;
    for (const auto& inner : fs::directory_iterator(path, none))
        path = inner.path();
    if (none)
        path /= file.starts_with("04") ? L"{b90c6d27-83f1-4c5e-8e64-51a7d20f4202}"
                                       : L"{51C7A3E0-9B42-4D18-A6F5-0E8D2B7C9304}";
    const string rest = file.substr(end + 1);
    if (const std::size_t scope = rest.find('/'); scope != string::npos)
        return path / rest.substr(0, scope) / kx::kExtensionGuid / rest.substr(scope + 1);
    return path / rest;
}

class LintSamples : public testing::Test {
  protected:
    LintSamples() { EXPECT_TRUE(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED))); }

    ~LintSamples() override { ::CoUninitialize(); }

    static kx::LintReport Look(const std::wstring& set)
    {
        kx::GpoRequest request;
        request.path = kx::Narrow(set);
        return kx::Lint(ReadForLint(FindGpos(request, L"")));
    }

    /// "ID FILE:LINE:COLUMN" of each finding, without a place where it has none.
    static std::vector<string> Findings(const std::wstring& set)
    {
        std::vector<string> found;
        for (const kx::LintFinding& each : Look(set).findings) {
            string line = string(each.rule->id) + ' ' + ShortPath(each.file, set);
            if (each.line > 0)
                line += ':' + std::to_string(each.line) + ':' + std::to_string(each.column);
            found.push_back(line);
        }
        return found;
    }

    /// A copy of the clean set; a folder of its own for each call.
    std::wstring Copy()
    {
        const std::wstring set = _m_folder / (L"set" + std::to_wstring(++_m_copies));
        fs::copy(kSamples + L"clean", set, fs::copy_options::recursive);
        return set;
    }

    static void Plant(const Planted& fault, const std::wstring& set)
    {
        const fs::path path = FullPath(fault.file, set);
        string text = fault.to;
        if (const string from = fault.from; !from.empty()) {
            text = ReadBytes(path.wstring());
            const std::size_t at = text.find(from);
            ASSERT_NE(at, string::npos) << fault.file << " has no " << from;
            text.replace(at, from.size(), fault.to);
        }
        fs::create_directories(path.parent_path());
        const CkxFileHandle file(
            ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
        DWORD written = 0;
        ASSERT_TRUE(::WriteFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr));
    }

  private:
    TempFolder _m_folder;
    int _m_copies = 0;
};

std::vector<string> LinesOf(const string& text)
{
    std::vector<string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

TEST_F(LintSamples, HaveNothingWrongInTheCleanSet)
{
    EXPECT_THAT(Findings(kSamples + L"clean"), IsEmpty());
    EXPECT_EQ(Look(kSamples + L"clean").files.size(), 8U);
}

TEST_F(LintSamples, HaveWhatIsListedInThePlantedSet)
{
    EXPECT_THAT(Findings(kSamples + L"planted"),
                ElementsAreArray(LinesOf(ReadBytes(kSamples + L"planted.expected"))));
    const CkxXMLDocumentFactory factory;
    CkxXMLDocument junit(factory);
    EXPECT_TRUE(junit.Load(CString(
        kx::Wide(kx::FormatLintJUnit(Look(kSamples + L"planted"), kx::LintSeverity::Warning)).c_str())))
        << "for a parser that is not ours";
}

TEST_F(LintSamples, EachFaultIsFoundAloneWhereItWasPlanted)
{
    for (const Planted& fault : PlantedFaults()) {
        const std::wstring set = Copy();
        Plant(fault, set);
        EXPECT_THAT(Findings(set), ElementsAreArray(fault.findings)) << fault.file << ": " << fault.to;
    }
}

TEST_F(LintSamples, AFileThatSomebodyHolds)
{
    const std::wstring set = Copy();
    const CkxFileHandle held(::CreateFileW(FullPath(kOfUser, set).c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                           nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(held);
    EXPECT_THAT(Findings(set), testing::ElementsAre("KX1002 01 Creamery/User/Policies.xml"));
}

// One that is documented and not planted, or the other way round, would be overlooked.
TEST_F(LintSamples, EveryFindingIsPlantedAndDocumented)
{
    std::set<string> planted = {"KX1002"};
    for (const Planted& fault : PlantedFaults())
        for (const string& finding : fault.findings)
            planted.insert(finding.substr(0, 6));
    std::set<string> documented;
    for (const string& line : LinesOf(ReadBytes(std::wstring(KX_SOURCE_DIR) + L"\\Docs\\lint.md")))
        if (line.starts_with("### KX"))
            documented.insert(line.substr(4));
    std::set<string> known;
    for (const kx::LintRule& rule : kx::LintRules())
        known.insert(string(rule.id));
    EXPECT_EQ(planted, known);
    EXPECT_EQ(documented, known);
}

} // namespace
