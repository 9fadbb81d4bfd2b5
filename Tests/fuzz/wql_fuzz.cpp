// libFuzzer target: what the WMI store reads. Any text is a query, an object path and a date-time: each ends
// in an answer, and what an answer is written as, is read again as the same. The first ten bytes are also a
// moment and an offset, and the whole text the value of a key.
//
//   wql_fuzz -max_len=512 -dict=wql.dict
#include "Tests/fuzz/fuzz_input.h"
#include "Tools/rsop_store/object_path.h"
#include "Tools/rsop_store/wmi_time.h"
#include "Tools/rsop_store/wql.h"

#include <cstring>

namespace {

constexpr std::uint64_t c_ticksPerMinute = 600'000'000;

using fuzz::Require;

void CheckQuery(const std::wstring& text)
{
    kx::WqlQuery query;
    if (!kx::ParseWql(text, query)) {
        Require(query.className.empty() && query.conditions.empty() && query.properties.empty(),
                "a refused query is handed out");
        return;
    }
    Require(!query.className.empty(), "a query without a class");
    // An accepted query is one that a further condition may follow, and nothing else.
    const std::size_t count = query.conditions.size();
    const std::wstring link = count == 0 ? L" WHERE " : L" AND ";
    Require(kx::ParseWql(text + link + L"x <= 'y'", query) && query.conditions.size() == count + 1,
            "no further condition");
    Require(!kx::ParseWql(text + L" x", query), "something after the end");
}

void CheckPath(const std::wstring& text)
{
    kx::ObjectPath path;
    kx::ObjectPath again;
    if (kx::ParseObjectPath(text, path)) {
        Require(kx::ParseObjectPath(kx::ComposeObjectPath(path), again) && again == path, "another path");
        path.server.clear();
        path.namespacePath.clear();
        Require(kx::ParseObjectPath(kx::ComposeRelativePath(path), again) && again == path,
                "another relative path");
    }
    const kx::ObjectPath made{L"s", L"n", L"C", true, {{L"a", text}, {L"b", std::int64_t{1}}, {L"c", text}}};
    Require(kx::ParseObjectPath(kx::ComposeObjectPath(made), again) && again == made, "another key value");
}

/// The minutes at the end of a complete point in time.
int OffsetOf(const std::wstring& text)
{
    const int size = (text[22] - L'0') * 100 + (text[23] - L'0') * 10 + (text[24] - L'0');
    return text[21] == L'-' ? -size : size;
}

void CheckTimeText(std::wstring text)
{
    std::uint64_t ticks = 0;
    if (!kx::WmiTimeToTicks(text, ticks))
        return;
    Require(kx::IsWmiDateTime(text), "ticks of what is no date-time");
    std::wstring again;
    const bool isWritten = kx::TicksToWmiTime(ticks, OffsetOf(text), again);
    Require(isWritten == (text.substr(0, 4) >= L"1601"), "written or not");
    if (OffsetOf(text) == 0)
        text[21] = L'+';
    Require(!isWritten || again == text, "another text");
}

void CheckTicks(std::uint64_t ticks, int offset)
{
    std::wstring text;
    if (!kx::TicksToWmiTime(ticks, offset, text))
        return;
    std::uint64_t again = 0;
    Require(kx::IsWmiDateTime(text) && OffsetOf(text) == offset, "no date-time");
    Require(kx::WmiTimeToTicks(text, again) && again == ticks - ticks % 10, "another moment");
    // Ten minutes earlier there and here tell the same wall time.
    std::wstring moved;
    if (ticks >= 10 * c_ticksPerMinute && offset + 10 <= 999) {
        Require(kx::TicksToWmiTime(ticks - 10 * c_ticksPerMinute, offset + 10, moved), "not written");
        Require(moved.substr(0, 21) == text.substr(0, 21), "another wall time");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::wstring text = fuzz::TextOf<wchar_t>(data, size);
    CheckQuery(text);
    CheckPath(text);
    CheckTimeText(text);

    std::uint64_t ticks = 0;
    std::int16_t offset = 0;
    if (size >= sizeof ticks + sizeof offset) {
        std::memcpy(&ticks, data, sizeof ticks);
        std::memcpy(&offset, data + sizeof ticks, sizeof offset);
        CheckTicks(ticks, offset);
        CheckTicks(ticks >> 2, offset % 1000); // many of these are within the calendar
    }
    return 0;
}
