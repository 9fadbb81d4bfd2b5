#include "Tools/kx_gpsim/run_state.h"

#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/json_reader.h"
#include "Tools/kx_gpsim/text_case.h"

#include <algorithm>

namespace kx {

using nlohmann::json;

namespace {

constexpr int kFormat = 1;
constexpr std::uint32_t kCallAgain = 1252; // "call again even if nothing changes"

// ---- the file -----------------------------------------------------------------------------------------

json SeenJson(const SeenGpo& gpo)
{
    return {{"name", gpo.name},
            {"displayName", gpo.displayName},
            {"folder", gpo.folder},
            {"link", gpo.link},
            {"version", gpo.version ? json(*gpo.version) : json()},
            {"files", gpo.files}};
}

json ScopeJson(const std::optional<ScopeState>& state)
{
    if (!state)
        return {};
    json gpos = json::array();
    for (const SeenGpo& gpo : state->gpos)
        gpos.push_back(SeenJson(gpo));
    return {{"code", state->code}, {"gpos", std::move(gpos)}};
}

std::map<std::string, std::string> ReadFiles(const JsonReader& from)
{
    std::map<std::string, std::string> files;
    for (const std::string& name : from.Names())
        files[name] = from.Text(name.c_str());
    return files;
}

SeenGpo ReadSeen(const JsonReader& from)
{
    SeenGpo gpo;
    gpo.name = from.Text("name");
    gpo.displayName = from.Text("displayName");
    gpo.folder = from.Text("folder");
    gpo.link = from.Text("link");
    if (!from.IsNull("version"))
        gpo.version = from.Number<std::uint32_t>("version");
    gpo.files = ReadFiles(from.Object("files"));
    return gpo;
}

std::optional<ScopeState> ReadScope(const JsonReader& root, const char* name)
{
    if (root.IsNull(name))
        return std::nullopt;
    const JsonReader from = root.Object(name);
    return ScopeState{from.Number<std::uint32_t>("code"), from.List("gpos", ReadSeen)};
}

// ---- the decision -------------------------------------------------------------------------------------

const SeenGpo* Find(const std::vector<SeenGpo>& gpos, const std::string& name)
{
    const auto found = std::find_if(gpos.begin(), gpos.end(),
                                    [&](const SeenGpo& gpo) { return EqualNoCase(gpo.name, name); });
    return found == gpos.end() ? nullptr : &*found;
}

bool LooksSame(const SeenGpo& before, const SeenGpo& now)
{
    const bool sameContent =
        before.version || now.version ? before.version == now.version : before.files == now.files;
    return EqualNoCase(before.name, now.name) && before.link == now.link && sameContent;
}

std::vector<std::string> UnnoticedFiles(const std::vector<SeenGpo>& before, const std::vector<SeenGpo>& now)
{
    std::vector<std::string> notes;
    for (const SeenGpo& gpo : now)
        if (const SeenGpo* const old = Find(before, gpo.name); old && old->version && old->files != gpo.files)
            notes.push_back("the files of " + (gpo.displayName.empty() ? gpo.name : gpo.displayName) +
                            " have changed, but not the version in GPT.INI: the engine does not notice");
    return notes;
}

} // namespace

RunState ParseState(std::string_view text, const std::string& file)
{
    const json value = ParseJson(text, file);
    try {
        const JsonReader root("the state", value);
        if (root.Int("format") != kFormat)
            root.Fail("format", "was written by another version of this program");
        return {ReadScope(root, "machine"), ReadScope(root, "user")};
    } catch (const UsageError& error) {
        throw UsageError(file + ": " + error.what());
    }
}

std::string StateText(const RunState& state)
{
    const json value = {
        {"format", kFormat}, {"machine", ScopeJson(state.machine)}, {"user", ScopeJson(state.user)}};
    return value.dump(2, ' ', false, json::error_handler_t::replace) + '\n';
}

EngineDecision DecideRefresh(const std::optional<ScopeState>& last, const std::vector<SeenGpo>& now,
                             bool forced)
{
    EngineDecision decision;
    if (!last)
        return decision;
    for (const SeenGpo& gpo : last->gpos)
        if (!Find(now, gpo.name))
            decision.deleted.push_back(gpo);
    if (!std::equal(last->gpos.begin(), last->gpos.end(), now.begin(), now.end(), LooksSame))
        return decision;
    decision.notes = UnnoticedFiles(last->gpos, now);
    decision.noChanges = true;
    decision.call = forced || last->code == kCallAgain;
    return decision;
}

} // namespace kx
