#pragma once

#include <string>
#include <string_view>

namespace kx {

/// The registry value, under the local machine's root, that the settings below write.
inline constexpr wchar_t kTargetingMarkerKey[] = L"software\\korvex\\agent\\temp";
inline constexpr wchar_t kTargetingMarkerName[] = L"ILTTest";

/// A registry settings file of Group Policy Preferences with one item, which writes the marker; `targeting`
/// is the XML text of the item's ItemLevelTargeting element.
[[nodiscard]] inline std::wstring TargetingSettings(std::wstring_view targeting)
{
    constexpr std::wstring_view head =
        L"<?xml version=\"1.0\" encoding=\"utf-8\" ?> "
        L"<RegistrySettings clsid=\"{A3CCFC41-DFDB-43a5-8D26-0FE8B954DA52}\">"
        L"<Registry clsid=\"{9CD4B2F4-923D-47f5-A062-E897DD1DAD50}\" name=\"ILTTest\" status=\"ILTTest\" "
        L"image=\"7\" changed=\"2011-12-27 15:00:00\" uid=\"{938F9390-6CEE-4E6C-80F3-9D6EE8E4C483}\" "
        L"bypassErrors=\"1\">"
        L"<Properties action=\"U\" displayDecimal=\"0\" default=\"0\" hive=\"HKEY_LOCAL_MACHINE\" key=\"";
    constexpr std::wstring_view beforeName = L"\" name=\"";
    constexpr std::wstring_view afterName = L"\" type=\"REG_SZ\" value=\"ILTTest\" />";
    constexpr std::wstring_view tail = L"</Registry></RegistrySettings>";
    std::wstring settings(head);
    settings.append(kTargetingMarkerKey).append(beforeName).append(kTargetingMarkerName).append(afterName);
    return settings.append(targeting).append(tail);
}

} // namespace kx
