#pragma once

#include "Common_CPP/trace/outputs.h"
#include "Common_CPP/trace/settings.h"
#include "Common_CPP/trace/silence.h"

#include <windows.h>

#include <optional>
#include <string>

struct D_ThreadState_c;

/// The templates of scope tracing, taken apart.
struct D_ScopeTemplates_c {
    kx::PrefixTemplate enter;
    kx::PrefixTemplate leave;
};

/// The process-wide state of the trace library: settings, outputs, and when to look for changes. Made on
/// first use and never by a static constructor, so that it works under the loader lock and to the very end.
/// Everything here is under the trace lock.
class D_Runtime_c final : public kx::MessageSink {
  public:
    /// Null while there is no memory for it.
    static D_Runtime_c* Get() noexcept;
    static void Destroy() noexcept;

    /// Writes to the current output, where there is one: takes what a line spills.
    static void WriteOutput(std::string_view text) noexcept;

    D_Runtime_c(const D_Runtime_c&) = delete;
    D_Runtime_c& operator=(const D_Runtime_c&) = delete;

    /// The library's own messages: to the current output, unless silenced.
    void Print(std::string_view text) noexcept override;

    /// Looks at the silence switches and the configuration file where that is due, with `now` read anew from
    /// the file. A thread without file operations leaves the file alone.
    void Refresh(const D_ThreadState_c& thread, bool now) noexcept;

    /// Sets the configuration file's name and reads it at once. The first 2,048 code units count.
    void SetConfigName(std::wstring_view name, const D_ThreadState_c& thread);

    /// Lets one directive take effect, as line `line` of the file or, with 0, of the program. False, with
    /// its message, when the text is none, and without one where it would switch outputs and must not.
    bool Apply(std::string_view text, std::uint32_t line, bool maySwitchOutputs) noexcept;

    /// The file's size limit: empties or rotates the trace file when it has outgrown it. One that could not
    /// be opened again when it was emptied is tried anew.
    void CheckFileSize(const D_ThreadState_c& thread) noexcept;

    /// Lets go of cached decisions after a change, and takes over what is read without the lock.
    void Publish() noexcept;

    /// The templates of scope tracing; null while it is off.
    [[nodiscard]] const D_ScopeTemplates_c* ScopeTemplates();

    kx::Settings settings;
    D_Outputs_c outputs;
    D_Silence_c silence;

  private:
    D_Runtime_c() noexcept = default;
    ~D_Runtime_c() = default;

    void _RefreshConfig(bool now) noexcept;
    void _ReadConfig();
    void _ApplyFile(std::string_view text);
    void _OpenLostFile() noexcept;
    [[nodiscard]] bool _PerformTask(kx::OutputTask task, const kx::Directive& directive);
    void _EmptyTraceFile() noexcept;

    std::wstring _m_configName;
    std::string _m_configText; ///< the name as messages show it
    FILETIME _m_configTime{};
    std::uint64_t _m_checkedAt = 0;
    bool _m_everRead = false;
    bool _m_mustEmpty = false; ///< the registry's switch went on: the trace file is still to be emptied
    std::uint64_t _m_rotateAgainAt = 0;
    std::uint64_t _m_publishedSettings = 0;
    bool _m_publishedShutUp = false;
    std::optional<D_ScopeTemplates_c> _m_scopeTemplates;
    std::uint64_t _m_templatesOf = 0; ///< the settings' generation that the templates were made from
};

/// True while entering and leaving of scopes is traced. Read without the lock.
[[nodiscard]] bool D_IsStackTraced() noexcept;
