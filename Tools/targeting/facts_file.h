#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// What a facts file states. Values are those that their readers in plain_values.h understand.
struct FactsFile {
    std::map<std::wstring, std::vector<std::wstring>, std::less<>> values; ///< by key
    std::wstring
        problem; ///< why the file is not understood, then there are no values; empty: it is, or is absent

    /// The values of a key; null where nothing is stated.
    [[nodiscard]] const std::vector<std::wstring>* Find(std::wstring_view key) const
    {
        const auto found = values.find(key);
        return found == values.end() ? nullptr : &found->second;
    }
};

/// Reads lines of the form "key = value". One that is not understood makes the whole text not understood, for
/// what it meant to state cannot be left out of account.
[[nodiscard]] FactsFile ParseFacts(std::wstring_view text);

/// A larger file nobody can have meant; it is not read.
inline constexpr std::size_t kMostFactsBytes = 1 << 20;

/// What can be stated under a key. Family: nothing, but the key is what others have in common before a dot.
enum class FactKind : std::uint8_t { None, Family, Text, Number, YesNo };

/// How the values of a key look.
struct FactForm {
    FactKind kind = FactKind::None;
    bool isList = false; ///< it may stand several times, or state that there is none
};

/// The form of the values of a key.
[[nodiscard]] FactForm FactFormOf(std::wstring_view key);

} // namespace kx
