#include "Tests/torture/point.h"

#include "Tests/support/xml_meaning.h"
#include "Tests/torture/document_check.h"
#include "Tests/torture/resource_watch.h"
#include "Tools/host/update_message.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <optional>
#include <string_view>

namespace {

bool IsMemoryCall(std::string_view call)
{
    constexpr std::string_view calls[] = {"malloc",
                                          "calloc",
                                          "realloc",
                                          "_strdup",
                                          "SysAllocString",
                                          "SysAllocStringLen",
                                          "SysAllocStringByteLen",
                                          "SafeArrayCreateVector"};
    return std::find(std::begin(calls), std::end(calls), call) != std::end(calls);
}

// The module is refused where its language library finds no memory to begin with; nothing of ours has run.
bool IsRefusedLoad(DWORD error)
{
    return error == ERROR_DLL_INIT_FAILED || error == ERROR_NOT_ENOUGH_MEMORY;
}

// The offsets in the module of those return addresses that lie in it.
std::string OffsetsText(HMODULE module, std::span<void* const> frames)
{
    std::string text;
    for (void* frame : frames) {
        HMODULE owner = nullptr;
        if (!::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                      GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                  static_cast<const wchar_t*>(frame), &owner) ||
            owner != module)
            continue;
        char offset[24];
        std::snprintf(
            offset, sizeof offset, "+0x%llx ",
            static_cast<unsigned long long>(static_cast<char*>(frame) - reinterpret_cast<char*>(module)));
        text += offset;
    }
    return text;
}

struct Delivered {
    std::optional<std::string> first;  ///< of the run under faults
    std::optional<std::string> second; ///< of the undisturbed run after it
    bool twice = false;
};

// Takes messages until the document of the second run has come. What is cut short counts as none.
Delivered TakeDocuments(Stage& stage)
{
    Delivered delivered;
    while (!delivered.second) {
        const auto message = stage.NextMessage();
        if (!message)
            break;
        const auto text = kx::DecodeUpdateMessage(*message);
        if (!text)
            continue;
        std::string meaning = XmlMeaning(std::wstring(text->begin(), text->end()));
        std::optional<std::string>& place = IsOfSecondRun(meaning) ? delivered.second : delivered.first;
        delivered.twice = delivered.twice || place;
        place = std::move(meaning);
    }
    return delivered;
}

class Judge {
  public:
    Judge(PointResult& result, const Scenario& scenario, FaultPlan plan, const PointResult* undamaged)
        : _m_result(result), _m_scenario(scenario), _m_plan(plan), _m_undamaged(undamaged)
    {
    }

    void Complain(const std::string& text)
    {
        _m_result.complaint += (_m_result.complaint.empty() ? "" : "; ") + text;
    }

    void Code()
    {
        const DWORD code = _m_result.code;
        const std::span<const DWORD> documented = _m_scenario.entry.codes;
        if (std::find(documented.begin(), documented.end(), code) == documented.end())
            Complain("code " + std::to_string(code) + " is not documented");
        // An update that the agent has not got must be asked for again.
        if (_m_scenario.code != ERROR_SUCCESS && code == ERROR_SUCCESS)
            Complain("success is reported where nothing could be delivered");
        if (!_m_undamaged && code != _m_scenario.code)
            Complain("an undisturbed run gave " + std::to_string(code));
    }

    void Thread()
    {
        if (IsImpersonating()) {
            Complain("the thread is left impersonating");
            ::RevertToSelf();
        }
        if (IsMutexHeld(Stage::c_mutexName))
            Complain("the senders' mutex is held");
    }

