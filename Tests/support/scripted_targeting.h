#pragma once

#include "Common_CPP/util/unique_handle.h"

#include <windows.h>

#include <atomic>

/// What a scripted registry extension of Group Policy Preferences saw. It answers as the settings
/// that it is given say, by these texts:
///     answer="match"      writes the marker, late, so that another pass has time to meddle
///     answer="fail"       writes the marker and returns an error
///     answer="stay"       leaves the thread with the user's identity
///     answer="break"      deletes the marker's key
/// and does nothing otherwise.
struct TargetingCalls {
    std::atomic<int> calls{0};
    std::atomic<int> running{0};
    std::atomic<int> overlaps{0};     ///< calls that began while another one ran
    std::atomic<int> staleMarkers{0}; ///< calls that found a marker

    // The last call: its arguments in c_targetingCall, and the settings file. Cut to their room.
    wchar_t call[1024] = {};
    char settings[4096] = {};
};

/// How a call is put in words. A pointer that must not be null is shown by what it points at.
inline constexpr const wchar_t* c_targetingCall =
    L"flags=%lX token=%p root=%p deleted=%p handle=%llu abort=%d callback=%p status=%lX, the GPO: "
    L"options=%lX "
    L"version=%lX ds=%s folder=%s display=%s name=%s link=%d next=%p previous=%p extensions=%s linked=%s";

/// The scripted extension, registered as the real extension would be, until the end of this object.
class ScriptedTargeting {
  public:
    /// Registers the scripted extension itself.
    ScriptedTargeting();
    ~ScriptedTargeting();
    ScriptedTargeting(const ScriptedTargeting&) = delete;
    ScriptedTargeting& operator=(const ScriptedTargeting&) = delete;

    /// Registers something else. Null leaves a value out.
    void Register(const wchar_t* dll, const wchar_t* entry) const;
    void Unregister() const;

    /// Keeps the scripted extension loaded, so that what it saw outlives the calls.
    TargetingCalls& Watch();

    /// True while the marker that an evaluation leaves behind is there.
    [[nodiscard]] static bool IsMarkerThere();

    [[nodiscard]] static bool IsLoaded();

  private:
    CkxModule _m_module;
};
