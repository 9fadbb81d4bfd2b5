// What the rules share: where they are, and where their findings go.
#pragma once

#include "Tools/kx_gpsim/lint_findings.h"
#include "Tools/kx_gpsim/lint_input.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// A file of the set, or a GPO or a scope of it where the rest is null. Borrowed from the input.
struct LintWhere {
    const LintGpo* gpo = nullptr;
    const LintFolder* folder = nullptr;
    const LintFile* file = nullptr;
    std::size_t rank = 0; ///< place of the file among those looked at

    /// "Policies.xml of Fernhill baseline (machine)", to name a place in a message.
    [[nodiscard]] std::string Text() const;
};

/// "line 3 of Policies.xml of Fernhill baseline (machine)".
[[nodiscard]] std::string PlaceText(const LintWhere& where, XmlPlace place);

/// Gathers findings.
class CkxLintSink {
  public:
    /// `id` must be that of a rule.
    void Add(std::string_view id, const LintWhere& where, XmlPlace place, std::string message);

    /// All findings, sorted by file and place.
    [[nodiscard]] std::vector<LintFinding> Take();

  private:
    struct Ranked {
        std::size_t rank;
        LintFinding finding;
    };

    std::vector<Ranked> _m_findings;
};

/// Calls `visit` for each file that has a root, in order.
void ForEachFile(const LintInput& input, const std::function<void(const LintWhere&)>& visit);

/// The attribute of that name. Where there is none but for its case, that is a finding, as is the lack of it
/// where `missingId` is not empty; both give null.
[[nodiscard]] const XmlAttribute* WantAttribute(const XmlElement& element, std::string_view name,
                                                std::string_view missingId, const LintWhere& where,
                                                CkxLintSink& sink);

/// How people call an element: its name attribute, else the id in `idAttribute`, else the element's own name.
[[nodiscard]] std::string CallOf(const XmlElement& element, std::string_view idAttribute);

// One part of the rules each.

void LintFileFrames(const LintInput& input, CkxLintSink& sink);
void LintPolicies(const LintWhere& where, CkxLintSink& sink,
                  const std::function<bool(std::string_view)>& isKnownFilter);
void LintTargets(const LintWhere& where, CkxLintSink& sink);
void LintGroups(const LintWhere& where, CkxLintSink& sink);
void LintMigrations(const LintInput& input, CkxLintSink& sink);
void LintNames(const LintInput& input, CkxLintSink& sink);
void LintAcrossPolicies(const LintInput& input, CkxLintSink& sink);

} // namespace kx
