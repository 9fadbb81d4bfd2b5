// Which Windows this is.
#pragma once

#include "Common_CPP/atl/kx_atl.h"

#include <windows.h>

/// What the system says about itself.
struct CkxOperatingSystemFacts {
    DWORD major = 0;
    DWORD minor = 0;
    DWORD build = 0;
    WORD servicePackMajor = 0;
    WORD servicePackMinor = 0;
    BYTE productType = 0; ///< VER_NT_WORKSTATION, VER_NT_SERVER or VER_NT_DOMAIN_CONTROLLER
    DWORD edition = 0;    ///< PRODUCT_..., 0 when unknown
    WORD machine = 0;     ///< IMAGE_FILE_MACHINE_... of the system, which may differ from the program's
};

/// The running system, or the one that given facts describe. Texts are in English and may throw
/// CAtlException.
class CkxOperatingSystem {
  public:
    /// Unknown: all facts are zero.
    CkxOperatingSystem() noexcept = default;

    /// The system that `facts` describe.
    explicit CkxOperatingSystem(const CkxOperatingSystemFacts& facts) noexcept : _m_facts(facts) {}

    /// Asks the running system; its true version, not the one that the program's manifest makes it show.
    /// Returns a Windows error, traced; `system` then stays as it was.
    [[nodiscard]] static DWORD Read(CkxOperatingSystem& system) noexcept;

    /// The facts as the system gave them.
    [[nodiscard]] const CkxOperatingSystemFacts& GetFacts() const noexcept { return _m_facts; }

    /// Whether the version is this one or a later one.
    [[nodiscard]] bool IsAtLeast(DWORD major, DWORD minor, DWORD build = 0) const noexcept;

    /// A server, domain controllers included.
    [[nodiscard]] bool IsServer() const noexcept;

    [[nodiscard]] bool IsDomainController() const noexcept;

    /// "Windows 10", "Windows Server 2019"; "Windows" or "Windows Server" for a version without known name.
    [[nodiscard]] const wchar_t* GetName() const noexcept;

    /// "Enterprise"; "edition 0x..." for one without known name, empty when unknown.
    [[nodiscard]] CString GetEdition() const;

    /// "Service Pack 1"; empty without one.
    [[nodiscard]] CString GetServicePack() const;

    /// "x64", "x86", "ARM64", "ARM" or "machine 0x...".
    [[nodiscard]] CString GetArchitecture() const;

    /// "10.0.19045"
    [[nodiscard]] CString GetVersion() const;

    /// "Windows 7 Enterprise Service Pack 1, version 6.1.7601, x64, workstation"
    [[nodiscard]] CString GetText() const;

  private:
    CkxOperatingSystemFacts _m_facts;
};
