#include "Tools/kx_gpsim/pass_runner.h"

#include "Agent/engine/kx_gpext/policy_files.h"
#include "Tools/host/appended_call.h"
#include "Tools/host/engine_lists.h"
#include "Tools/kx_gpsim/document_digest.h"
#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/gpo_outcomes.h"
#include "Tools/kx_gpsim/link_target.h"
#include "Tools/kx_gpsim/store_digest.h"
#include "Tools/kx_gpsim/text_case.h"
#include "Tools/kx_gpsim/text_file.h"
#include "Tools/kx_gpsim/wide_text.h"
#include "Tools/kx_gpsim/xml_fault.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <optional>

namespace {

constexpr DWORD kMessageTimeoutMs = 10000;

const char* CallName(kx::Call call)
{
    switch (call) {
    case kx::Call::Plan:
        return "plan";
    case kx::Call::Append:
        return "append";
    default:
        return "apply";
    }
}

GPO_LINK LinkKind(const std::string& kind)
{
    constexpr std::pair<const char*, GPO_LINK> kinds[] = {{"local", GPLinkMachine},
                                                          {"site", GPLinkSite},
                                                          {"domain", GPLinkDomain},
                                                          {"ou", GPLinkOrganizationalUnit}};
    for (const auto& [name, value] : kinds)
        if (kind == name)
            return value;
    return GPLinkUnknown;
}

CkxEngineList ListOf(const std::vector<kx::GpoInput>& gpos, kx::Scope scope)
{
    CkxEngineList list;
    for (const kx::GpoInput& gpo : gpos) {
        CkxListedGpo entry;
        entry.name = kx::Wide(gpo.name);
        entry.displayName = kx::Wide(gpo.displayName);
        entry.folder = kx::Wide(gpo.folder);
        entry.directoryPath = kx::Wide(kx::DirectoryPath(gpo.name, gpo.link, scope == kx::Scope::Machine));
        entry.link = kx::Wide(gpo.link);
        entry.linkKind = LinkKind(gpo.linkKind);
        entry.options = gpo.forced ? GPO_FLAG_FORCE : 0;
        entry.extensions = L"[" + std::wstring(kx::kExtensionGuid) + L"]";
        list.Add(entry);
    }
    return list;
}

std::wstring NamespaceOf(kx::Scope scope)
{
    return scope == kx::Scope::Machine ? L"ROOT\\RSOP\\Computer" : L"ROOT\\RSOP\\User";
}

bool IsPutInstance(const CkxStoreCall& call)
{
    return std::strcmp(call.method, "PutInstance") == 0;
}

constexpr const char* kUnreadable = "cannot be read";

std::wstring PathOf(const kx::GpoInput& gpo, bool appended, const std::string& file)
{
    std::wstring path = kx::Wide(gpo.folder);
    if (!appended)
        path.append(1, L'\\').append(kx::kExtensionGuid);
    return path + L'\\' + kx::Wide(file);
}

// Some parsers say neither where a file is wrong nor why. Then we look ourselves.
void Locate(kx::GpoOutcome& outcome, bool appended)
{
    for (kx::Complaint& complaint : outcome.complaints) {
        std::string text;
        if (complaint.line != 0 || complaint.reason != kUnreadable ||
            kx::ReadBytes(PathOf(outcome.gpo, appended, complaint.file), text) != ERROR_SUCCESS)
            continue;
        if (const auto fault = kx::FindXmlFault(text)) {
            complaint.line = fault->line;
            complaint.column = fault->column;
            complaint.reason = fault->reason;
        }
    }
}

// Planning has an error line for every file that is not there; an absent file is just empty.
void DropAbsentFiles(const std::vector<kx::GpoInput>& gpos, kx::TraceDigest& digest)
{
    for (std::size_t i = 0; i < gpos.size(); ++i)
        std::erase_if(digest.changed[i].complaints, [&](const kx::Complaint& complaint) {
            return complaint.reason == kUnreadable &&
                   !CkxUtil::FileExists(PathOf(gpos[i], false, complaint.file).c_str());
        });
}

// Where no document is to be had, what was taken of a GPO is what was recorded of it. The GPO's identity is
// its directory path, which has the name in it.
void CountRecorded(const std::vector<kx::RecordedInstance>& recorded, std::vector<kx::GpoOutcome>& gpos)
{
    for (const kx::RecordedInstance& instance : recorded)
        for (const kx::RecordedProperty& property : instance.properties)
            for (kx::GpoOutcome& outcome : gpos)
                if (instance.className == "RSOP_KxTesmorPolicySetting" && property.name == "GPOID" &&
                    kx::ContainsNoCase(property.value, outcome.gpo.name))
                    ++outcome.taken;
}

} // namespace

