#include "Common_CPP/ntapi/operating_system.h"

#include "Common_CPP/ntapi/ntapi.h"
#include "Common_CPP/trace/trace.h"

#include <algorithm>
#include <iterator>
#include <tuple>

KXT_CLASS("CkxOperatingSystem");

namespace {

using IsWow64Process2Function = BOOL(WINAPI*)(HANDLE, USHORT*, USHORT*);

// Not in every header.
constexpr WORD c_machineArm64 = 0xAA64;

/// The first build of a version that has a name of its own; the last row that is not later holds.
struct NamedVersion {
    DWORD major;
    DWORD minor;
    DWORD build;
    const wchar_t* name;
};

constexpr NamedVersion c_workstations[] = {
    {6, 0, 0, L"Windows Vista"},   {6, 1, 0, L"Windows 7"}, {6, 2, 0, L"Windows 8"},
    {6, 3, 0, L"Windows 8.1"},     {6, 4, 0, L"Windows"},   {10, 0, 0, L"Windows 10"},
    {10, 0, 22000, L"Windows 11"}, {10, 1, 0, L"Windows"},
};

constexpr NamedVersion c_servers[] = {
    {6, 0, 0, L"Windows Server 2008"}, {6, 1, 0, L"Windows Server 2008 R2"},
    {6, 2, 0, L"Windows Server 2012"}, {6, 3, 0, L"Windows Server 2012 R2"},
    {6, 4, 0, L"Windows Server"},      {10, 0, 0, L"Windows Server 2016"},
    {10, 0, 16299, L"Windows Server"}, {10, 0, 17763, L"Windows Server 2019"},
    {10, 0, 17764, L"Windows Server"}, {10, 0, 20348, L"Windows Server 2022"},
    {10, 0, 20349, L"Windows Server"}, {10, 0, 26100, L"Windows Server 2025"},
    {10, 0, 26101, L"Windows Server"},
};

struct NamedEdition {
    DWORD edition;
    const wchar_t* name;
};

// By number, since not every header has them all.
constexpr NamedEdition c_editions[] = {
    {0x01, L"Ultimate"},
    {0x02, L"Home Basic"},
    {0x03, L"Home Premium"},
    {0x04, L"Enterprise"},
    {0x05, L"Home Basic N"},
    {0x06, L"Business"},
    {0x07, L"Standard"},
    {0x08, L"Datacenter"},
    {0x0A, L"Enterprise"},
    {0x0B, L"Starter"},
    {0x0C, L"Datacenter (core)"},
    {0x0D, L"Standard (core)"},
    {0x0E, L"Enterprise (core)"},
    {0x10, L"Business N"},
    {0x11, L"Web Server"},
    {0x1A, L"Home Premium N"},
    {0x1B, L"Enterprise N"},
    {0x1C, L"Ultimate N"},
    {0x30, L"Professional"},
    {0x31, L"Professional N"},
    {0x48, L"Enterprise Evaluation"},
    {0x4F, L"Standard Evaluation"},
    {0x50, L"Datacenter Evaluation"},
    {0x62, L"Home N"},
    {0x63, L"Home China"},
    {0x64, L"Home Single Language"},
    {0x65, L"Home"},
    {0x79, L"Education"},
    {0x7A, L"Education N"},
    {0x7D, L"Enterprise LTSC"},
    {0x7E, L"Enterprise N LTSC"},
    {0xA1, L"Pro for Workstations"},
    {0xA2, L"Pro for Workstations N"},
    {0xA4, L"Pro Education"},
    {0xAF, L"Enterprise multi-session"},
    {0xBC, L"IoT Enterprise"},
    {0xBF, L"IoT Enterprise LTSC"},
};

WORD MachineOf(WORD processorArchitecture) noexcept
{
    switch (processorArchitecture) {
    case PROCESSOR_ARCHITECTURE_AMD64:
        return IMAGE_FILE_MACHINE_AMD64;
    case PROCESSOR_ARCHITECTURE_INTEL:
        return IMAGE_FILE_MACHINE_I386;
    case PROCESSOR_ARCHITECTURE_ARM:
        return IMAGE_FILE_MACHINE_ARMNT;
    case 12: // PROCESSOR_ARCHITECTURE_ARM64
        return c_machineArm64;
    default:
        return IMAGE_FILE_MACHINE_UNKNOWN;
    }
}

/// The true machine: to an emulated program GetNativeSystemInfo shows the emulated one. Systems without the
/// newer call do not emulate 64-bit programs either, so its absence is no failure.
WORD ReadMachine() noexcept
{
    const HMODULE kernel = ::GetModuleHandleW(L"kernel32.dll");
    const FARPROC function = kernel != nullptr ? ::GetProcAddress(kernel, "IsWow64Process2") : nullptr;
    const auto isWow64 = reinterpret_cast<IsWow64Process2Function>(reinterpret_cast<void*>(function));
    USHORT process = 0;
    USHORT native = 0;
    if (isWow64 != nullptr && isWow64(::GetCurrentProcess(), &process, &native))
        return native;
    SYSTEM_INFO info = {};
    ::GetNativeSystemInfo(&info);
    return MachineOf(info.wProcessorArchitecture);
}

void AppendPiece(CString& text, const wchar_t* separator, const CString& piece)
{
    if (!piece.IsEmpty())
        text += separator + piece;
}

} // namespace

