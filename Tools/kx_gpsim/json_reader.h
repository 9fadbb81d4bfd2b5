// Reading JSON that a person or another program wrote, with faults that name their place.
#pragma once

#include <nlohmann/json.hpp>

#include <initializer_list>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// Parses JSON, comments allowed; throws UsageError with line and column where it is none.
[[nodiscard]] nlohmann::json ParseJson(std::string_view text, const std::string& file);

/// One object of a JSON document and its place, such as "/gpos/2". Every member function throws UsageError,
/// with that place, for what is missing or of another type; the "Or" forms give the default for what is
/// missing. The document must outlive the reader.
class JsonReader {
  public:
    /// Over the document's root; `what` says what it is meant to be.
    JsonReader(const std::string& what, const nlohmann::json& root);

    [[nodiscard]] bool Has(const char* name) const { return _m_object->contains(name); }

    /// The names of all members, sorted.
    [[nodiscard]] std::vector<std::string> Names() const;

    [[nodiscard]] bool IsNull(const char* name) const;
    [[nodiscard]] std::string Text(const char* name) const;
    [[nodiscard]] std::string TextOr(const char* name, const std::string& otherwise) const;
    [[nodiscard]] bool Flag(const char* name) const;
    [[nodiscard]] bool FlagOr(const char* name, bool otherwise) const;
    [[nodiscard]] JsonReader Object(const char* name) const;
    [[nodiscard]] std::vector<std::string> Texts(const char* name) const;

    [[nodiscard]] int Int(const char* name) const { return Number<int>(name); }

    /// A whole number that fits the type.
    template <class T>
    [[nodiscard]] T Number(const char* name) const
    {
        return static_cast<T>(_Number(name, static_cast<double>(std::numeric_limits<T>::lowest()),
                                      static_cast<double>(std::numeric_limits<T>::max())));
    }

    /// The index of the text among `choices`.
    [[nodiscard]] std::size_t Choice(const char* name, std::initializer_list<std::string_view> choices) const;

    /// What `read` makes of each object of an array.
    template <class Read>
    [[nodiscard]] auto List(const char* name, const Read& read) const
    {
        std::vector<decltype(read(*this))> items;
        const nlohmann::json& array = _Array(name);
        for (std::size_t index = 0; index < array.size(); ++index)
            items.push_back(read(JsonReader(_Place(name) + '/' + std::to_string(index), &array[index])));
        return items;
    }

    /// Refuses members that are none of `known`: a misspelt one must not be passed over.
    void AllowOnly(std::initializer_list<std::string_view> known) const;

    /// Throws for the member of that name: "PLACE WHY".
    [[noreturn]] void Fail(std::string_view name, const std::string& why) const;

  private:
    JsonReader(std::string place, const nlohmann::json* object);

    [[nodiscard]] std::string _Place(std::string_view name) const;
    [[nodiscard]] const nlohmann::json& _Member(const char* name) const;
    [[nodiscard]] const nlohmann::json& _Array(const char* name) const;
    [[nodiscard]] std::int64_t _Number(const char* name, double low, double high) const;

    std::string _m_place;
    const nlohmann::json* _m_object;
};

} // namespace kx
