// What the engine remembers of the last refresh, and what it makes of it.
#pragma once

#include "Tools/kx_gpsim/run_result.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// A GPO as it stood in a scope's list.
struct SeenGpo {
    std::string name;
    std::string displayName;
    std::string folder;
    std::string link;
    std::optional<std::uint32_t> version;     ///< the scope's half of the one in GPT.INI
    std::map<std::string, std::string> files; ///< policy files: name and a stamp of time and size
};

/// The last refresh of one scope.
struct ScopeState {
    std::uint32_t code = 0; ///< what the extension returned
    std::vector<SeenGpo> gpos;
};

/// The last refreshes; a scope without one has none.
struct RunState {
    std::optional<ScopeState> machine;
    std::optional<ScopeState> user;

    [[nodiscard]] std::optional<ScopeState>& Of(Scope scope)
    {
        return scope == Scope::Machine ? machine : user;
    }
};

/// Throws UsageError naming the file and the place that is wrong.
[[nodiscard]] RunState ParseState(std::string_view text, const std::string& file);
[[nodiscard]] std::string StateText(const RunState& state);

/// What the engine would do at the next refresh.
struct EngineDecision {
    bool call = true;             ///< the extension is called; otherwise nothing has changed
    bool noChanges = false;       ///< called although nothing has changed
    std::vector<SeenGpo> deleted; ///< were in the list and are not any more
    std::vector<std::string> notes;
};

/// The engine hands over the whole list as soon as anything in it is new, gone, in another place or of
/// another version. Otherwise it calls when it is `forced` to, or where the extension asked for another call.
/// Policy files that changed under an unchanged version are passed over as the engine would, with a note;
/// without any version they count.
[[nodiscard]] EngineDecision DecideRefresh(const std::optional<ScopeState>& last,
                                           const std::vector<SeenGpo>& now, bool forced);

} // namespace kx
