// What the system tells about the computer and the call.
#include "Tools/targeting/windows_facts.h"

#include "Common_CPP/ntapi/operating_system.h"
#include "Common_CPP/util/reg_key.h"

#include <windows.h>

#include <userenv.h>

namespace {

// The locale of the token's user, as hexadecimal text; 0 where it cannot be read.
std::uint32_t LocaleFrom(const kx::RegistryFact& fact)
{
    wchar_t* end = nullptr;
    const unsigned long locale = std::wcstoul(fact.text.c_str(), &end, 16);
    return fact.text.empty() || *end != L'\0' ? 0 : static_cast<std::uint32_t>(locale);
}

} // namespace

std::optional<kx::OsRelease> CkxWindowsFacts::Release() const
{
    CkxOperatingSystem system;
    if (CkxOperatingSystem::Read(system) != ERROR_SUCCESS)
        return std::nullopt;
    return kx::OsRelease{system.GetFacts().major, system.GetFacts().minor, system.IsServer()};
}

std::optional<std::uint32_t> CkxWindowsFacts::Language(kx::LanguageOf whose) const
{
    if (whose == kx::LanguageOf::System)
        return ::GetSystemDefaultLCID();
    if (whose == kx::LanguageOf::Native)
        return ::GetSystemDefaultUILanguage();
    const std::uint32_t locale =
        LocaleFrom(ReadRegistry({kx::RegistryHive::CurrentUser, L"Control Panel\\International", L"Locale"}));
    return locale == 0 ? std::nullopt : std::optional(locale);
}

std::optional<std::uint64_t> CkxWindowsFacts::Amount(kx::Quantity quantity) const
{
    constexpr std::uint64_t megabyte = std::uint64_t{1} << 20;
    if (quantity == kx::Quantity::RamMegabytes) {
        MEMORYSTATUSEX memory{};
        memory.dwLength = sizeof memory;
        return ::GlobalMemoryStatusEx(&memory) ? std::optional(memory.ullTotalPhys / megabyte) : std::nullopt;
    }
    CkxRegKey key;
    DWORD speed = 0;
    if (key.Open(HKEY_LOCAL_MACHINE, L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0",
                 KEY_QUERY_VALUE) != ERROR_SUCCESS ||
        key.QueryDword(L"~MHz", speed) != ERROR_SUCCESS)
        return std::nullopt;
    return speed;
}

std::optional<std::uint64_t> CkxWindowsFacts::FreeBytes(wchar_t drive) const
{
    const wchar_t path[] = {drive, L':', L'\\', L'\0'};
    ULARGE_INTEGER bytes{};
    return ::GetDiskFreeSpaceExW(path, &bytes, nullptr, nullptr) ? std::optional(bytes.QuadPart)
                                                                 : std::nullopt;
}

std::optional<bool> CkxWindowsFacts::Has(kx::Device device) const
{
    constexpr BYTE noBattery = 128;
    constexpr BYTE notKnown = 255;
    SYSTEM_POWER_STATUS power{};
    if (device != kx::Device::Battery || !::GetSystemPowerStatus(&power) || power.BatteryFlag == notKnown)
        return std::nullopt;
    return (power.BatteryFlag & noBattery) == 0;
}

std::optional<kx::PortableState> CkxWindowsFacts::Portable() const
{
    HW_PROFILE_INFOW profile{};
    constexpr DWORD states = DOCKINFO_DOCKED | DOCKINFO_UNDOCKED | DOCKINFO_USER_SUPPLIED;
    if (!::GetCurrentHwProfileW(&profile) || (profile.dwDockInfo & states) != DOCKINFO_UNDOCKED)
        return std::nullopt;
    return kx::PortableState::Undocked;
}

std::optional<bool> CkxWindowsFacts::IsInMode(kx::ProcessingMode mode) const
{
    const auto has = [&](DWORD flag) { return (_m_flags & flag) != 0; };
    switch (mode) {
    case kx::ProcessingMode::SyncForeground:
        return !has(GPO_INFO_FLAG_BACKGROUND) && !has(GPO_INFO_FLAG_ASYNC_FOREGROUND);
    case kx::ProcessingMode::AsyncForeground:
        return has(GPO_INFO_FLAG_ASYNC_FOREGROUND);
    case kx::ProcessingMode::Background:
        return has(GPO_INFO_FLAG_BACKGROUND);
    case kx::ProcessingMode::ForcedRefresh:
        return has(GPO_INFO_FLAG_FORCED_REFRESH);
    case kx::ProcessingMode::LinkTransition:
        return has(GPO_INFO_FLAG_LINKTRANSITION);
    case kx::ProcessingMode::NoChanges:
        return has(GPO_INFO_FLAG_NOCHANGES);
    case kx::ProcessingMode::RsopTransition:
        return has(GPO_INFO_FLAG_LOGRSOP_TRANSITION);
    case kx::ProcessingMode::SafeBoot:
        return has(GPO_INFO_FLAG_SAFEMODE_BOOT);
    case kx::ProcessingMode::SlowLink:
        return has(GPO_INFO_FLAG_SLOWLINK);
    case kx::ProcessingMode::VerboseLog:
        return has(GPO_INFO_FLAG_VERBOSE);
    case kx::ProcessingMode::RsopEnabled: // no flag says so
        break;
    }
    return std::nullopt;
}

std::optional<kx::LocalMoment> CkxWindowsFacts::Now() const
{
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    return kx::LocalMoment{
        {std::chrono::year(now.wYear), std::chrono::month(now.wMonth), std::chrono::day(now.wDay)},
        (now.wHour * 60U + now.wMinute) * 60U + now.wSecond};
}
