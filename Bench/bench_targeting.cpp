// What a targeted policy costs: a refresh of policies with item-level targeting minus the same refresh
// without it, beside a bare loop that makes the same registry, file and extension calls for each policy. For
// comparison also beside a loop that does once what need not be done for each policy. The extension that
// evaluates the targeting is the stand-in, registered while this runs.
#include "Bench/bench_gpos.h"
#include "Bench/bench_report.h"
#include "Bench/refresh_stage.h"
#include "Common_CPP/util/reg_key.h"
#include "Tools/targeting/targeting_registration.h"

#include <cstddef>
#include <string>
#include <utility>

namespace {

constexpr int kPolicies = 100;
constexpr int kRounds = 21;
constexpr double kGoal = 1.2;
constexpr const wchar_t* kMarkerKey = L"software\\korvex\\agent\\temp";
constexpr const wchar_t* kMarker = L"ILTTest";
constexpr const wchar_t* kExtensionKey =
    L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon\\GPExtensions\\"
    L"{B087BE9D-ED37-454f-AF9C-04291E351182}";
constexpr const char* kMatches = R"(<ItemLevelTargeting><Filters><FilterComputer bool="AND" not="0" )"
                                 R"(type="NETBIOS" name="*"/></Filters></ItemLevelTargeting>)";
constexpr const char* kMatchesNot = R"(<ItemLevelTargeting><Filters><FilterComputer bool="AND" not="1" )"
                                    R"(type="NETBIOS" name="*"/></Filters></ItemLevelTargeting>)";

// The other extension, as its registration names it.
class Extension {
  public:
    bool Load()
    {
        CkxRegKey key;
        CString dll;
        CString entry;
        if (key.Open(HKEY_LOCAL_MACHINE, kExtensionKey, KEY_QUERY_VALUE) != ERROR_SUCCESS ||
            key.QueryString(L"DllName", dll, CkxRegKey::c_maxStringBytes) != ERROR_SUCCESS ||
            key.QueryString(L"ProcessGroupPolicyEx", entry, CkxRegKey::c_maxStringBytes) != ERROR_SUCCESS)
            return false;
        _m_module.Reset(::LoadLibraryW(dll));
        const std::string name(entry.GetString(), entry.GetString() + entry.GetLength());
        _m_process = reinterpret_cast<PFNPROCESSGROUPPOLICYEX>(
            reinterpret_cast<void*>(::GetProcAddress(_m_module.Get(), name.c_str())));
        return _m_process != nullptr;
    }

    /// With a list of one entry.
    void Process(HANDLE token, std::wstring& folder) const
    {
        wchar_t name[] = L"ILTTest";
        GROUP_POLICY_OBJECTW gpo{};
        gpo.lpFileSysPath = folder.data();
        gpo.lpDisplayName = name;
        BOOL abort = FALSE;
        HRESULT status = S_OK;
        (void)_m_process(CkxRefreshStage::c_flags, token, HKEY_LOCAL_MACHINE, nullptr, &gpo, 0, &abort,
                         nullptr, nullptr, &status);
    }

  private:
    CkxModule _m_module;
    PFNPROCESSGROUPPOLICYEX _m_process = nullptr;
};

// Evaluations without anything around the calls, in a work folder of their own.
class BareTargeting {
  public:
    /// `settings` is what the settings file is to hold.
    BareTargeting(HANDLE token, std::string settings) : _m_token(token), _m_settings(std::move(settings)) {}

    /// Microseconds a policy, each with all that belongs to it.
    double TimeWithEverything()
    {
        return _TimeOf([this] {
            Extension extension;
            CkxRegKey marker;
            return extension.Load() && _MakeFolders() && _OpenMarker(marker) && _Evaluate(extension, marker);
        });
    }

    /// The same where the extension stays loaded, the folders are there and the marker's key is open.
    double TimeAtTheLeast()
    {
        Extension extension;
        CkxRegKey marker;
        if (!extension.Load() || !_MakeFolders() || !_OpenMarker(marker))
            return CkxRefreshStage::c_failed;
        return _TimeOf([&] { return _Evaluate(extension, marker); });
    }

  private:
    template <class Evaluation>
    static double _TimeOf(const Evaluation& evaluation)
    {
        int matched = 0;
        const double nanoseconds = kx::NanosecondsACall(kPolicies, [&] { matched += evaluation() ? 1 : 0; });
        return matched == kPolicies ? nanoseconds / 1000 : CkxRefreshStage::c_failed;
    }

