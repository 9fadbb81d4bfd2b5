#include "Tests/torture/judge.h"

#include "Tests/support/xml_meaning.h"
#include "Tests/torture/com_faults.h"
#include "Tests/torture/document_check.h"
#include "Tests/torture/resource_watch.h"
#include "Tools/host/update_message.h"

#include <algorithm>
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

// Messages by meaning, up to that of the second run. What is cut short counts as none.
struct Delivered {
    std::vector<std::string> first;    ///< of the run under faults, and of the thread beside it
    std::optional<std::string> second; ///< of the undisturbed run after it
};

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
        if (IsOfSecondRun(meaning))
            delivered.second = std::move(meaning);
        else
            delivered.first.push_back(std::move(meaning));
    }
    return delivered;
}

// Takes the document that a thread has delivered out of those that came: of its scope, or one that does not
// say. "" for a thread without success, which must not have delivered any.
std::string TakeDocument(std::vector<std::string>& documents, const ThreadResult& thread, bool user)
{
    if (thread.code != ERROR_SUCCESS)
        return {};
    const auto saysOne = [&](const std::string& document) { return IsOfScope(document, user); };
    const auto saysOther = [&](const std::string& document) { return IsOfScope(document, !user); };
    auto found = std::find_if(documents.begin(), documents.end(), saysOne);
    if (found == documents.end())
        found = std::find_if_not(documents.begin(), documents.end(), saysOther);
    if (found == documents.end())
        return {};
    std::string taken = std::move(*found);
    documents.erase(found);
    return taken;
}

} // namespace

Judge::Judge(PointResult& result, const Scenario& scenario, FaultPlan plan, const PointResult* undamaged)
    : _m_result(result), _m_scenario(scenario), _m_plan(plan), _m_undamaged(undamaged)
{
}

void Judge::Complain(const std::string& text)
{
    _m_result.complaint += (_m_result.complaint.empty() ? "" : "; ") + text;
}

void Judge::Codes()
{
    _Code(_m_result.code);
    if (!_m_result.other)
        return;
    _Code(_m_result.other->code);
    if (_m_scenario.strikes == Strikes::RunBesideAnother && _m_result.other->code != ERROR_SUCCESS)
        Complain("the undisturbed thread gave " + std::to_string(_m_result.other->code));
}

void Judge::_Code(DWORD code)
{
    const std::span<const DWORD> documented = _m_scenario.entry.codes;
    if (std::find(documented.begin(), documented.end(), code) == documented.end() &&
        !(_m_scenario.entry.reportsHresults && FAILED(static_cast<HRESULT>(code))))
        Complain("code " + std::to_string(code) + " is not documented");
    // An update that the agent has not got must be asked for again.
    if (_m_scenario.code != ERROR_SUCCESS && code == ERROR_SUCCESS)
        Complain("success is reported where nothing could be delivered");
    if (!_m_undamaged && code != _m_scenario.code)
        Complain("an undisturbed run gave " + std::to_string(code));
}

void Judge::Thread()
{
    if (IsImpersonating()) {
        Complain("the thread is left impersonating");
        ::RevertToSelf();
    }
    if (IsMutexHeld(Stage::c_mutexName))
        Complain("the senders' mutex is held");
}

void Judge::Announcement(Stage& stage)
{
    const bool isSent = stage.Agent() == AgentRole::Listens && !_m_scenario.entry.reportsHresults &&
                        _m_result.code == ERROR_SUCCESS;
    if (isSent && !stage.TakeAnnouncement())
        Complain("a document was not announced");
}

void Judge::LastErrors(const LastErrorWatch& watch)
{
    _m_result.statements = watch.Kept();
    if (watch.Broken() != 0)
        Complain(std::to_string(watch.Broken()) + " trace statements changed the last-error value");
}

