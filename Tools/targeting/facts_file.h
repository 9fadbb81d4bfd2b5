#pragma once

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

} // namespace kx
