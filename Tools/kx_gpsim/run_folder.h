#pragma once

#include <string>
#include <string_view>

/// The folder of one run: it holds the copy of the extension that runs, which writes beside itself, and
/// everything else that the run makes.
class CkxRunFolder {
  public:
    /// Makes the folder: `wanted`, which may be there already, or a new one under the temporary folder where
    /// that is empty. Copies `extension` into it, byte for byte, and the stand-in for targeting, where one
    /// stands beside the extension, and has the trace carry times, unless a configuration of the user's
    /// stands in the folder already. An earlier run's facts and findings go. Without `keep` a temporary one
    /// goes at the end. Throws ToolError.
    CkxRunFolder(const std::string& wanted, bool keep, const std::wstring& extension);
    ~CkxRunFolder();
    CkxRunFolder(const CkxRunFolder&) = delete;
    CkxRunFolder& operator=(const CkxRunFolder&) = delete;

    /// Has the stand-in for targeting answer from these facts, in its own form. Throws ToolError.
    void StateFacts(std::string_view facts) const;

    [[nodiscard]] const std::wstring& Path() const { return _m_path; }

    /// Whether the trace is configured as this class does it: as by default, with times.
    [[nodiscard]] bool HasOwnConfiguration() const { return _m_hasOwnConfiguration; }

    /// Whether it outlives this object.
    [[nodiscard]] bool Stays() const { return _m_stays; }

    [[nodiscard]] std::wstring Extension() const { return _m_path + L"\\kx_gpext.dll"; }

    [[nodiscard]] std::wstring StandIn() const { return _m_path + L"\\kx_targeting.dll"; }

    [[nodiscard]] std::wstring Trace() const { return _m_path + L"\\Trace\\kx_gpext.trace"; }

    [[nodiscard]] std::wstring TargetingReport() const { return _m_path + L"\\tmp\\targeting-report.txt"; }

    /// Where the stand-in for targeting looks for facts.
    [[nodiscard]] std::wstring TargetingFacts() const { return _m_path + L"\\tmp\\targeting-facts.txt"; }

    /// What the extension asks targeting about.
    [[nodiscard]] std::wstring TargetingSettings() const
    {
        return _m_path + L"\\tmp\\Preferences\\Registry\\Registry.xml";
    }

  private:
    void _Make(const std::string& wanted);
    void _Copy(const std::wstring& extension) const;
    void _Configure();
    void _Remove() const;

    std::wstring _m_path;
    bool _m_stays;
    bool _m_hasOwnConfiguration = false;
};

/// The extension's module to run: the one named, or the one beside this program. Throws ToolError where it
/// is not there.
[[nodiscard]] std::wstring FindExtension(const std::string& named);
