#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kx {

/// Which side of the directory a pass is for.
enum class Scope { Machine, User };

/// One Group Policy Object as it was put before the extension. Texts are UTF-8 throughout the model.
struct GpoInput {
    std::string name;        ///< "{GUID}"
    std::string displayName; ///< empty where nobody knows one
    std::string folder;      ///< the scope's folder, as the extension got it
    std::string link;        ///< what it is linked to, an LDAP path
    std::string linkKind;    ///< "site", "domain", "ou", "local" or ""
    int order = 0;           ///< 1-based place in its list
    bool forced = false;
    bool deleted = false;
};

/// Something that the extension said about a GPO's files.
struct Complaint {
    std::string severity; ///< "error" or "warning"
    std::string file;     ///< base name of the policy file; empty where it is not about one
    int line = 0;         ///< 0 where not known
    int column = 0;
    std::string reason;
};

/// A policy that targeting kept back, or could not judge.
struct TargetedPolicy {
    std::string name;
    std::string reason; ///< what decided, as far as the trace and the targeting report tell
};

/// What became of one GPO, as told by the document, the RSoP data and the trace.
struct GpoOutcome {
    GpoInput gpo;
    std::size_t taken = 0;                  ///< policies of it in the document
    std::vector<TargetedPolicy> excluded;   ///< by targeting; the GPO itself with an empty name
    std::vector<TargetedPolicy> letThrough; ///< targeting could not be evaluated
    std::vector<Complaint> complaints;
    bool migration = false; ///< its migration command was taken
};

/// A property of an instance that was recorded; null values have no text.
struct RecordedProperty {
    std::string name;
    std::string value;
    bool isNull = false;
};

/// An instance that the extension recorded in WMI.
struct RecordedInstance {
    std::string className;
    std::vector<RecordedProperty> properties;
};

/// A policy of the document that the agent got, in document order.
struct SentPolicy {
    std::string gpo; ///< the name of the GPO that it stands under
    std::string name;
    std::string id; ///< its gpid
    std::string action;
    std::int32_t order = 0;
    std::string xml;                 ///< the whole element
    std::vector<std::string> groups; ///< names, or ids without one, of its target groups
    std::vector<std::pair<std::string, std::string>>
        configuration; ///< path and value of a configuration policy
};

/// Everything that one call of the extension brought about.
struct PassResult {
    Scope scope = Scope::Machine;
    std::string call;         ///< "apply", "plan" or "append"
    bool called = true;       ///< false: the engine would not make the call; `notes` says why
    std::uint32_t code = 0;   ///< what the call returned
    bool delivered = false;   ///< a document arrived
    std::string document;     ///< as it arrived, with secrets masked; empty without one
    std::string documentRoot; ///< "GPUpdate" or "AgentParameters"
    std::vector<GpoOutcome> gpos;
    std::vector<SentPolicy> policies;
    std::vector<RecordedInstance> recorded;
    std::vector<std::string> trace;    ///< its lines
    std::vector<Complaint> complaints; ///< what the extension said that concerns no single GPO
    std::vector<std::string> notes;    ///< what the tool has to say about this call, for people
};

/// One run of the tool: a pass for each scope that was asked for.
struct RunResult {
    std::vector<PassResult> passes;
    std::string workFolder; ///< where the run's own files stand
};

} // namespace kx
