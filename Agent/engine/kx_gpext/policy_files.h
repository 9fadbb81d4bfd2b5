#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kx {

/// The policy files of a GPO, in the order of the loaded-file table.
enum class PolicyFile : std::size_t { Policies, ApplicationGroups, Tokens, Gui, Migration, RestrictionRules };

inline constexpr std::size_t kPolicyFileCount = 6;

/// The subfolder of a domain GPO that holds this extension's files; also the extension's registration.
inline constexpr std::wstring_view kExtensionGuid = L"{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}";

/// The file's name, without a folder.
[[nodiscard]] constexpr std::wstring_view PolicyFileName(PolicyFile file) noexcept
{
    constexpr std::wstring_view names[kPolicyFileCount] = {L"Policies.xml",  L"ApplicationGroups.xml",
                                                           L"Tokens.xml",    L"GUI.xml",
                                                           L"Migration.xml", L"RestrictionRules.xml"};
    return names[static_cast<std::size_t>(file)];
}

/// The file's path under a GPO's folder. An appended set holds its files directly.
[[nodiscard]] inline std::wstring PolicyFilePath(std::wstring_view folder, bool appended, PolicyFile file)
{
    std::wstring path(folder);
    if (!appended)
        path.append(1, L'\\').append(kExtensionGuid);
    return path.append(1, L'\\').append(PolicyFileName(file));
}

} // namespace kx
