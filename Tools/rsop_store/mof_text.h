// Classes and instances as MOF, the text form of WMI. Pure: no Windows header.
#pragma once

#include "Tools/rsop_store/class_definition.h"

namespace kx {

/// The declaration of a class: its own properties and qualifiers, flavors when asked for. Without a name the
/// class is called by nothing.
[[nodiscard]] std::wstring ClassMof(const ClassDefinition& definition, bool flavors);

/// The declaration of an instance; properties that are null are left out.
[[nodiscard]] std::wstring InstanceMof(const ClassDefinition& definition, const Values& values);

} // namespace kx
