// A document as the agent got it, taken apart for comparing.
#pragma once

#include "Tools/kx_gpsim/run_result.h"
#include "Tools/kx_gpsim/xml_tree.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// One policy of a document.
struct SentElement {
    std::string gpo;   ///< name of the GPO that it stands under
    std::string label; ///< the GPO's display name
    std::string id;
    std::string name;
    std::int32_t order = 0;               ///< its place among all policies
    std::optional<std::int32_t> ownOrder; ///< what its own file gave it; nullopt where that cannot be told
    XmlElement element;
    std::string meaning; ///< the element as CanonicalXml has it, without its order
};

/// One GPO element, without its policies.
struct SentGpo {
    std::string name;
    std::string label;
    bool deleted = false;
    XmlElement rest; ///< its attributes and its other files
};

/// A document; an empty one where nothing arrived.
struct SentDocument {
    XmlElement root; ///< without the GPOs; of another kind than an update, as it is
    std::vector<SentGpo> gpos;
    std::vector<SentElement> policies; ///< in the agent's order
};

/// Which scope an update document is for; nullopt where it does not say.
[[nodiscard]] std::optional<Scope> ScopeOf(const XmlElement& root);

/// Takes a document apart. The places of policies are told from the bands of their GPOs.
[[nodiscard]] SentDocument TakeApart(XmlElement root);

} // namespace kx
