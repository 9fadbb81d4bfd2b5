// Policy files as they were read, for looking at them.
#pragma once

#include "Agent/engine/kx_gpext/policy_files.h"
#include "Tools/kx_gpsim/run_result.h"
#include "Tools/kx_gpsim/xml_tree.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// Why a file has no content.
struct LintFault {
    bool unreadable = false; ///< the system did not give it; otherwise the extension's parser refuses it
    XmlPlace place;
    std::string reason;
};

/// One policy file that is there. It has a fault, or a root, or neither where its places cannot be told.
struct LintFile {
    PolicyFile which = PolicyFile::Policies;
    std::string path;
    std::optional<LintFault> fault;
    std::optional<XmlElement> root;
};

/// One scope of a GPO, with the files that are there.
struct LintFolder {
    Scope scope = Scope::Machine;
    std::string path; ///< the scope's folder
    std::optional<std::uint32_t>
        version; ///< of this scope, from GPT.INI; nullopt where there is no such file
    std::vector<LintFile> files;

    /// The file, or null where it is not there or has no root.
    [[nodiscard]] const LintFile* Find(PolicyFile which) const
    {
        for (const LintFile& file : files)
            if (file.which == which && file.root)
                return &file;
        return nullptr;
    }
};

/// One GPO of the list.
struct LintGpo {
    std::string name; ///< "{GUID}"
    std::string displayName;
    std::string path;
    std::vector<LintFolder> folders;
};

/// The GPOs in the engine's order: the last one wins.
struct LintInput {
    std::vector<LintGpo> gpos;
    std::function<bool(std::string_view)> isKnownFilter; ///< whether targeting knows an element of this name
};

} // namespace kx
