#include "Tools/kx_gpsim/targeting_watch.h"

#include "Agent/engine/kx_gpext/targeting_settings.h"
#include "Agent/engine/kx_gpext/targeting_verdict.h"
#include "Tools/kx_gpsim/text_file.h"

namespace {

using RemoveValue = LSTATUS(WINAPI*)(HKEY, const wchar_t*);

CkxTargetingWatch* g_watch = nullptr;
RemoveValue g_onward = nullptr;

// The element of the settings file, on one line.
std::string TargetingIn(std::string_view settings)
{
    constexpr std::string_view start = "<ItemLevelTargeting";
    constexpr std::string_view end = "</ItemLevelTargeting>";
    const std::size_t first = settings.find(start);
    const std::size_t last = settings.rfind(end);
    if (first == std::string_view::npos)
        return {};
    const std::string_view element =
        last == std::string_view::npos ? start : settings.substr(first, last + end.size() - first);
    std::string line;
    for (const char unit : element) {
        const bool blank = unit == ' ' || unit == '\t' || unit == '\r' || unit == '\n';
        if (!blank)
            line += unit;
        else if (!line.empty() && line.back() != ' ' && line.back() != '>')
            line += ' ';
    }
    return line;
}

kx::Targeted VerdictOf(LSTATUS removal)
{
    switch (kx::TargetingVerdictOf(static_cast<std::uint32_t>(removal))) {
    case kx::TargetingVerdict::Allowed:
        return kx::Targeted::Allowed;
    case kx::TargetingVerdict::Excluded:
        return kx::Targeted::Excluded;
    default:
        return kx::Targeted::LetThrough;
    }
}

} // namespace

CkxTargetingWatch::CkxTargetingWatch(HMODULE extension, const CkxRunFolder& folder)
    : _m_folder(folder), _m_patch(extension, "RegDeleteValueW", reinterpret_cast<void*>(&_OnRemove))
{
    g_onward = _m_patch.Original<RemoveValue>();
    g_watch = this;
}

CkxTargetingWatch::~CkxTargetingWatch()
{
    g_watch = nullptr;
}

LSTATUS WINAPI CkxTargetingWatch::_OnRemove(HKEY key, const wchar_t* name)
{
    CkxTargetingWatch* const watch =
        name && std::wstring_view(name) == kx::kTargetingMarkerName ? g_watch : nullptr;
    try {
        if (watch && !watch->_m_running)
            watch->_Begin();
    } catch (...) { // without memory the evaluation is not reported; the extension goes on
    }
    const LSTATUS removal = g_onward(key, name);
    try {
        if (watch)
            watch->_End(removal);
    } catch (...) {
    }
    return removal;
}

void CkxTargetingWatch::_Begin()
{
    kx::TargetingCheck check;
    check.offset = kx::SizeOf(_m_folder.Trace());
    _m_checks.push_back(std::move(check));
}

// The first removal only clears the way; where it fails, there is no second one.
void CkxTargetingWatch::_End(LSTATUS removal)
{
    if (_m_checks.empty())
        return;
    kx::TargetingCheck& check = _m_checks.back();
    check.verdict = VerdictOf(removal);
    if (!_m_running && check.verdict != kx::Targeted::LetThrough) {
        _m_running = true;
        return;
    }
    _m_running = false;
    std::string settings;
    if (kx::ReadBytes(_m_folder.TargetingSettings(), settings) == ERROR_SUCCESS)
        check.targeting = TargetingIn(settings);
    check.findings = _NewFindings();
}

std::vector<std::string> CkxTargetingWatch::_NewFindings()
{
    std::string report;
    if (kx::ReadBytes(_m_folder.TargetingReport(), report, _m_reported) != ERROR_SUCCESS)
        return {};
    _m_reported += report.size();
    return kx::SplitLines(report);
}

std::vector<kx::TargetingCheck> CkxTargetingWatch::Take(std::uint64_t traceStart)
{
    std::vector<kx::TargetingCheck> checks;
    checks.swap(_m_checks);
    _m_running = false;
    for (kx::TargetingCheck& check : checks)
        check.offset -= static_cast<std::size_t>(traceStart);
    return checks;
}
