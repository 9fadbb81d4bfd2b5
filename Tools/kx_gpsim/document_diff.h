// Two runs compared by meaning: what the agent would hold, and in which order.
#pragma once

#include "Tools/kx_gpsim/element_diff.h"
#include "Tools/kx_gpsim/run_result.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kx {

/// A document of one side, as it was received or saved.
struct DiffDocument {
    Scope scope = Scope::Machine;
    std::string xml; ///< UTF-8; empty where nothing arrived
};

/// What is compared: a GPO set that was run, or saved documents.
struct DiffSide {
    std::string label;
    std::vector<DiffDocument> documents; ///< one a scope at most
    std::vector<std::string> notes;      ///< what is to be known about it, for people
};

/// Where a policy stands.
struct PolicyPlace {
    std::string gpo;        ///< "{GUID}"
    std::string label;      ///< display name
    std::string name;       ///< the policy's
    std::int32_t order = 0; ///< among all policies
};

/// One policy that is not the same on both sides.
struct PolicyDiff {
    std::string id;                    ///< its gpid, as written on the first side that has it
    std::optional<PolicyPlace> before; ///< nullopt: added
    std::optional<PolicyPlace> after;  ///< nullopt: removed
    bool moved = false;                ///< stands elsewhere among the policies that both sides have
    std::vector<ElementChange> changes;
};

/// A GPO, apart from its policies.
struct GpoDiff {
    ChangeKind kind = ChangeKind::Changed;
    std::string name;
    std::string label;
    bool deleted = false; ///< it is about the GPO's place among the deleted ones
    std::vector<ElementChange> changes;
};

/// What differs in one scope.
struct ScopeDiff {
    Scope scope = Scope::Machine;
    std::vector<ElementChange> document; ///< its kind and its attributes
    std::vector<GpoDiff> gpos;
    std::vector<PolicyDiff> policies; ///< in the agent's order

    [[nodiscard]] bool IsEmpty() const { return document.empty() && gpos.empty() && policies.empty(); }
};

/// What differs between two sides.
struct DocumentDiff {
    std::vector<ScopeDiff> scopes; ///< those that differ

    [[nodiscard]] bool IsEmpty() const { return scopes.empty(); }
};

/// Policies are told by their gpid; where several on a side have one, by GPO and gpid. A policy's order
/// counts as its own file gives it, so that another number of GPOs is no change of all policies. Throws
/// UsageError where a document is no XML. The other way round it gives the same, mirrored. n log n.
[[nodiscard]] DocumentDiff CompareSides(const DiffSide& before, const DiffSide& after);

} // namespace kx
