#pragma once

#include "Common_CPP/util/unique_handle.h"

#include <windows.h>

#include <atomic>

/// What a stand-in for the registry extension of Group Policy Preferences saw. It answers as the settings
/// that it is given say, by these texts:
///     answer="match"      writes the marker, late, so that another pass has time to meddle
///     answer="fail"       writes the marker and returns an error
///     answer="break"      deletes the marker's key
/// and does nothing otherwise.
struct TargetingCalls {
    std::atomic<int> calls{0};
    std::atomic<int> running{0};
    std::atomic<int> overlaps{0};     ///< calls that began while another one ran
    std::atomic<int> staleMarkers{0}; ///< calls that found a marker

    // The last call. Texts are cut to their room.
    DWORD flags = 0;
    HANDLE token = nullptr;
    HKEY keyRoot = nullptr;
    bool deletedList = false;
    bool restIsEmpty = false; ///< no further GPO, no callback, no handle; the abort flag is there and cleared
    DWORD version = 0;
    int link = 0;
    wchar_t gpoName[64] = {};
    wchar_t displayName[64] = {};
    wchar_t directoryPath[64] = {};
    wchar_t linkPath[64] = {};
    wchar_t extensions[128] = {};
    wchar_t folder[MAX_PATH] = {};
    char settings[4096] = {};
};

/// The stand-in, registered as the real extension would be, until the end of this object.
class TargetingStandIn {
  public:
    /// Registers the stand-in itself.
    TargetingStandIn();
    ~TargetingStandIn();
    TargetingStandIn(const TargetingStandIn&) = delete;
    TargetingStandIn& operator=(const TargetingStandIn&) = delete;

    /// Registers something else. Null leaves a value out.
    void Register(const wchar_t* dll, const wchar_t* entry) const;
    void Unregister() const;

    /// Keeps the stand-in loaded, so that what it saw outlives the calls.
    TargetingCalls& Watch();

    /// True while the marker that an evaluation leaves behind is there.
    [[nodiscard]] static bool IsMarkerThere();

    [[nodiscard]] static bool IsLoaded();

  private:
    CkxModule _m_module;
};