void Judge::Documents(Stage& stage, DWORD secondCode, const std::string& trace)
{
    _m_result.errors = ErrorsIn(trace);
    if (secondCode != _m_scenario.code)
        Complain("the undisturbed run afterwards gave " + std::to_string(secondCode));
    _Record(stage);
    if (stage.Agent() != AgentRole::Listens || _m_scenario.entry.reportsHresults)
        return;
    const bool isUser = (stage.flags & GPO_INFO_FLAG_MACHINE) == 0;
    Delivered delivered = TakeDocuments(stage);
    if (_m_result.other)
        _m_result.other->document = TakeDocument(delivered.first, *_m_result.other, !isUser);
    _m_result.document = TakeDocument(delivered.first, _m_result, isUser);
    if (!delivered.first.empty())
        Complain("a document was delivered twice, or with an error code");
    _Delivery("the document", _m_result, _m_undamaged ? _m_undamaged->document : "");
    if (_m_result.other)
        _Delivery("the other thread's document", *_m_result.other,
                  _m_undamaged ? _m_undamaged->other->document : "");
    if (!delivered.second)
        Complain("the undisturbed run afterwards delivered nothing");
    else if (_m_undamaged)
        if (const std::string fault =
                DocumentFault(_m_undamaged->document, AsOfFirstRun(*delivered.second), false);
            !fault.empty())
            Complain("the document afterwards " + fault);
}

void Judge::_Delivery(const char* whose, const ThreadResult& thread, const std::string& whole)
{
    if (thread.code == ERROR_SUCCESS && thread.document.empty())
        Complain(whose + std::string(" is missing, with success"));
    if (!_m_undamaged || thread.document.empty())
        return;
    if (const std::string fault = DocumentFault(whole, thread.document, _IsExcused(thread)); !fault.empty())
        Complain(whose + (' ' + fault));
}

// Parts may be missing where an error says so; where only memory is gone, a document is whole or not sent,
// whatever was traced.
bool Judge::_IsExcused(const ThreadResult& thread) const
{
    using enum FaultPlan::Mode;
    const bool onlyMemoryGone =
        _m_plan.mode == NoMemoryNth ||
        (_m_plan.mode == FailNth && thread.failedCall && IsMemoryCall(thread.failedCall));
    return _m_scenario.entry.deliversParts && thread.failedCall && !onlyMemoryGone && _HasNewError();
}

// An error that the undisturbed run does not trace too.
bool Judge::_HasNewError() const
{
    const std::set<std::string>& usual = _m_undamaged->errors;
    return std::any_of(_m_result.errors.begin(), _m_result.errors.end(),
                       [&](const std::string& error) { return usual.count(error) == 0; });
}

void Judge::_Record(const Stage& stage)
{
    _m_result.recorded = stage.Recorded();
    if (_m_undamaged && _m_result.recorded != _m_undamaged->recorded)
        Complain("the undisturbed run afterwards recorded something else");
}

void Judge::Secrets(const Stage& stage)
{
    if (const std::string places = stage.SecretPlaces(); !places.empty())
        Complain("the secret shows in " + places);
    if (const unsigned blocks = watch::FreedSecrets(); blocks != 0)
        Complain(std::to_string(blocks) + " blocks were freed with the secret in them");
}

void Judge::Leavings(const Stage& stage)
{
    if (const std::string open = watch::OpenCalls(); !open.empty())
        Complain("left open: " + open);
    if (watch::ForeignCloses() != 0)
        Complain("handles were closed, or references released, that belong to others");
    if (stage.LiveRecordObjects() != 0)
        Complain(std::to_string(stage.LiveRecordObjects()) + " objects of the store are left");
    if (const std::string unknown = com::UnknownCalls(); !unknown.empty())
        Complain("calls that the table of COM calls does not know: " + unknown);
    _m_result.blocks = watch::Blocks();
    if (_m_undamaged && _m_result.blocks > _m_undamaged->blocks)
        Complain(std::to_string(_m_result.blocks - _m_undamaged->blocks) + " blocks of memory leaked");
    if (::GetModuleHandleW(Stage::c_moduleName))
        Complain("the module stayed loaded");
}
