#include "Tools/kx_gpsim/link_target.h"

#include "Tools/kx_gpsim/text_case.h"

namespace kx {

namespace {

constexpr std::string_view kScheme = "LDAP://";

// The domain's own part of a path: from its first "DC=" on.
std::string_view DomainOf(std::string_view path)
{
    for (std::size_t at = 0; at < path.size(); ++at)
        if (StartsWithNoCase(path.substr(at), "DC=") &&
            (at == 0 || path[at - 1] == ',' || path[at - 1] == '/'))
            return path.substr(at);
    return {};
}

std::string_view KindOf(std::string_view path)
{
    if (path.empty())
        return {};
    if (StartsWithNoCase(path, "OU="))
        return "ou";
    if (StartsWithNoCase(path, "DC="))
        return "domain";
    return ContainsNoCase(path, "CN=Sites") ? "site" : std::string_view();
}

} // namespace

LinkTarget ParseLink(std::string_view text)
{
    LinkTarget target;
    for (const std::string_view kind : {"site", "domain", "ou", "local"}) {
        if (StartsWithNoCase(text, kind) && text.substr(kind.size()).starts_with(':')) {
            target.kind = kind;
            text.remove_prefix(kind.size() + 1);
            break;
        }
    }
    if (target.kind == "local") {
        target.path = text.empty() ? "Local" : text;
        return target;
    }
    if (StartsWithNoCase(text, kScheme))
        text.remove_prefix(kScheme.size());
    if (target.kind.empty())
        target.kind = KindOf(text);
    if (!text.empty())
        target.path = std::string(kScheme) + std::string(text);
    return target;
}

std::string DirectoryPath(std::string_view gpo, std::string_view link, bool machine)
{
    const std::string_view domain = DomainOf(link);
    std::string path = machine ? "LDAP://CN=Machine,CN=" : "LDAP://CN=User,CN=";
    path.append(gpo).append(",CN=Policies,CN=System");
    if (!domain.empty())
        path.append(",").append(domain);
    return path;
}

} // namespace kx
