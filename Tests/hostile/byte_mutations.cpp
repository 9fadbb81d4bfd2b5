#include "Tests/hostile/byte_mutations.h"

#include <algorithm>

namespace {

using Mutation = void (*)(std::string& text, Random& random);

void FlipBits(std::string& text, Random& random)
{
    for (std::size_t flips = 1 + random.Below(8); flips > 0 && !text.empty(); --flips) {
        char& byte = text[random.Below(text.size())];
        byte = static_cast<char>(static_cast<unsigned char>(byte) ^ (1U << random.Below(8)));
    }
}

void Truncate(std::string& text, Random& random)
{
    text.resize(random.Below(text.size() + 1));
}

void LoseTheBeginning(std::string& text, Random& random)
{
    text.erase(0, random.Below(text.size() + 1));
}

void RepeatAPiece(std::string& text, Random& random)
{
    const std::size_t at = random.Below(text.size());
    const std::string piece = text.substr(at, 1 + random.Below(64));
    for (std::size_t times = 1 + random.Below(4); times > 0; --times)
        text.insert(random.Below(text.size() + 1), piece);
}

void LoseAPiece(std::string& text, Random& random)
{
    text.erase(random.Below(text.size() + 1), random.Below(64));
}

// What no text may hold, and what only seems to be a character.
void InsertOddBytes(std::string& text, Random& random)
{
    using namespace std::string_view_literals;
    const std::string_view odd = random.Pick({"\0"sv,
                                              "\0\0\0\0"sv,
                                              "\x01"sv,
                                              "\x1B[2J"sv,
                                              "\x7F"sv,
                                              "\xFF"sv,
                                              "\xFE\xFF"sv,
                                              "\xEF\xBB\xBF"sv,
                                              "\xEF\xBF\xBE"sv,
                                              "\xEF\xBF\xBF"sv,
                                              "\xED\xA0\x80"sv,
                                              "\xED\xA0\xBD\xED\xB8\x80"sv,
                                              "\xC0\xAF"sv,
                                              "\xF4\x90\x80\x80"sv,
                                              "\xF0\x9F\x98\x80"sv,
                                              "\xE2\x80\xA8"sv,
                                              "\xC2\x85"sv,
                                              "\r"sv,
                                              "]]>"sv,
                                              "--"sv,
                                              "<"sv,
                                              "&"sv,
                                              "\""sv,
                                              "'"sv});
    for (std::size_t times = 1 + random.Below(3); times > 0; --times)
        text.insert(random.Below(text.size() + 1), odd);
}

std::string Wide(const std::string& text, std::size_t unit, bool bigEndian)
{
    std::string wide;
    wide.reserve(text.size() * unit);
    for (const char byte : text) {
        std::string one(unit, '\0');
        one[bigEndian ? unit - 1 : 0] = byte;
        wide += one;
    }
    return wide;
}

// Bytes above 127 become units of their own, which is wrong, and right for a file that has none.
void WriteWide(std::string& text, Random& random)
{
    const std::size_t unit = random.OneIn(4) ? 4 : 2;
    const bool bigEndian = random.OneIn(2);
    std::string mark = random.OneIn(2) ? std::string(unit, '\0') : std::string();
    if (!mark.empty()) {
        mark[bigEndian ? unit - 2 : 0] = bigEndian ? '\xFE' : '\xFF';
        mark[bigEndian ? unit - 1 : 1] = bigEndian ? '\xFF' : '\xFE';
    }
    text = mark + Wide(text, unit, bigEndian);
    if (random.OneIn(4)) // half a character at the end
        text.pop_back();
}

void DeclareEncoding(std::string& text, Random& random)
{
    const std::string_view encoding =
        random.Pick({"utf-8", "utf-16", "UTF-16LE", "UTF-16BE", "ucs-4", "iso-8859-1", "windows-1252",
                     "us-ascii", "shift_jis", "utf-7", "ebcdic-cp-us", "IBM037", "no such encoding", ""});
    std::string declaration = "<?xml version=\"1.0\" encoding=\"";
    declaration.append(encoding).append("\"?>");
    if (text.compare(0, 5, "<?xml") == 0)
        text.erase(0, std::min(text.size(), text.find("?>") + 2));
    text.insert(0, declaration);
}

void MarkAsUtf8(std::string& text, Random& random)
{
    text.insert(0, random.OneIn(4) ? "\xEF\xBB\xBF\xEF\xBB\xBF" : "\xEF\xBB\xBF");
}

} // namespace

void MutateBytes(std::string& text, Random& random)
{
    constexpr Mutation mutations[] = {FlipBits,     Truncate,   LoseTheBeginning,
                                      RepeatAPiece, LoseAPiece, InsertOddBytes};
    if (!text.empty())
        random.Pick(mutations)(text, random);
}

void MutateEncoding(std::string& text, Random& random)
{
    constexpr Mutation mutations[] = {WriteWide, DeclareEncoding, MarkAsUtf8};
    for (std::size_t times = 1 + random.Below(2); times > 0; --times)
        if (!text.empty())
            random.Pick(mutations)(text, random);
}
