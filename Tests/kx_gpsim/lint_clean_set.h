// A set of GPOs with nothing wrong in it, to plant faults in.
#pragma once

#include "Tools/kx_gpsim/lint_input.h"
#include "Tools/kx_gpsim/lint_rules.h"

#include <gmock/gmock.h>

#include <map>
#include <string>
#include <vector>

namespace kx_test {

/// The texts of a set's files: "GPO/scope/file", such as "base/machine/Policies.xml". The GPOs' names sort as
/// they stand in the list.
using SetTexts = std::map<std::string, std::string>;

inline SetTexts CleanTexts()
{
    return {{"1 base/machine/ApplicationGroups.xml",
             R"(<ApplicationGroups version="5">
  <ApplicationGroup id="{G1}" name="Installers"/>
  <ApplicationGroup id="{G2}" name="Updates"/>
</ApplicationGroups>)"},
            {"1 base/machine/Policies.xml",
             R"(<GpoPolicies version="5">
  <Policy name="Block installers" gpid="{P1}" order="1" action="2">
    <ItemLevelTargeting><Filters><FilterUser name="*"/></Filters></ItemLevelTargeting>
    <Targets><ApplicationGroup id="{G1}"/></Targets>
  </Policy>
  <Policy name="Elevate updates" gpid="{P2}" order="99999" action="1">
    <Targets><ApplicationGroup id="{G2}"/></Targets>
  </Policy>
</GpoPolicies>)"},
            {"1 base/machine/Tokens.xml", R"(<Tokens version="5"/>)"},
            {"1 base/machine/RestrictionRules.xml", R"(<RestrictionRules version="7"/>)"},
            {"1 base/user/Policies.xml",
             R"(<GpoPolicies version="5">
  <Policy name="Greet" gpid="{P3}" order="1" action="10"><Configuration><A>1</A></Configuration></Policy>
</GpoPolicies>)"},
            {"2 dairy/machine/Policies.xml",
             R"(<GpoPolicies version="5">
  <Policy name="Milk" gpid="{P4}" order="1" action="1"/>
</GpoPolicies>)"}};
}

inline kx::PolicyFile FileOf(const std::string& name)
{
    for (const kx::PolicyFile file : {kx::PolicyFile::Policies, kx::PolicyFile::ApplicationGroups,
                                      kx::PolicyFile::Tokens, kx::PolicyFile::Gui, kx::PolicyFile::Migration})
        if (const std::wstring_view known = kx::PolicyFileName(file);
            std::equal(name.begin(), name.end(), known.begin(), known.end(),
                       [](char a, wchar_t b) { return static_cast<wchar_t>(a) == b; }))
            return file;
    return kx::PolicyFile::RestrictionRules;
}

/// The set as the reader would hand it over.
inline kx::LintInput InputOf(const SetTexts& texts)
{
    kx::LintInput input;
    input.isKnownFilter = [](std::string_view name) { return name == "FilterUser"; };
    for (const auto& [path, text] : texts) {
        const std::size_t first = path.find('/');
        const std::size_t second = path.find('/', first + 1);
        const std::string gpo = path.substr(0, first);
        const kx::Scope scope = path.substr(first + 1, 4) == "user" ? kx::Scope::User : kx::Scope::Machine;
        if (input.gpos.empty() || input.gpos.back().name != gpo)
            input.gpos.push_back({gpo, gpo, gpo, {}});
        std::vector<kx::LintFolder>& folders = input.gpos.back().folders;
        if (folders.empty() || folders.back().scope != scope)
            folders.push_back({scope, path.substr(0, second), 1, {}});
        kx::LintFile file{FileOf(path.substr(second + 1)), path, std::nullopt, kx::ParseXmlTree(text)};
        EXPECT_TRUE(file.root) << path << " of the test is no XML: " << text;
        folders.back().files.push_back(std::move(file));
    }
    return input;
}

/// "KX1101 2:3" of each finding.
inline std::vector<std::string> Ids(const kx::LintReport& report)
{
    std::vector<std::string> ids;
    for (const kx::LintFinding& finding : report.findings)
        ids.push_back(std::string(finding.rule->id) + ' ' + std::to_string(finding.line) + ':' +
                      std::to_string(finding.column));
    return ids;
}

} // namespace kx_test
