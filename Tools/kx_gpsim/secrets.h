// What is never shown.
#pragma once

#include <string>
#include <string_view>

namespace kx {

/// What stands in place of a secret.
inline constexpr std::string_view kSecretDots = "...";

/// Whether the value of an attribute, element or configuration path of this name is a secret: the last part
/// of the name ends in "password", in any case.
[[nodiscard]] bool IsSecretName(std::string_view name);

/// XML text with the values of secret attributes and the content of secret elements replaced by dots. Text
/// that is no XML is masked as far as it looks like it. Linear.
[[nodiscard]] std::string MaskXml(std::string_view xml);

} // namespace kx
