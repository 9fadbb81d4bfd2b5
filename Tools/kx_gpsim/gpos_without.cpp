#include "Tools/kx_gpsim/gpos_without.h"

#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/named_gpos.h"
#include "Tools/kx_gpsim/text_case.h"
#include "Tools/kx_gpsim/text_file.h"
#include "Tools/kx_gpsim/wide_text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

using nlohmann::json;

// The folder from which the GPO is found again as it was: a scope's where it was found for that one only.
fs::path FolderOf(const CkxGpoSource& source)
{
    const bool machine = !source.machineFolder.empty();
    const bool user = !source.userFolder.empty();
    const fs::path folder = machine ? source.machineFolder : source.userFolder;
    return machine && user && !source.anyScope ? folder.parent_path() : folder;
}

std::wstring Normal(const fs::path& path)
{
    fs::path normal = fs::absolute(path).lexically_normal().make_preferred();
    return (normal.has_filename() ? normal : normal.parent_path()).wstring();
}

// The path may be that of the GPO, of a scope of it, or of the folder around it.
bool IsAtPath(const CkxGpoSource& source, const std::string& path)
{
    const std::string wanted = kx::Narrow(Normal(kx::Wide(path)));
    fs::path folder = FolderOf(source);
    for (int level = 0; level < 3 && !folder.empty(); ++level, folder = folder.parent_path())
        if (kx::EqualNoCase(kx::Narrow(Normal(folder)), wanted))
            return true;
    return false;
}

bool IsNamed(const CkxGpoSource& source, const std::string& name)
{
    return kx::EqualNoCase(source.request.name, name) || kx::EqualNoCase(source.request.displayName, name) ||
           kx::EqualNoCase(source.request.path, name) || IsAtPath(source, name);
}

void Remove(const std::string& name, std::vector<CkxGpoSource>& sources)
{
    const auto count = std::count_if(sources.begin(), sources.end(),
                                     [&](const CkxGpoSource& source) { return IsNamed(source, name); });
    if (count == 0)
        throw kx::UsageError("--without " + name + ": there is no such GPO in the set");
    if (count > 1)
        throw kx::UsageError("--without " + name +
                             ": several GPOs of the set are meant; give the {GUID} of one");
    std::erase_if(sources, [&](const CkxGpoSource& source) { return IsNamed(source, name); });
}

json RequestJson(const kx::GpoRequest& request, const fs::path& path)
{
    json gpo = {{"name", request.name},
                {"displayName", request.displayName},
                {"link", request.link},
                {"linkKind", request.linkKind}};
    if (!path.empty())
        gpo["path"] = kx::Narrow(path.wstring());
    return gpo;
}

json GposJson(const std::vector<CkxGpoSource>& sources)
{
    json gpos = json::array();
    for (const CkxGpoSource& source : sources) {
        if (FolderOf(source).empty())
            continue; // it has nothing for the extension and is in no list
        json gpo = RequestJson(source.request, FolderOf(source));
        gpo["forced"] = source.request.forced;
        gpos.push_back(std::move(gpo));
    }
    return gpos;
}

// What the run's own manifest says besides its GPOs.
json ManifestJson(const kx::RunOptions& run, const std::vector<CkxGpoSource>& sources)
{
    json manifest = {{"gpos", GposJson(sources)}};
    if (run.manifest.empty())
        return manifest;
    const kx::Manifest given = kx::ParseManifest(kx::ReadText(run.manifest), run.manifest);
    const fs::path base = fs::absolute(kx::Wide(run.manifest)).parent_path();
    if (given.scope)
        manifest["scope"] = *given.scope;
    manifest["flags"] = given.flags;
    manifest["deleteAll"] = given.deleteAll;
    manifest["deleted"] = json::array();
    for (const kx::GpoRequest& request : given.deleted)
        manifest["deleted"].push_back(RequestJson(
            request, request.path.empty() ? fs::path() : base / fs::path(kx::Wide(request.path))));
    return manifest;
}

std::string NewTemporaryFile()
{
    wchar_t folder[MAX_PATH + 2] = {};
    wchar_t file[MAX_PATH + 2] = {};
    if (::GetTempPathW(MAX_PATH + 1, folder) == 0 || ::GetTempFileNameW(folder, L"kxg", 0, file) == 0)
        throw kx::EnvironmentError("no temporary file can be made: " + kx::SystemText(::GetLastError()));
    return kx::Narrow(file);
}

} // namespace

CkxGposWithout::CkxGposWithout(const kx::RunOptions& run, const std::vector<std::string>& without)
    : _m_run(run)
{
    std::vector<CkxGpoSource> sources = FindNamedGpos(run.gpos, run.manifest);
    for (const std::string& name : without)
        Remove(name, sources);
    const json manifest = ManifestJson(run, sources);
    if (manifest.at("gpos").empty())
        return;
    const std::string text = manifest.dump(2, ' ', false, json::error_handler_t::replace);
    _m_manifest = NewTemporaryFile();
    try {
        kx::WriteText(_m_manifest, text);
    } catch (...) {
        (void)::DeleteFileW(kx::Wide(_m_manifest).c_str());
        throw;
    }
}

CkxGposWithout::~CkxGposWithout()
{
    if (!_m_manifest.empty())
        (void)::DeleteFileW(kx::Wide(_m_manifest).c_str());
}

kx::RunOptions CkxGposWithout::Options() const
{
    kx::RunOptions options = _m_run;
    options.gpos.clear();
    options.manifest = _m_manifest;
    return options;
}