CkxPassRunner::CkxPassRunner(const CkxRunFolder& folder, const CkxExtensionModule& extension,
                             CkxAgentRole* agent, Progress progress)
    : _m_folder(folder),
      _m_extension(extension),
      _m_agent(agent),
      _m_progress(std::move(progress)),
      _m_watch(extension.Get(), folder),
      _m_token(MakeUserToken())
{
    if (!_m_token)
        throw kx::EnvironmentError("there is no token of the user: " + kx::SystemText(::GetLastError()));
}

kx::PassResult CkxPassRunner::Run(const CkxPassRequest& request)
{
    kx::PassResult pass;
    pass.scope = request.scope;
    pass.call = CallName(request.call);
    CkxRsopStore store(NamespaceOf(request.scope));
    std::size_t recorded = 0;
    store.OnCall([&](const CkxStoreCall& call) {
        if (IsPutInstance(call) && _m_progress)
            _m_progress(++recorded);
        return S_OK;
    });
    const std::uint64_t traceStart = kx::SizeOf(_m_folder.Trace());
    pass.code = _Call(request, store.Services());
    if (request.call != kx::Call::Plan)
        _Receive(pass);
    pass.recorded = DigestStore(store);
    _ReadTrace(request, traceStart, pass);
    return pass;
}

DWORD CkxPassRunner::_Call(const CkxPassRequest& request, IWbemServices* services) const
{
    switch (request.call) {
    case kx::Call::Plan:
        return _Plan(request, services);
    case kx::Call::Append:
        return _Append(request);
    default:
        return _Apply(request, services);
    }
}

DWORD CkxPassRunner::_Apply(const CkxPassRequest& request, IWbemServices* services) const
{
    CkxEngineList deleted = ListOf(request.deleted, request.scope);
    CkxEngineList changed = ListOf(request.changed, request.scope);
    const bool machine = request.scope == kx::Scope::Machine;
    BOOL abort = FALSE;
    HRESULT rsopStatus = S_OK;
    return _m_extension.ProcessGroupPolicyEx()(
        request.flags | (machine ? GPO_INFO_FLAG_MACHINE : 0), _m_token.Get(),
        machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER, deleted.Head(), changed.Head(), 0, &abort, nullptr,
        services, &rsopStatus);
}

DWORD CkxPassRunner::_Plan(const CkxPassRequest& request, IWbemServices* services) const
{
    CkxEngineList changed = ListOf(request.changed, request.scope);
    RSOP_TARGET target{};
    target.pGPOList = changed.Head();
    target.pWbemServices = services;
    const bool machine = request.scope == kx::Scope::Machine;
    BOOL abort = FALSE;
    return _m_extension.GenerateGroupPolicy()(request.flags, &abort, nullptr, machine ? &target : nullptr,
                                              machine ? nullptr : &target);
}