DWORD CkxOperatingSystem::Read(CkxOperatingSystem& system) noexcept
{
    OSVERSIONINFOEXW version = {};
    if (const NTSTATUS status = CkxNTAPI::GetVersion(version); !NT_SUCCESS(status)) {
        const DWORD error = CkxNTAPI::ErrorOf(status);
        KXT_SCOPE("Read");
        KXT_OUT(KXT_ERROR, "ERROR: RtlGetVersion() failed. status=" << status);
        return error;
    }
    CkxOperatingSystemFacts facts;
    facts.major = version.dwMajorVersion;
    facts.minor = version.dwMinorVersion;
    facts.build = version.dwBuildNumber;
    facts.servicePackMajor = version.wServicePackMajor;
    facts.servicePackMinor = version.wServicePackMinor;
    facts.productType = version.wProductType;
    facts.machine = ReadMachine();
    if (!::GetProductInfo(facts.major, facts.minor, facts.servicePackMajor, facts.servicePackMinor,
                          &facts.edition))
        facts.edition = PRODUCT_UNDEFINED;
    system = CkxOperatingSystem(facts);
    return ERROR_SUCCESS;
}

bool CkxOperatingSystem::IsAtLeast(DWORD major, DWORD minor, DWORD build) const noexcept
{
    return std::tie(_m_facts.major, _m_facts.minor, _m_facts.build) >= std::tie(major, minor, build);
}

bool CkxOperatingSystem::IsServer() const noexcept
{
    return _m_facts.productType == VER_NT_SERVER || IsDomainController();
}

bool CkxOperatingSystem::IsDomainController() const noexcept
{
    return _m_facts.productType == VER_NT_DOMAIN_CONTROLLER;
}

const wchar_t* CkxOperatingSystem::GetName() const noexcept
{
    const wchar_t* name = IsServer() ? L"Windows Server" : L"Windows";
    const auto choose = [&](const auto& versions) {
        for (const NamedVersion& version : versions)
            if (IsAtLeast(version.major, version.minor, version.build))
                name = version.name;
    };
    IsServer() ? choose(c_servers) : choose(c_workstations);
    return name;
}

CString CkxOperatingSystem::GetEdition() const
{
    const auto found =
        std::find_if(std::begin(c_editions), std::end(c_editions),
                     [this](const NamedEdition& named) { return named.edition == _m_facts.edition; });
    if (found != std::end(c_editions))
        return found->name;
    CString text;
    if (_m_facts.edition != PRODUCT_UNDEFINED)
        text.Format(L"edition 0x%lX", _m_facts.edition);
    return text;
}

CString CkxOperatingSystem::GetServicePack() const
{
    CString text;
    if (_m_facts.servicePackMajor != 0)
        text.Format(L"Service Pack %u", _m_facts.servicePackMajor);
    if (_m_facts.servicePackMajor != 0 && _m_facts.servicePackMinor != 0)
        text.AppendFormat(L".%u", _m_facts.servicePackMinor);
    return text;
}

CString CkxOperatingSystem::GetArchitecture() const
{
    switch (_m_facts.machine) {
    case IMAGE_FILE_MACHINE_AMD64:
        return L"x64";
    case IMAGE_FILE_MACHINE_I386:
        return L"x86";
    case IMAGE_FILE_MACHINE_ARMNT:
        return L"ARM";
    case c_machineArm64:
        return L"ARM64";
    default:
        CString text;
        text.Format(L"machine 0x%X", _m_facts.machine);
        return text;
    }
}

CString CkxOperatingSystem::GetVersion() const
{
    CString text;
    text.Format(L"%lu.%lu.%lu", _m_facts.major, _m_facts.minor, _m_facts.build);
    return text;
}

CString CkxOperatingSystem::GetText() const
{
    CString text = GetName();
    AppendPiece(text, L" ", GetEdition());
    AppendPiece(text, L" ", GetServicePack());
    AppendPiece(text, L", version ", GetVersion());
    AppendPiece(text, L", ", GetArchitecture());
    AppendPiece(text, L", ",
                IsDomainController() ? L"domain controller"
                : IsServer()         ? L"server"
                                     : L"workstation");
    return text;
}
