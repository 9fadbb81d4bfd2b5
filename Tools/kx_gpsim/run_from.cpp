#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/facts_json.h"
#include "Tools/kx_gpsim/gpo_source.h"
#include "Tools/kx_gpsim/mask_run.h"
#include "Tools/kx_gpsim/pass_runner.h"
#include "Tools/kx_gpsim/platform.h"
#include "Tools/kx_gpsim/run_options.h"
#include "Tools/kx_gpsim/run_request.h"
#include "Tools/kx_gpsim/run_state.h"
#include "Tools/kx_gpsim/terminal.h"
#include "Tools/kx_gpsim/text_file.h"
#include "Tools/kx_gpsim/wide_text.h"

#include <algorithm>
#include <filesystem>
#include <optional>

namespace fs = std::filesystem;

namespace kx {

namespace {

constexpr std::uint32_t kForcedRefresh = 0x0400;
constexpr std::uint32_t kNoChanges = 0x0080;

// ---- what is asked for --------------------------------------------------------------------------------

// The request, and the folder that its relative paths count from.
struct Asked {
    RunRequest request;
    std::wstring base;
};

Asked ReadRequest(const RunOptions& options)
{
    if (options.deliver && options.asLocalSystemForTest)
        throw UsageError("--as-localsystem-for-test is for tests; it does not go with --deliver");
    const std::wstring here = fs::current_path().wstring();
    if (options.manifest.empty())
        return {MakeRequest(options, nullptr), here};
    const Manifest manifest = ParseManifest(ReadText(options.manifest), options.manifest);
    return {MakeRequest(options, &manifest), fs::absolute(Wide(options.manifest)).parent_path().wstring()};
}

std::vector<CkxGpoSource> FindSources(Call call, const Asked& asked)
{
    std::vector<CkxGpoSource> sources;
    for (const GpoRequest& request : asked.request.gpos) {
        if (call == Call::Append)
            sources.push_back(FindAppendedSet(request, asked.base));
        else
            for (CkxGpoSource& source : FindGpos(request, asked.base))
                sources.push_back(std::move(source));
    }
    return sources;
}

GpoInput InputOf(const CkxGpoSource& source, Scope scope)
{
    const GpoRequest& request = source.request;
    return {request.name,
            request.displayName,
            Narrow(source.Folder(scope)),
            request.link,
            request.linkKind,
            0,
            request.forced,
            false};
}

GpoInput DeletedInput(const SeenGpo& gpo)
{
    return {gpo.name, gpo.displayName, gpo.folder, gpo.link, {}, 0, false, true};
}

// ---- one scope ----------------------------------------------------------------------------------------

// What one scope's call is to be made with.
struct ScopePlan {
    CkxPassRequest request;
    std::vector<SeenGpo> seen;
    std::vector<std::string> notes;
    bool call = true;
};

const char* NameOf(Scope scope)
{
    return scope == Scope::Machine ? "machine" : "user";
}

void AddChanged(const std::vector<CkxGpoSource>& sources, ScopePlan& plan)
{
    const Scope scope = plan.request.scope;
    for (const CkxGpoSource& source : sources) {
        if (source.Folder(scope).empty()) {
            plan.notes.push_back(source.request.displayName + " has nothing for the " + NameOf(scope) +
                                 " scope and is not in its list");
            continue;
        }
        plan.request.changed.push_back(InputOf(source, scope));
        plan.request.changed.back().order = static_cast<int>(plan.request.changed.size());
        plan.seen.push_back(SeenOf(source, scope));
    }
}

void AddDeleted(const Asked& asked, ScopePlan& plan)
{
    for (const GpoRequest& request : asked.request.deleted) {
        GpoInput gpo{request.name, request.displayName, {}, request.link, request.linkKind, 0, false, true};
        if (!request.path.empty()) {
            const CkxGpoSource source = FindGpos(request, asked.base).front();
            gpo = InputOf(source, plan.request.scope);
            gpo.deleted = true;
        }
        plan.request.deleted.push_back(std::move(gpo));
    }
}

void Compare(const std::optional<ScopeState>& last, ScopePlan& plan)
{
    EngineDecision decision = DecideRefresh(last, plan.seen, (plan.request.flags & kForcedRefresh) != 0);
    plan.call = decision.call;
    if (decision.noChanges)
        plan.request.flags |= kNoChanges;
    for (const SeenGpo& gpo : decision.deleted)
        plan.request.deleted.push_back(DeletedInput(gpo));
    std::move(decision.notes.begin(), decision.notes.end(), std::back_inserter(plan.notes));
}

ScopePlan PlanScope(const RunOptions& options, const Asked& asked, const std::vector<CkxGpoSource>& sources,
                    Scope scope, RunState& state)
{
    ScopePlan plan;
    plan.request.call = options.call;
    plan.request.scope = scope;
    plan.request.flags = asked.request.flags;
    plan.request.deleteAll = asked.request.deleteAll;
    plan.request.asLocalSystem = options.asLocalSystemForTest;
    AddChanged(sources, plan);
    AddDeleted(asked, plan);
    if (!options.state.empty())
        Compare(state.Of(scope), plan);
    return plan;
}

// Where both scopes are meant, one that no GPO is for is left out.
bool IsIdle(const RunRequest& request, const ScopePlan& plan)
{
    return request.bothScopes && plan.request.changed.empty() && plan.request.deleted.empty() &&
           !plan.request.deleteAll;
}

// A call that the engine would not make.
PassResult NotCalled(const ScopePlan& plan)
{
    PassResult pass;
    pass.scope = plan.request.scope;
    pass.call = "apply";
    pass.called = false;
    for (const GpoInput& gpo : plan.request.changed)
        pass.gpos.push_back({gpo, 0, {}, {}, {}, false});
    pass.notes = plan.notes;
    pass.notes.emplace_back("nothing has changed since the last run: the engine does not call the extension");
    return pass;
}

// ---- the run ------------------------------------------------------------------------------------------

RunState ReadState(const std::string& path)
{
    std::error_code ignored;
    if (path.empty() || !fs::exists(Wide(path), ignored))
        return {};
    return ParseState(ReadText(path), path);
}

// In the form of the stand-in for targeting; empty where none are given.
std::string ReadFacts(const std::string& path)
{
    return path.empty() ? std::string() : FactsText(ReadText(path), path);
}

class Run {
  public:
    explicit Run(const RunOptions& options)
        : _m_options(options),
          _m_asked(ReadRequest(options)),
          _m_state(ReadState(options.state)),
          _m_facts(ReadFacts(options.facts)),
          _m_sources(FindSources(options.call, _m_asked)),
          _m_folder(options.work, options.keep, FindExtension(options.extension))
    {
        if (options.call == Call::Append && !options.asLocalSystemForTest && !IsLocalSystem())
            throw EnvironmentError("an update is appended by LocalSystem only, which this program does not "
                                   "run as; start it as a "
                                   "service or a scheduled task of LocalSystem. (--as-localsystem-for-test "
                                   "answers the extension's "
                                   "question for tests.)");
        if (options.call != Call::Plan)
            _m_agent.emplace(options.deliver);
    }

