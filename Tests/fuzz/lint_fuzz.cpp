// libFuzzer target: any file. Its tree compares equal to itself, all rules look at it, their findings stand
// in it, and what a CI is given is XML.
//
//   lint_fuzz -max_len=512 -dict=lint.dict
#include "Tests/fuzz/fuzz_input.h"
#include "Tools/kx_gpsim/element_diff.h"
#include "Tools/kx_gpsim/lint_json.h"
#include "Tools/kx_gpsim/lint_junit.h"
#include "Tools/kx_gpsim/lint_rules.h"
#include "Tools/kx_gpsim/lint_text.h"
#include "Tools/kx_gpsim/xml_encoding.h"
#include "Tools/kx_gpsim/xml_fault.h"

namespace {

using fuzz::Require;

// The element as each of the files that have rules, in two GPOs, so that they meet each other.
kx::LintInput SetOf(const kx::XmlElement& root)
{
    kx::LintInput input;
    input.isKnownFilter = [](std::string_view name) { return name == "FilterUser"; };
    for (const char* const gpo : {"{1}", "{2}"}) {
        kx::LintFolder folder;
        for (const kx::PolicyFile which :
             {kx::PolicyFile::Policies, kx::PolicyFile::ApplicationGroups, kx::PolicyFile::Migration})
            folder.files.push_back({which, "file", std::nullopt, root});
        input.gpos.push_back({gpo, gpo, gpo, {folder}});
    }
    return input;
}

void Look(const kx::XmlElement& root, std::string_view text)
{
    const auto lines = 1 + std::count(text.begin(), text.end(), '\n');
    const kx::LintReport report = kx::Lint(SetOf(root));
    for (const kx::LintFinding& finding : report.findings)
        Require(finding.line <= lines, "a finding beyond the file");
    const auto junit = kx::ParseXmlTree(kx::FormatLintJUnit(report, kx::LintSeverity::Note));
    Require(junit && junit->name == "testsuites", "a report for a CI that is no XML");
    Require(!kx::FormatLintJson(report).empty(), "no JSON");
    Require(kx::FormatLintText(report).find('\x1B') == std::string::npos, "a control sequence");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = kx::Utf8OfXmlFile(std::string_view(reinterpret_cast<const char*>(data), size));
    const auto fault = kx::FindXmlFault(text);
    Require(!fault || (fault->line > 0 && fault->column > 0), "a fault without a place");
    const auto root = kx::ParseXmlTree(text);
    if (!root)
        return 0;
    Require(kx::CompareElements(*root, *root).empty(), "a tree that differs from itself");
    Look(*root, text);
    return 0;
}