DWORD CkxPassRunner::_Append(const CkxPassRequest& request) const
{
    struct Texts {
        std::wstring folder;
        std::wstring name;
        std::wstring displayName;
    };

    std::vector<Texts> texts;
    texts.reserve(request.changed.size());
    for (const kx::GpoInput& gpo : request.changed)
        texts.push_back({kx::Wide(gpo.folder), kx::Wide(gpo.name), kx::Wide(gpo.displayName)});
    std::vector<kx::AppendedSet> sets;
    sets.reserve(texts.size());
    for (const Texts& each : texts)
        sets.push_back({each.folder.c_str(), each.name.c_str(), each.displayName.c_str()});
    kx::AppendedUpdate update{};
    update.sets = sets.data();
    update.count = static_cast<std::int32_t>(sets.size());
    update.deleteAll = request.deleteAll ? 1 : 0;
    update.userToken = request.scope == kx::Scope::User ? _m_token.Get() : nullptr;
    std::optional<LocalSystemCaller> caller;
    if (request.asLocalSystem)
        caller.emplace(_m_extension.Get());
    return CallAppendedUpdate(_m_extension.Get(), &update);
}

void CkxPassRunner::_Receive(kx::PassResult& pass) const
{
    if (!_m_agent->IsPlayed()) {
        pass.delivered = pass.code == ERROR_SUCCESS;
        _ReadDump(pass);
        return;
    }
    std::size_t broken = 0;
    const auto document = _m_agent->Receive(pass.code == ERROR_SUCCESS ? kMessageTimeoutMs : 0, broken);
    pass.delivered = document.has_value();
    if (document)
        DigestDocument(*document, pass);
    else if (broken > 0)
        pass.notes.push_back("a message of " + std::to_string(broken) + " bytes arrived that is not whole");
    else if (pass.code == ERROR_SUCCESS)
        pass.notes.emplace_back("the extension is content, but no document arrived");
}

// What went to the real agent is seen only where the extension is set to write it down as well.
void CkxPassRunner::_ReadDump(kx::PassResult& pass) const
{
    namespace fs = std::filesystem;
    std::error_code error;
    fs::path dump;
    for (const fs::directory_entry& entry :
         fs::directory_iterator(fs::path(_m_folder.Trace()).parent_path(), error))
        if (entry.path().extension() == L".xml" && entry.path().filename() > dump.filename())
            dump = entry.path();
    std::string text;
    if (dump.empty() || kx::ReadBytes(dump.wstring(), text) != ERROR_SUCCESS) {
        pass.notes.emplace_back(
            "the machine's agent has the document; it cannot be shown here (the extension "
            "writes it down where KxEnableDump is set). Policies are counted as recorded, "
            "without those of the configuration");
        return;
    }
    DigestDocument(kx::Wide(text), pass);
    fs::remove(dump, error);
    pass.notes.emplace_back("the document is the one that the extension wrote down for KxEnableDump");
}

void CkxPassRunner::_ReadTrace(const CkxPassRequest& request, std::uint64_t start, kx::PassResult& pass)
{
    std::string trace;
    if (kx::ReadBytes(_m_folder.Trace(), trace, start) != ERROR_SUCCESS || trace.empty())
        pass.notes.emplace_back(
            "there is no trace, so that what happened to each GPO is not known; tracing may "
            "be silenced on this machine");
    const auto checks = _m_watch.Take(start);
    const bool plan = request.call == kx::Call::Plan;
    kx::TraceDigest digest =
        plan ? kx::DigestPlanTrace(trace, request.changed) : kx::DigestTrace(trace, checks);
    if (plan)
        DropAbsentFiles(request.changed, digest);
    pass.gpos = kx::GatherOutcomes(request.changed, request.deleted, digest, pass.policies);
    if (pass.document.empty())
        CountRecorded(pass.recorded, pass.gpos);
    if (!plan && digest.changed.size() < request.changed.size())
        pass.notes.push_back("the extension came to " + std::to_string(digest.changed.size()) + " of " +
                             std::to_string(request.changed.size()) + " GPOs");
    for (kx::GpoOutcome& outcome : pass.gpos)
        Locate(outcome, request.call == kx::Call::Append);
    pass.complaints = std::move(digest.general);
    pass.trace = kx::SplitLines(trace);
}