    void Documents(Stage& stage, DWORD secondCode, const std::string& trace)
    {
        _m_result.errors = ErrorsIn(trace);
        if (secondCode != _m_scenario.code)
            Complain("the undisturbed run afterwards gave " + std::to_string(secondCode));
        if (stage.Agent() != AgentRole::Listens)
            return;
        const Delivered delivered = TakeDocuments(stage);
        if (delivered.twice)
            Complain("a document was delivered twice");
        if (delivered.first.has_value() != (_m_result.code == ERROR_SUCCESS))
            Complain(delivered.first ? "a document was delivered with an error code"
                                     : "success without a whole document");
        if (!delivered.second)
            Complain("the undisturbed run afterwards delivered nothing");
        if (delivered.first)
            _m_result.document = *delivered.first;
        if (!_m_undamaged)
            return;
        if (delivered.first && _m_result.code == ERROR_SUCCESS)
            _Document("the document", _m_undamaged->document, *delivered.first,
                      _m_scenario.entry.deliversParts && _HasNewError() && !_IsOnlyMemoryGone());
        if (delivered.second)
            _Document("the document afterwards", _m_undamaged->document, AsOfFirstRun(*delivered.second),
                      false);
    }

    void Leavings()
    {
        const std::string open = watch::OpenCalls();
        if (!open.empty())
            Complain("left open: " + open);
        if (watch::ForeignCloses() != 0)
            Complain("handles were closed that belong to others");
        _m_result.blocks = watch::Blocks();
        if (_m_undamaged && _m_result.blocks > _m_undamaged->blocks)
            Complain(std::to_string(_m_result.blocks - _m_undamaged->blocks) + " blocks of memory leaked");
        if (::GetModuleHandleW(Stage::c_moduleName))
            Complain("the module stayed loaded");
    }

  private:
    // An error that the undisturbed run does not trace too.
    [[nodiscard]] bool _HasNewError() const
    {
        const std::set<std::string>& usual = _m_undamaged->errors;
        return std::any_of(_m_result.errors.begin(), _m_result.errors.end(),
                           [&](const std::string& error) { return usual.count(error) == 0; });
    }

    // Then a document is whole or not sent, whatever was traced.
    [[nodiscard]] bool _IsOnlyMemoryGone() const
    {
        return _m_plan.mode == FaultPlan::Mode::FailNth && _m_result.failedCall &&
               IsMemoryCall(_m_result.failedCall);
    }

    void _Document(const std::string& what, const std::string& whole, const std::string& got, bool excused)
    {
        if (const std::string fault = DocumentFault(whole, got, excused); !fault.empty())
            Complain(what + " " + fault);
    }

    PointResult& _m_result;
    const Scenario& _m_scenario;
    FaultPlan _m_plan;
    const PointResult* _m_undamaged;
};

} // namespace

PointResult RunPoint(Stage& stage, const Scenario& scenario, FaultPlan plan, const PointResult* undamaged)
{
    PointResult result;
    Judge judge(result, scenario, plan, undamaged);
    FaultRun faults(plan);
    std::optional<ArmedFaults> armed;
    watch::Clear();

    if (scenario.inStartUp)
        armed.emplace(faults);
    const DWORD loadError = stage.Load();
    armed.reset();
    if (loadError == ERROR_SUCCESS) {
        if (!scenario.inStartUp)
            armed.emplace(faults);
        result.code = scenario.entry.run(stage, false);
        armed.reset();
        judge.Code();
        judge.Thread();
        result.failedCall = faults.FailedCall();
        const std::string trace = stage.Trace();
        const DWORD secondCode = scenario.entry.run(stage, true);
        judge.Documents(stage, secondCode, trace);
        result.failedAt = OffsetsText(stage.Module(), faults.FailedAt());
        if (scenario.inStartUp)
            armed.emplace(faults);
        stage.Unload();
        armed.reset();
    } else if (!IsRefusedLoad(loadError)) {
        judge.Complain("loading failed with " + std::to_string(loadError));
    }
    judge.Leavings();
    result.calls = faults.Calls();
    result.failedCall = faults.FailedCall();
    if (plan.mode != FaultPlan::Mode::CountOnly && !result.failedCall)
        judge.Complain("the call was never made: the count is not stable");
    return result;
}
