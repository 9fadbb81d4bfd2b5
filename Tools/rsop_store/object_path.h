#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace kx {

/// A WMI object path, taken apart.
struct ObjectPath {
    std::wstring server;        ///< "." is this machine; empty: not named. REQUIRES: only with a namespace
    std::wstring namespacePath; ///< such as "root\rsop\computer"; empty: the current one
    std::wstring className;
    bool isInstance = false; ///< false: the class itself, and then there are no keys
    /// Name and value of each key, as ordered in the text. The only key of `Class="x"` has an empty name; an
    /// instance without keys, `Class=@`, is the only one of its class.
    std::vector<std::pair<std::wstring, std::variant<std::int64_t, std::wstring>>> keys;

    friend bool operator==(const ObjectPath&, const ObjectPath&) = default;
};

/// Reads `[[\\server\]namespace:]Class[.key=value,...]`, also `Class=value` and `Class=@`; '/' may stand for
/// '\' before the class. Values are decimal numbers of 64 bits, TRUE and FALSE (1 and 0), or texts in ' or ",
/// in which a backslash takes the next character literally. No key comes twice, names ignoring case, and
/// no more than 256 come.
///
/// A namespace alone, such as `\\.\root\cimv2`, is no object, and blanks stand in texts only. On false
/// `path` stays as it was.
[[nodiscard]] bool ParseObjectPath(std::wstring_view text, ObjectPath& path);

/// The whole path, `\\server\namespace:Class.key="v",n=5`; what is empty is left out with its separators.
/// ParseObjectPath() reads here what it read before.
[[nodiscard]] std::wstring ComposeObjectPath(const ObjectPath& path);

/// The part after the namespace, `Class.key="v",n=5`, keys in the order given.
[[nodiscard]] std::wstring ComposeRelativePath(const ObjectPath& path);

} // namespace kx
