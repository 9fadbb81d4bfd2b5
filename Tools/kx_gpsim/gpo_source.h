#pragma once

#include "Tools/kx_gpsim/manifest.h"
#include "Tools/kx_gpsim/run_state.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// A GPO as it was found on the disk.
struct CkxGpoSource {
    kx::GpoRequest request;     ///< with name and display name filled in
    std::wstring machineFolder; ///< empty where the GPO has nothing for that scope
    std::wstring userFolder;
    bool anyScope = false; ///< a scope's folder itself, of which nobody knows the scope: it is both
    std::optional<std::uint32_t> version; ///< of GPT.INI: the user's half above the machine's

    [[nodiscard]] const std::wstring& Folder(kx::Scope scope) const
    {
        return scope == kx::Scope::Machine ? machineFolder : userFolder;
    }
};

/// The GPOs at the request's path, which is a GPO's folder ("{GUID}" with GPT.INI, Machine, User), a scope's
/// folder, or one that holds GPOs: these are then taken by name, in order. A relative path counts from
/// `base`. Display names come from the request, the first line of "display-name.txt" in the GPO's folder, or
/// the folder around the GPO ("01 Fernhill baseline" is "Fernhill baseline"). Throws UsageError where there
/// is no GPO.
[[nodiscard]] std::vector<CkxGpoSource> FindGpos(const kx::GpoRequest& request, const std::wstring& base);

/// A policy set to append: any folder with at least one policy file directly in it. Its name is the
/// request's, else the folder's.
[[nodiscard]] CkxGpoSource FindAppendedSet(const kx::GpoRequest& request, const std::wstring& base);

/// What the engine would remember of the GPO for this scope.
[[nodiscard]] kx::SeenGpo SeenOf(const CkxGpoSource& source, kx::Scope scope);
