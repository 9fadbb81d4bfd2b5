#include "Tools/targeting/variable_text.h"

namespace kx {

namespace {

// The place of one %NAME% in a text.
struct Reference {
    std::size_t start;
    std::size_t size; ///< both signs included

    [[nodiscard]] std::wstring NameIn(std::wstring_view text) const
    {
        return std::wstring(text.substr(start + 1, size - 2));
    }
};

std::optional<Reference> FindReference(std::wstring_view text, std::size_t from)
{
    constexpr std::size_t none = std::wstring_view::npos;
    std::size_t start = text.find(L'%', from);
    while (start != none) {
        const std::size_t end = text.find(L'%', start + 1);
        if (end == none)
            return std::nullopt;
        if (end > start + 1)
            return Reference{start, end - start + 1};
        start = text.find(L'%', end + 1);
    }
    return std::nullopt;
}

} // namespace

ExpandedText ExpandVariables(std::wstring_view text, const TargetingFacts& facts)
{
    ExpandedText expanded;
    std::size_t done = 0;
    while (const auto reference = FindReference(text, done)) {
        const std::wstring name = reference->NameIn(text);
        const VariableFact variable = facts.Variable(name);
        if (variable.state != VariableFact::State::Set) {
            expanded.unknown = name;
            return expanded;
        }
        expanded.text.append(text.substr(done, reference->start - done)).append(variable.value);
        done = reference->start + reference->size;
    }
    expanded.text.append(text.substr(done));
    return expanded;
}

bool HasVariables(std::wstring_view text)
{
    return FindReference(text, 0).has_value();
}

} // namespace kx
