// The values that the store keeps, and the CIM types that they have. Pure: no Windows header.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace kx {

/// A CIM type, with the numbers of CIMTYPE.
enum class CimType : long {
    None = 0,
    SInt16 = 2,
    SInt32 = 3,
    Real32 = 4,
    Real64 = 5,
    String = 8,
    Boolean = 11,
    SInt8 = 16,
    UInt8 = 17,
    UInt16 = 18,
    UInt32 = 19,
    SInt64 = 20,
    UInt64 = 21,
    DateTime = 101,
    Reference = 102,
    Char16 = 103,
};

/// One value: null, boolean, whole number, real number or text. A uint64 is kept by its 64 bits; date-times
/// and references are text.
using StoreValue = std::variant<std::monostate, bool, std::int64_t, double, std::wstring>;

/// The values of one object, in the order of its class's properties.
using Values = std::vector<StoreValue>;
using ValuesPointer = std::shared_ptr<const Values>;

/// Whether there is no value.
[[nodiscard]] inline bool IsNull(const StoreValue& value)
{
    return std::holds_alternative<std::monostate>(value);
}

/// The type as a class definition spells it, such as "uint32"; null for a type that the store does not have.
[[nodiscard]] const wchar_t* CimTypeName(CimType type);

/// Whether values of the type are whole numbers.
[[nodiscard]] bool IsInteger(CimType type);

/// Whether the type is exchanged as text that is not a number.
[[nodiscard]] bool IsText(CimType type);

/// Whether a property of the type may identify an instance: everything but real numbers.
[[nodiscard]] bool CanBeKey(CimType type);

/// A whole number in decimal; for uint64 the unsigned reading of its bits.
[[nodiscard]] std::wstring IntegerText(CimType type, std::int64_t value);

/// Reads exactly one decimal number that fits the type. False otherwise, and `value` stays as it was.
[[nodiscard]] bool ParseInteger(CimType type, std::wstring_view text, std::int64_t& value);

/// Whether a whole number lies in the range of the type.
[[nodiscard]] bool InRange(CimType type, std::int64_t value);

/// Whether two names are the same; names of classes, properties and qualifiers ignore case.
[[nodiscard]] bool EqualNames(std::wstring_view one, std::wstring_view other);

/// Negative, zero or positive, as `one` comes before, with or after `other`, ignoring case.
[[nodiscard]] int CompareIgnoringCase(std::wstring_view one, std::wstring_view other);

/// A name in the form under which tables keep it.
[[nodiscard]] std::wstring FoldedName(std::wstring_view name);

/// Whether a class or a property may have this name: letters, digits and underscores, the first and the last
/// of them no underscore, the first no digit.
[[nodiscard]] bool IsValidName(std::wstring_view name);

/// Whether a name belongs to WMI itself.
[[nodiscard]] inline bool IsSystemName(std::wstring_view name)
{
    return name.substr(0, 2) == L"__";
}

} // namespace kx