    RunResult Make()
    {
        RunResult result;
        {
            const CkxPlatform platform(_m_folder, _m_options.call == Call::Plan);
            const std::vector<std::string> notes = _Prepare(platform);
            CkxExtensionModule extension;
            if (const DWORD error = extension.Load(_m_folder.Extension().c_str()); error != ERROR_SUCCESS)
                throw EnvironmentError("the extension cannot be loaded: " + SystemText(error));
            CkxPassRunner runner(_m_folder, extension, _m_agent ? &*_m_agent : nullptr,
                                 [this](std::size_t count) { _ShowProgress(count); });
            for (const Scope scope : _m_asked.request.scopes)
                _MakePass(scope, runner, notes, result);
        }
        if (result.passes.empty())
            throw UsageError("none of the GPOs has anything for this extension");
        if (!_m_options.state.empty())
            WriteText(_m_options.state, StateText(_m_state));
        if (_m_folder.Stays())
            result.workFolder = Narrow(_m_folder.Path());
        MaskSecrets(result);
        return result;
    }

  private:
    // What is to be said of each call besides.
    [[nodiscard]] std::vector<std::string> _Prepare(const CkxPlatform& platform) const
    {
        std::vector<std::string> notes;
        if (!platform.Note().empty())
            notes.push_back(platform.Note());
        if (_m_options.facts.empty())
            return notes;
        if (_m_options.call == Call::Plan) {
            notes.emplace_back("planning does not evaluate item-level targeting: no fact counts");
            return notes;
        }
        if (!platform.HasStandIn())
            throw EnvironmentError(
                "--facts: the stand-in for item-level targeting, which answers from facts, "
                "is not beside the extension, or this machine has targeting of its own");
        _m_folder.StateFacts(_m_facts);
        notes.push_back("item-level targeting is answered from " + _m_options.facts);
        return notes;
    }

    void _MakePass(Scope scope, CkxPassRunner& runner, const std::vector<std::string>& notes,
                   RunResult& result)
    {
        const ScopePlan plan = PlanScope(_m_options, _m_asked, _m_sources, scope, _m_state);
        if (IsIdle(_m_asked.request, plan))
            return;
        if (!plan.call) {
            result.passes.push_back(NotCalled(plan));
            return;
        }
        _m_shown = std::string(NameOf(scope)) + ": " + std::to_string(plan.request.changed.size()) + " GPOs";
        _m_progress.Show(_m_shown);
        PassResult pass = runner.Run(plan.request);
        pass.notes.insert(pass.notes.begin(), plan.notes.begin(), plan.notes.end());
        pass.notes.insert(pass.notes.end(), notes.begin(), notes.end());
        _m_state.Of(scope) = ScopeState{pass.code, plan.seen};
        result.passes.push_back(std::move(pass));
    }

    void _ShowProgress(std::size_t count)
    {
        _m_progress.Show(_m_shown + ", " + std::to_string(count) + " policies recorded");
    }

    const RunOptions& _m_options;
    Asked _m_asked;
    RunState _m_state;
    std::string _m_facts;
    std::vector<CkxGpoSource> _m_sources;
    CkxRunFolder _m_folder;
    std::optional<CkxAgentRole> _m_agent;
    CkxProgress _m_progress;
    std::string _m_shown;
};

bool IsError(const Complaint& complaint)
{
    return complaint.severity == "error";
}

bool HasErrors(const PassResult& pass)
{
    const auto faulty = [](const GpoOutcome& outcome) {
        return !outcome.letThrough.empty() ||
               std::any_of(outcome.complaints.begin(), outcome.complaints.end(), IsError);
    };
    return pass.code != 0 || std::any_of(pass.complaints.begin(), pass.complaints.end(), IsError) ||
           std::any_of(pass.gpos.begin(), pass.gpos.end(), faulty);
}

} // namespace

RunResult RunFrom(const RunOptions& options)
{
    return Run(options).Make();
}

bool HasErrors(const RunResult& run)
{
    return std::any_of(run.passes.begin(), run.passes.end(),
                       [](const PassResult& pass) { return HasErrors(pass); });
}

} // namespace kx
