// libFuzzer target: whole numbers as text. The whole input is a text; its first nine bytes are also a number
// to write and its width, and what follows them a number of a configuration. What is read is what the C
// library reads where the number has room there, every character type reads alike, and what is written is
// read back.
//
//   number_text_fuzz -max_len=64 -dict=number_text.dict
#include "Common_CPP/trace/config_number.h"
#include "Common_CPP/util/number_text.h"
#include "Tests/fuzz/fuzz_input.h"

#include <cerrno>
#include <optional>
#include <string>
#include <string_view>

namespace {

using fuzz::Require;

constexpr std::int64_t kUntouched = -7777777;

// A reading as an optional; one that refuses must leave the value alone.
template <class Int, class Char>
std::optional<Int> Read(bool (*scan)(std::basic_string_view<Char>, Int&) noexcept,
                        std::basic_string_view<Char> text)
{
    auto value = static_cast<Int>(kUntouched);
    if (scan(text, value))
        return value;
    Require(value == static_cast<Int>(kUntouched), "a refused text changed the value");
    return std::nullopt;
}

// What the C library makes of the text: false where its number is too big for it to tell.
bool AskLibrary(const std::string& text, int base, std::optional<std::int64_t>& value)
{
    value.reset();
    char* end = nullptr;
    errno = 0;
    // Unsigned, as it takes a sign too, and wraps there as ours does.
    const unsigned long long number = std::strtoull(text.c_str(), &end, base);
    if (errno == ERANGE)
        return false;
    if (end != text.c_str() && end == text.c_str() + text.size())
        value = static_cast<std::int64_t>(number);
    return true;
}

template <class Char>
void CheckWidths(std::basic_string_view<Char> text, std::optional<std::int64_t> wide,
                 std::optional<std::int64_t> anyBase)
{
    Require(Read(kx::ScanInt64<Char>, text) == wide, "another signed number");
    const auto cut = [](std::optional<std::int64_t> value, auto narrow) {
        return value ? std::optional<decltype(narrow)>(static_cast<decltype(narrow)>(*value)) : std::nullopt;
    };
    Require(Read(kx::ScanUInt64<Char>, text) == cut(wide, std::uint64_t{}), "another unsigned number");
    Require(Read(kx::ScanInt32<Char>, text) == cut(wide, std::int32_t{}), "another 32-bit number");
    Require(Read(kx::ScanUInt32<Char>, text) == cut(wide, std::uint32_t{}), "another unsigned of 32 bits");
    Require(Read(kx::ScanAnyBaseInt64<Char>, text) == anyBase, "another number in any base");
    Require(Read(kx::ScanAnyBaseInt32<Char>, text) == cut(anyBase, std::int32_t{}), "another narrow one");
}

void CheckText(const std::string& text)
{
    const std::optional<std::int64_t> decimal = Read(kx::ScanInt64<char>, std::string_view(text));
    const std::optional<std::int64_t> anyBase = Read(kx::ScanAnyBaseInt64<char>, std::string_view(text));
    std::optional<std::int64_t> expected;
    Require(!AskLibrary(text, 10, expected) || decimal == expected, "not what the library reads");
    Require(!AskLibrary(text, 0, expected) || anyBase == expected, "not what the library reads in any base");
    CheckWidths(std::string_view(text), decimal, anyBase);
}

// Spaces that only wide text has count as blanks do.
void CheckWideText(const std::u16string& text)
{
    constexpr std::u16string_view spaces = u"\u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007"
                                           u"\u2008\u2009\u200A\u2028\u2029\u202F\u205F\u3000";
    std::string plain;
    for (const char16_t unit : text)
        plain += spaces.find(unit) != spaces.npos ? ' ' : unit < 0x80 ? static_cast<char>(unit) : '?';
    const auto decimal = Read(kx::ScanInt64<char>, std::string_view(plain));
    const auto anyBase = Read(kx::ScanAnyBaseInt64<char>, std::string_view(plain));
    CheckWidths(std::u16string_view(text), decimal, anyBase);
    CheckWidths(std::wstring_view(std::wstring(text.begin(), text.end())), decimal, anyBase);
}

// By the words of its contract, with the library's reading of the digits.
void CheckConfigNumber(const std::string& text, std::uint64_t max)
{
    std::size_t at = std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size());
    at += at < text.size() && text[at] == '+' ? 1U : 0U;
    const std::string digits = text.substr(at, text.find_first_not_of("0123456789", at) - at);
    std::optional<std::int64_t> value;
    const bool isTooBig = !AskLibrary(digits.empty() ? "0" : digits, 10, value);
    std::optional<std::uint64_t> expected;
    if (!isTooBig && static_cast<std::uint64_t>(*value) <= max && (*value != 0 || text.starts_with('0')))
        expected = static_cast<std::uint64_t>(*value);
    Require(kx::ReadConfigNumber(text, max) == expected, "another number in a configuration");
}

template <class Char, class Int>
void CheckWriting(Int value, std::size_t width)
{
    const kx::DecimalText<Char> text(value, width);
    const std::size_t least = value < 0 ? 2 : std::min<std::size_t>(std::max<std::size_t>(width, 1), 20);
    Require(text.View().size() >= least && text.View().size() <= 20, "a number's text has another length");
    Require(text.Get()[text.View().size()] == Char{}, "a number's text does not end in NUL");
    std::int64_t back = 0;
    Require(kx::ScanInt64(text.View(), back) && static_cast<Int>(back) == value, "written is not read");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(data, data + size);
    CheckText(text);
    CheckWideText(fuzz::TextOf<char16_t>(data, size));

    fuzz::Input input(data, size);
    const auto number = input.Number<std::int64_t>();
    const std::size_t width = input.Byte() % 32U;
    // Maxima of every size.
    CheckConfigNumber(text.substr(std::min<std::size_t>(text.size(), 9)),
                      static_cast<std::uint64_t>(number & 0x7FFFFFFFFFFFFFFF) >> 2 * width);
    CheckWriting<char>(number, width);
    CheckWriting<char16_t>(static_cast<std::uint64_t>(number), width);
    CheckWriting<wchar_t>(static_cast<std::int32_t>(number), width);
    return 0;
}
