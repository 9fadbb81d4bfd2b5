#include "Tools/kx_gpsim/gpo_source.h"

#include "Agent/engine/kx_gpext/policy_files.h"
#include "Common_CPP/util/kx_guid.h"
#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/text_case.h"
#include "Tools/kx_gpsim/text_file.h"
#include "Tools/kx_gpsim/wide_text.h"

#include <algorithm>
#include <array>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kLongestName = 49; // of the engine's structure

constexpr kx::PolicyFile kFiles[] = {kx::PolicyFile::Policies, kx::PolicyFile::ApplicationGroups,
                                     kx::PolicyFile::Tokens,   kx::PolicyFile::RestrictionRules,
                                     kx::PolicyFile::Gui,      kx::PolicyFile::Migration};

bool IsFolder(const fs::path& path)
{
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

bool IsFile(const fs::path& path)
{
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

std::string NameOf(const fs::path& path)
{
    return kx::Narrow(path.filename().wstring());
}

bool IsGuidName(const fs::path& path)
{
    CkxGUID ignored;
    const std::wstring name = path.filename().wstring();
    return name.starts_with(L'{') && CkxGUID::Parse(name, ignored);
}

bool IsScopeFolder(const fs::path& path)
{
    return IsFolder(path / kx::kExtensionGuid);
}

bool IsScopeName(const fs::path& path)
{
    return kx::EqualNoCase(NameOf(path), "Machine") || kx::EqualNoCase(NameOf(path), "User");
}

bool IsGpoFolder(const fs::path& path)
{
    return IsFile(path / L"GPT.INI") || IsFolder(path / L"Machine") || IsFolder(path / L"User");
}

fs::path FullPath(const std::string& path, const std::wstring& base)
{
    fs::path full = fs::path(base) / fs::path(kx::Wide(path));
    full = full.lexically_normal().make_preferred();
    return full.has_filename() ? full : full.parent_path();
}

std::vector<fs::path> FoldersIn(const fs::path& folder)
{
    std::vector<fs::path> folders;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (IsFolder(entry->path()))
            folders.push_back(entry->path());
    std::sort(folders.begin(), folders.end());
    return folders;
}

// ---- names --------------------------------------------------------------------------------------------

// One that is always the same for a folder whose own name is none: two runs must know the GPO again.
std::string NameFor(const fs::path& folder)
{
    std::uint64_t hash = 14695981039346656037U; // FNV-1a
    for (const char unit : kx::LowerAscii(kx::Narrow(folder.wstring())))
        hash = (hash ^ static_cast<unsigned char>(unit)) * 1099511628211U;
    GUID guid{};
    guid.Data1 = static_cast<unsigned long>(hash);
    guid.Data2 = static_cast<unsigned short>(hash >> 32);
    guid.Data3 = static_cast<unsigned short>(hash >> 48);
    return kx::Narrow(kx::View(CkxGUID(guid).Format()));
}

// "01 Fernhill baseline" without what only sorts it.
std::string WithoutNumber(const std::string& name)
{
    const std::size_t digits = name.find_first_not_of("0123456789");
    const bool numbered = digits != 0 && digits != std::string::npos && name[digits] == ' ';
    return numbered ? name.substr(digits + 1) : name;
}

// A folder of several GPOs is not called after one of them.
bool HoldsSeveral(const fs::path& folder)
{
    std::size_t count = 0;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (IsGuidName(entry->path()) && ++count > 1)
            return true;
    return false;
}

// Whether other GPOs stand beside one. Of a folder with many it is found out once.
using Neighbours = std::optional<bool>;

std::string DisplayNameFor(const fs::path& gpo, Neighbours neighbours)
{
    std::string text;
    if (kx::ReadBytes(gpo / L"display-name.txt", text) == ERROR_SUCCESS) {
        constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
        text.erase(0, text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0);
        text.resize(std::min(text.find_first_of("\r\n"), text.size()));
        if (!text.empty())
            return text;
    }
    if (!IsGuidName(gpo))
        return WithoutNumber(NameOf(gpo));
    const std::string around = NameOf(gpo.parent_path());
    if (around.empty() || kx::EqualNoCase(around, "Policies")) // there stand the GPOs of a whole domain
        return NameOf(gpo);
    const bool isName = !(neighbours ? *neighbours : HoldsSeveral(gpo.parent_path()));
    return isName ? WithoutNumber(around) : NameOf(gpo);
}

void FillNames(const fs::path& gpo, kx::GpoRequest& request, Neighbours neighbours = {})
{
    if (request.name.empty())
        request.name = IsGuidName(gpo) ? NameOf(gpo) : NameFor(gpo);
    if (request.name.size() > kLongestName)
        throw kx::UsageError(request.name + ": a GPO's name has at most 49 characters");
    if (request.displayName.empty())
        request.displayName = DisplayNameFor(gpo, neighbours);
}

// ---- what stands there --------------------------------------------------------------------------------

std::optional<std::uint32_t> VersionOf(const fs::path& gpo)
{
    const fs::path file = gpo / L"GPT.INI";
    if (!IsFile(file))
        return std::nullopt;
    return ::GetPrivateProfileIntW(L"General", L"Version", 0, file.c_str());
}

// The engine lists a GPO only for a scope in which the extension has anything.
CkxGpoSource OfGpoFolder(const fs::path& gpo, kx::GpoRequest request, Neighbours neighbours = {})
{
    FillNames(gpo, request, neighbours);
    CkxGpoSource source;
    source.request = std::move(request);
    source.version = VersionOf(gpo);
    if (IsScopeFolder(gpo / L"Machine"))
        source.machineFolder = (gpo / L"Machine").wstring();
    if (IsScopeFolder(gpo / L"User"))
        source.userFolder = (gpo / L"User").wstring();
    return source;
}

CkxGpoSource OfScopeFolder(const fs::path& folder, kx::GpoRequest request)
{
    const bool isNamed = IsScopeName(folder);
    const fs::path gpo = isNamed ? folder.parent_path() : folder;
    FillNames(gpo, request);
    CkxGpoSource source;
    source.request = std::move(request);
    source.version = VersionOf(gpo);
    source.anyScope = !isNamed;
    if (!isNamed || kx::EqualNoCase(NameOf(folder), "Machine"))
        source.machineFolder = folder.wstring();
    if (!isNamed || kx::EqualNoCase(NameOf(folder), "User"))
        source.userFolder = folder.wstring();
    return source;
}

// Those in the folder, and those that stand alone in a folder of their own there.
std::vector<CkxGpoSource> GposIn(const fs::path& folder, const kx::GpoRequest& request)
{
    std::vector<CkxGpoSource> gpos;
    const auto add = [&](const fs::path& gpo, Neighbours neighbours) {
        gpos.push_back(OfGpoFolder(gpo, request, neighbours));
        gpos.back().request.path = kx::Narrow(gpo.wstring());
    };
    const bool several = HoldsSeveral(folder);
    for (const fs::path& each : FoldersIn(folder)) {
        if (IsGpoFolder(each))
            add(each, several);
        else
            for (const fs::path& inner : FoldersIn(each))
                if (IsGuidName(inner) && IsGpoFolder(inner))
                    add(inner, {});
    }
    const bool named = !request.name.empty() || !request.displayName.empty();
    if (gpos.size() > 1 && named)
        throw kx::UsageError(request.path + ": a name is given for one GPO, but several stand there");
    return gpos;
}

std::string StampOf(const fs::path& file)
{
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!::GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data))
        return {};
    const std::uint64_t written =
        std::uint64_t{data.ftLastWriteTime.dwHighDateTime} << 32 | data.ftLastWriteTime.dwLowDateTime;
    return std::to_string(written) + ":" + std::to_string(data.nFileSizeLow);
}

