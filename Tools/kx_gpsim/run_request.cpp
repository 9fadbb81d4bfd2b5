#include "Tools/kx_gpsim/run_request.h"

#include "Agent/engine/kx_gpext/gp_flags_text.h"
#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/link_target.h"
#include "Tools/kx_gpsim/text_case.h"

#include <algorithm>
#include <charconv>

namespace kx {

namespace {

constexpr std::uint32_t kMachineFlag = 1;

// The extension's own name of a bit; empty where it has none.
std::string NameOfBit(std::uint32_t bit)
{
    const std::wstring text = GpFlagsText(bit);
    return text.starts_with(L"0x") ? std::string() : std::string(text.begin(), text.end());
}

bool ParseNumber(std::string_view text, std::uint32_t& value)
{
    const bool hexadecimal = StartsWithNoCase(text, "0x");
    const char* const first = text.data() + (hexadecimal ? 2 : 0);
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(first, last, value, hexadecimal ? 16 : 10);
    return error == std::errc() && end == last && first != last;
}

std::uint32_t FlagBit(const std::string& name)
{
    std::uint32_t value = 0;
    for (std::uint32_t bit = 1; bit != 0 && value == 0; bit <<= 1)
        if (EqualNoCase(NameOfBit(bit), name))
            value = bit;
    if (value == 0 && !ParseNumber(name, value)) {
        std::string names;
        for (const std::string& known : FlagNames())
            names.append(names.empty() ? "" : ", ").append(known);
        throw UsageError("--flags: " + name + " is no engine flag; there are " + names + ", and numbers");
    }
    if ((value & kMachineFlag) != 0)
        throw UsageError("--flags: MACHINE is set by the scope");
    return value;
}

std::size_t Place(int number, std::size_t count, const char* option)
{
    if (number < 1 || static_cast<std::size_t>(number) > count)
        throw UsageError(std::string(option) + ": there is no GPO number " + std::to_string(number));
    return static_cast<std::size_t>(number) - 1;
}

// "N=TARGET" for one, "TARGET" for all.
void SetLink(const std::string& text, std::vector<GpoRequest>& gpos)
{
    const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
    const bool numbered = digits > 0 && text.substr(digits).starts_with('=');
    const LinkTarget target = ParseLink(numbered ? std::string_view(text).substr(digits + 1) : text);
    const auto set = [&](GpoRequest& gpo) {
        gpo.link = target.path;
        gpo.linkKind = target.kind;
    };
    if (!numbered) {
        std::for_each(gpos.begin(), gpos.end(), set);
        return;
    }
    std::uint32_t number = 0;
    (void)ParseNumber(std::string_view(text).substr(0, digits), number);
    set(gpos[Place(static_cast<int>(number), gpos.size(), "--link")]);
}

std::vector<GpoRequest> Reordered(const std::vector<GpoRequest>& gpos, const std::vector<int>& order)
{
    std::vector<GpoRequest> list;
    std::vector<bool> used(gpos.size());
    for (const int number : order) {
        const std::size_t place = Place(number, gpos.size(), "--order");
        if (used[place])
            throw UsageError("--order: " + std::to_string(number) + " stands there twice");
        used[place] = true;
        list.push_back(gpos[place]);
    }
    if (list.size() != gpos.size())
        throw UsageError("--order: it names " + std::to_string(list.size()) + " of " +
                         std::to_string(gpos.size()) + " GPOs");
    return list;
}

// Numbers in the options are places as the GPOs were given.
std::vector<GpoRequest> GposOf(const RunOptions& options)
{
    std::vector<GpoRequest> gpos;
    for (const std::string& path : options.gpos)
        gpos.push_back({path, {}, {}, {}, {}, false});
    for (const std::string& link : options.links)
        SetLink(link, gpos);
    for (const int number : options.forced)
        gpos[Place(number, gpos.size(), "--forced")].forced = true;
    return options.order.empty() ? gpos : Reordered(gpos, options.order);
}

GpoRequest DeletedOf(const std::string& text)
{
    const bool isName = text.starts_with('{') && text.ends_with('}');
    return isName ? GpoRequest{{}, text, {}, {}, {}, false} : GpoRequest{text, {}, {}, {}, {}, false};
}

void SetScopes(const RunOptions& options, const Manifest* manifest, RunRequest& request)
{
    std::string scope = options.scope;
    if (scope.empty() && manifest)
        scope = manifest->scope.value_or("");
    if (scope.empty())
        scope = options.call == Call::Append ? "machine" : "both";
    request.bothScopes = scope == "both";
    if (scope != "user")
        request.scopes.push_back(Scope::Machine);
    if (scope != "machine")
        request.scopes.push_back(Scope::User);
}

} // namespace

RunRequest MakeRequest(const RunOptions& options, const Manifest* manifest)
{
    const bool placed = !options.links.empty() || !options.forced.empty() || !options.order.empty();
    if (manifest && (!options.gpos.empty() || placed))
        throw UsageError(
            "GPOs, their links and their order stand either on the command line or in a manifest");
    RunRequest request;
    SetScopes(options, manifest, request);
    request.gpos = manifest ? manifest->gpos : GposOf(options);
    request.flags = FlagBits(options.flags);
    request.deleteAll = options.deleteAll;
    if (manifest) {
        request.deleted = manifest->deleted;
        request.flags |= FlagBits(manifest->flags);
        request.deleteAll = request.deleteAll || manifest->deleteAll;
    }
    for (const std::string& deleted : options.deleted)
        request.deleted.push_back(DeletedOf(deleted));
    if (request.gpos.empty() && request.deleted.empty() && !request.deleteAll)
        throw UsageError("no GPO is named, neither on the command line nor in a manifest");
    return request;
}

std::uint32_t FlagBits(const std::vector<std::string>& names)
{
    std::uint32_t bits = 0;
    for (const std::string& name : names)
        bits |= FlagBit(name);
    return bits;
}

std::vector<std::string> FlagNames()
{
    std::vector<std::string> names;
    for (std::uint32_t bit = 2; bit != 0; bit <<= 1)
        if (std::string name = NameOfBit(bit); !name.empty())
            names.push_back(std::move(name));
    return names;
}

} // namespace kx
