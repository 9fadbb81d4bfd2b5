#pragma once

#include <windows.h>

#include <string>
#include <vector>

/// Registers the stand-in as the preference extension for registry items, for as long as this object lives.
/// What was there before comes back at the end, and keys that were made go. Where several live at once,
/// they must end in reverse order.
class CkxTargetingRegistration {
  public:
    /// The identifier of the extension that the stand-in takes the place of.
    static constexpr const wchar_t* c_extension = L"{B087BE9D-ED37-454f-AF9C-04291E351182}";

    CkxTargetingRegistration() = default;
    ~CkxTargetingRegistration();
    CkxTargetingRegistration(const CkxTargetingRegistration&) = delete;
    CkxTargetingRegistration& operator=(const CkxTargetingRegistration&) = delete;

    /// Registers the module at `dll`, a full path to a file called kx_targeting.dll. Returns a Windows
    /// error, with the words for it in Reason(): 1242 where another module is registered already, which
    /// stays. After a failure nothing has changed. REQUIRES: not registered.
    [[nodiscard]] DWORD Register(const std::wstring& dll);

    /// Ends the registration, and tries every step. Returns the first Windows error.
    DWORD Remove() noexcept;

    /// Why Register failed.
    [[nodiscard]] const std::wstring& Reason() const { return _m_reason; }

  private:
    /// A value as it was.
    struct Saved {
        const wchar_t* name = nullptr;
        bool existed = false;
        DWORD type = REG_NONE;
        std::vector<BYTE> bytes;
    };

    [[nodiscard]] DWORD _Fail(DWORD error, std::wstring reason);
    [[nodiscard]] DWORD _MakeKeys();
    [[nodiscard]] DWORD _Set(const wchar_t* name, DWORD type, const std::wstring& text);

    std::vector<std::wstring> _m_madeKeys; ///< outermost first
    std::vector<Saved> _m_saved;
    std::wstring _m_reason;
};