    [[nodiscard]] bool _MakeFolders() const
    {
        for (const wchar_t* name : {L"tmp", L"tmp\\Preferences", L"tmp\\Preferences\\Registry"})
            if (!::CreateDirectoryW((_m_folder / name).c_str(), nullptr) &&
                ::GetLastError() != ERROR_ALREADY_EXISTS)
                return false;
        return true;
    }

    [[nodiscard]] static bool _OpenMarker(CkxRegKey& marker)
    {
        return marker.Create(HKEY_LOCAL_MACHINE, kMarkerKey, KEY_READ | KEY_WRITE) == ERROR_SUCCESS;
    }

    // True when the targeting matched.
    [[nodiscard]] bool _Evaluate(const Extension& extension, const CkxRegKey& marker)
    {
        if (!_WriteSettings() || ::RegDeleteValueW(marker.Get(), kMarker) != ERROR_FILE_NOT_FOUND)
            return false;
        extension.Process(_m_token, _m_workFolder);
        return ::RegDeleteValueW(marker.Get(), kMarker) == ERROR_SUCCESS;
    }

    [[nodiscard]] bool _WriteSettings() const
    {
        const CkxFileHandle file(::CreateFileW(_m_file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                               FILE_ATTRIBUTE_NORMAL, nullptr));
        const auto size = static_cast<DWORD>(_m_settings.size());
        DWORD written = 0;
        return file && ::WriteFile(file.Get(), _m_settings.data(), size, &written, nullptr) &&
               written == size;
    }

    HANDLE _m_token;
    std::string _m_settings;
    TempFolder _m_folder;
    std::wstring _m_workFolder = _m_folder / L"tmp";
    std::wstring _m_file = _m_folder / L"tmp\\Preferences\\Registry\\Registry.xml";
};

// The policies that a refresh sends; 0 also where it fails, which the measuring notes.
std::size_t PoliciesSent(CkxRefreshStage& stage, const CkxBenchGpos& gpos)
{
    (void)stage.TimeOfExtension(gpos.List());
    return CkxUpdateContent(stage.LastDocument()).orders.size();
}

// An extension that evaluates nothing would be quick: policies must be kept where they match, and only there.
void CheckFilter(CkxBenchReport& report, CkxRefreshStage& stage, const CkxBenchGpos& matching)
{
    const CkxBenchGpos others(1, kPolicies, kMatchesNot);
    if (PoliciesSent(stage, others) != 0)
        report.Fail("policies whose targeting does not match were sent");
    if (PoliciesSent(stage, matching) != kPolicies)
        report.Fail("policies whose targeting matches were not sent");
}

// Microseconds that the targeting adds to a policy.
double TimeOfTargeting(CkxRefreshStage& stage, const CkxBenchGpos& targeted, const CkxBenchGpos& plain)
{
    const double with = stage.TimeOfExtension(targeted.List());
    const double without = stage.TimeOfExtension(plain.List());
    return with < 0 || without < 0 ? CkxRefreshStage::c_failed : (with - without) / kPolicies;
}

void Measure(CkxBenchReport& report, CkxRefreshStage& stage)
{
    const CkxBenchGpos targeted(1, kPolicies, kMatches);
    const CkxBenchGpos plain(1, kPolicies);
    CheckFilter(report, stage, targeted);
    const std::string settings = ReadBytes(stage / L"tmp\\Preferences\\Registry\\Registry.xml");
    if (settings.empty())
        report.Fail("the extension left no settings file");
    BareTargeting bare(stage.Token(), settings);
    const auto sides = kx::Interleave(kRounds, {[&] { return TimeOfTargeting(stage, targeted, plain); },
                                                [&] { return bare.TimeWithEverything(); },
                                                [&] { return bare.TimeAtTheLeast(); }});
    if (HasFailed(sides))
        report.Fail("a refresh or an evaluation failed");
    report.Compare("a targeted policy, to the same calls", "us", sides[0], sides[1], kGoal);
    report.Compare("a targeted policy, to the calls at the least", "us", sides[0], sides[2]);
}

} // namespace

int main(int argc, char** argv)
{
    CkxBenchReport report(argc, argv);
    CkxRefreshStage stage;
    CkxTargetingRegistration registration; // nothing ends the program from here on: it must be taken back
    if (registration.Register(KX_STAGE L"\\kx_targeting.dll") == ERROR_SUCCESS)
        Measure(report, stage);
    else
        report.Fail("the stand-in cannot be registered");
    return report.Finish();
}
