#pragma once

#include <string>
#include <string_view>

namespace kx {

/// What a GPO is linked to.
struct LinkTarget {
    std::string path; ///< an LDAP path; empty where nobody knows
    std::string kind; ///< "site", "domain", "ou", "local" or ""
};

/// Reads "LDAP://OU=Dairy,DC=fernhill,DC=example", the same without "LDAP://", or either with "site:",
/// "domain:", "ou:" or "local:" in front. Without a kind in front the path tells it.
[[nodiscard]] LinkTarget ParseLink(std::string_view text);

/// The directory path of one scope's half of a GPO, in the domain of its link.
[[nodiscard]] std::string DirectoryPath(std::string_view gpo, std::string_view link, bool machine);

} // namespace kx
