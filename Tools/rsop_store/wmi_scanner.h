#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kx {

/// Whether two names or keywords are the same; only the letters A to Z have a case here.
[[nodiscard]] bool SameName(std::wstring_view a, std::wstring_view b) noexcept;

/// Whether names may contain the character: a letter, a digit, '_', or anything beyond ASCII.
[[nodiscard]] bool IsNameCharacter(wchar_t character) noexcept;

/// Takes apart, from left to right, what queries and object paths share. Each Take... is false, and nothing
/// is consumed or changed, when something else comes next. The text must outlive the scanner.
class WmiScanner {
  public:
    explicit WmiScanner(std::wstring_view text) noexcept : _m_rest(text) {}

    [[nodiscard]] bool AtEnd() const noexcept { return _m_rest.empty(); }

    void SkipBlanks() noexcept;

    [[nodiscard]] bool Take(std::wstring_view piece) noexcept;

    /// A name up to its end; it does not begin with a digit.
    [[nodiscard]] bool TakeName(std::wstring& name);

    /// The longest run, not empty, of characters that `belongs` accepts.
    template <class Belongs>
    [[nodiscard]] bool TakeRun(Belongs belongs, std::wstring_view& run)
    {
        std::size_t length = 0;
        while (length < _m_rest.size() && belongs(_m_rest[length]))
            ++length;
        if (length == 0)
            return false;
        run = _m_rest.substr(0, length);
        _m_rest.remove_prefix(length);
        return true;
    }

    /// A decimal number that fits, with or without sign, and with no character of a name after it.
    [[nodiscard]] bool TakeNumber(std::int64_t& number) noexcept;

    /// What stands between two ' or two ", without the backslashes that take their next character literally.
    [[nodiscard]] bool TakeText(std::wstring& text);

  private:
    std::wstring_view _m_rest;
};

} // namespace kx
