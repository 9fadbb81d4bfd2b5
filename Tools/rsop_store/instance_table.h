// The instances of one namespace, found by their keys. Pure: no Windows header, no lock of its own.
#pragma once

#include "Tools/rsop_store/class_definition.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kx {

/// A stored instance; its values are shared with whoever reads it.
struct InstanceRecord {
    ClassPointer definition;
    ValuesPointer values;
    std::uint64_t order = 0; // of first writing
};

/// Instances by space of keys and key. The cost of one does not grow with their number.
class CkxInstanceTable {
  public:
    /// The instance of that key text in the class's space of keys, or null.
    [[nodiscard]] const InstanceRecord* Find(const ClassDefinition& definition,
                                             const std::wstring& key) const;

    /// Creates or replaces an instance; one that is replaced keeps its place in the order.
    void Write(const ClassPointer& definition, const ValuesPointer& values, std::wstring key);

    /// Removes one instance. False when it is not there.
    bool Erase(const ClassDefinition& definition, const std::wstring& key);

    /// Removes the instances of a class and of the classes derived from it.
    void EraseAll(std::wstring_view className);

    /// Whether the class itself has an instance.
    [[nodiscard]] bool HasAny(std::wstring_view className) const;

    /// The instances whose class satisfies `wanted`, by order of first writing.
    [[nodiscard]] std::vector<InstanceRecord>
    Collect(const std::function<bool(const ClassDefinition&)>& wanted) const;

  private:
    using _Space = std::unordered_map<std::wstring, InstanceRecord>;

    std::unordered_map<std::wstring, _Space> _m_spaces; // by key root
    std::uint64_t _m_written = 0;
};

} // namespace kx
