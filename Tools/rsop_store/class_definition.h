// What a class is made of. A registered definition never changes; its instances and every object that shows
// it share it. Pure: no Windows header.
#pragma once

#include "Tools/rsop_store/store_value.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// A qualifier of a class or of a property. `flavor` says how it spreads, without its origin.
struct Qualifier {
    std::wstring name;
    StoreValue value;
    long flavor = 0;
    bool inherited = false; // as the parent class has it, not restated here
};

using Qualifiers = std::vector<Qualifier>;

/// Bits of a flavor, with the numbers of WBEM_FLAVOR_TYPE.
inline constexpr long kToInstance = 0x1;
inline constexpr long kToDerivedClass = 0x2;
inline constexpr long kNotOverridable = 0x10;
inline constexpr long kAmended = 0x80;

/// The qualifier of that name, or null.
[[nodiscard]] const Qualifier* FindQualifier(const Qualifiers& list, std::wstring_view name);
[[nodiscard]] Qualifier* FindQualifier(Qualifiers& list, std::wstring_view name);

/// Whether the qualifier is there and true.
[[nodiscard]] bool IsTrue(const Qualifiers& list, std::wstring_view name);

/// What of a parent's qualifiers reaches a derived class.
[[nodiscard]] Qualifiers InheritedQualifiers(const Qualifiers& list);

/// One property as a class has it, declared there or inherited.
struct PropertyDefinition {
    std::wstring name;
    CimType type = CimType::None;
    StoreValue value; // which a new instance starts with
    Qualifiers qualifiers;
    std::wstring origin;    // the class that declared it first; empty while that class has no name
    bool inherited = false; // the parent class has it
    bool local = true;      // declared or restated here
};

struct ClassDefinition;
using ClassPointer = std::shared_ptr<const ClassDefinition>;

/// A class: inherited properties first, in the parent's order, then its own.
struct ClassDefinition {
    std::wstring name;   // empty while nobody has named it
    ClassPointer parent; // null for a class at the top
    Qualifiers qualifiers;
    std::vector<PropertyDefinition> properties;

    // Known once the class is sealed:
    std::vector<std::size_t> keys; // places of the key properties
    std::wstring keyRoot;          // folded name of the ancestor that declares the keys: one space of keys
    ValuesPointer defaults;        // the values that a new instance shares until it is written to

    /// The place of a property, ignoring case.
    [[nodiscard]] std::optional<std::size_t> Find(std::wstring_view property) const;

    /// Whether this is the class of that name or derived from it.
    [[nodiscard]] bool IsA(std::wstring_view className) const;

    /// The ancestors, the parent first.
    [[nodiscard]] std::vector<std::wstring> Derivation() const;

    /// The ancestor at the top, or this class.
    [[nodiscard]] const std::wstring& Dynasty() const;
};

/// A new property with the qualifier that names its type.
[[nodiscard]] PropertyDefinition MakeProperty(std::wstring_view name, CimType type, StoreValue value = {});

/// A property as a class derived from one that has it starts with it.
[[nodiscard]] PropertyDefinition InheritProperty(const PropertyDefinition& property);

/// A class without a name, derived from `parent`.
[[nodiscard]] ClassDefinition DeriveClass(const ClassPointer& parent);

/// Works out what the class's instances need and fixes the definition.
[[nodiscard]] ClassPointer Seal(ClassDefinition definition);

/// Text that two instances share exactly when they have the same keys; names of namespaces ignore case, other
/// keys do not. REQUIRES: no key is null.
[[nodiscard]] std::wstring KeyText(const ClassDefinition& definition, const Values& values);

/// `values` of one definition of a class as another definition of it lays them out. Nothing when a value
/// that is not null has no property of its type there.
[[nodiscard]] std::optional<Values> Relocate(const Values& values, const ClassDefinition& from,
                                             const ClassDefinition& to);

/// The classes that every namespace has, a class after its parent.
[[nodiscard]] std::vector<ClassPointer> SystemClasses();

/// RSOP_PolicySetting, the abstract parent of all RSoP policy classes.
[[nodiscard]] ClassPointer PolicySettingClass();

} // namespace kx
