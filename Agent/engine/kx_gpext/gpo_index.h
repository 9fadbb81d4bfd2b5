#pragma once

#include "Common_CPP/util/ascii_case.h"

#include <string>
#include <string_view>
#include <unordered_map>

namespace kx {

/// What was added to the document under a GPO's name. Names are compared without regard to the case of
/// A to Z; finding one costs the same however many there are.
template <class Value>
class GpoIndex {
  public:
    /// The first value added under `name`, or null.
    [[nodiscard]] const Value* Find(std::wstring_view name) const
    {
        const auto found = _m_values.find(LowerAscii(name));
        return found == _m_values.end() ? nullptr : &found->second;
    }

    /// Keeps the value that the name has already, if any.
    void Add(std::wstring_view name, const Value& value) { _m_values.try_emplace(LowerAscii(name), value); }

  private:
    std::unordered_map<std::wstring, Value> _m_values;
};

} // namespace kx