void RequireFolder(const fs::path& path, const std::string& given)
{
    if (IsFile(path))
        throw kx::UsageError(given + ": is a file; a GPO is a folder");
    if (!IsFolder(path))
        throw kx::UsageError(given + ": there is no such folder");
}

} // namespace

std::vector<CkxGpoSource> FindGpos(const kx::GpoRequest& request, const std::wstring& base)
{
    const fs::path path = FullPath(request.path, base);
    RequireFolder(path, request.path);
    if (IsScopeFolder(path) || (IsScopeName(path) && !IsGpoFolder(path)))
        return {OfScopeFolder(path, request)};
    if (IsGpoFolder(path))
        return {OfGpoFolder(path, request)};
    std::vector<CkxGpoSource> gpos = GposIn(path, request);
    if (gpos.empty())
        throw kx::UsageError(request.path + ": is no GPO: it has no GPT.INI, Machine or User in it, nor " +
                             kx::Narrow(kx::kExtensionGuid));
    return gpos;
}

CkxGpoSource FindAppendedSet(const kx::GpoRequest& request, const std::wstring& base)
{
    const fs::path path = FullPath(request.path, base);
    RequireFolder(path, request.path);
    if (std::none_of(std::begin(kFiles), std::end(kFiles),
                     [&](kx::PolicyFile file) { return IsFile(path / kx::PolicyFileName(file)); }))
        throw kx::UsageError(request.path + ": is no policy set: no policy file stands directly in it");
    CkxGpoSource source;
    source.request = request;
    if (source.request.name.empty())
        source.request.name = NameOf(path).substr(0, kLongestName);
    if (source.request.displayName.empty())
        source.request.displayName = NameOf(path);
    source.machineFolder = path.wstring();
    source.userFolder = path.wstring();
    return source;
}

kx::SeenGpo SeenOf(const CkxGpoSource& source, kx::Scope scope)
{
    kx::SeenGpo seen;
    seen.name = source.request.name;
    seen.displayName = source.request.displayName;
    seen.folder = kx::Narrow(source.Folder(scope));
    seen.link = source.request.link;
    if (source.version)
        seen.version = scope == kx::Scope::Machine ? *source.version & 0xFFFF : *source.version >> 16;
    for (const kx::PolicyFile file : kFiles)
        if (std::string stamp = StampOf(kx::PolicyFilePath(source.Folder(scope), false, file));
            !stamp.empty())
            seen.files[kx::Narrow(kx::PolicyFileName(file))] = std::move(stamp);
    return seen;
}
