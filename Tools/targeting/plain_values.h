#pragma once

#include "Tools/targeting/fact_types.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

// The values that filters and facts are written in. Each reader takes the whole text, without blanks around
// it, and gives nullopt for anything else than what it says.
namespace kx {

/// Decimal digits, at most `most`.
[[nodiscard]] std::optional<std::uint64_t> ParseNumber(std::wstring_view text, std::uint64_t most);

/// "0" or "1".
[[nodiscard]] std::optional<bool> ParseSwitch(std::wstring_view text);

/// "S-1-5-32-544".
[[nodiscard]] bool IsSid(std::wstring_view text);

/// "10.1.2.3".
[[nodiscard]] std::optional<std::uint64_t> ParseIpv4(std::wstring_view text);

/// Six pairs of hexadecimal digits with "-" or ":" between them.
[[nodiscard]] std::optional<std::uint64_t> ParseMac(std::wstring_view text);

/// "08:30" or "08:30:15", in seconds since midnight.
[[nodiscard]] std::optional<unsigned> ParseTime(std::wstring_view text);

/// "2026-01-31T08:30" or with seconds; a day that there is.
[[nodiscard]] std::optional<LocalMoment> ParseMoment(std::wstring_view text);

/// A word and what it stands for.
template <class Value>
using Word = std::pair<std::wstring_view, Value>;

/// What the word stands for.
template <class Value, std::size_t size>
[[nodiscard]] std::optional<Value> ParseWord(const Word<Value> (&words)[size], std::wstring_view text)
{
    for (const Word<Value>& word : words)
        if (word.first == text)
            return word.second;
    return std::nullopt;
}

inline constexpr Word<bool> kYesNo[] = {{L"yes", true}, {L"no", false}};

inline constexpr Word<PortableState> kPortableStates[] = {{L"no", PortableState::NotPortable},
                                                          {L"unknown", PortableState::Unknown},
                                                          {L"docked", PortableState::Docked},
                                                          {L"undocked", PortableState::Undocked}};

inline constexpr Word<SessionKind> kSessionKinds[] = {
    {L"console", SessionKind::Console}, {L"rdp", SessionKind::RemoteDesktop}, {L"other", SessionKind::Other}};

/// As FilterProcMode calls them.
inline constexpr Word<ProcessingMode> kProcessingModes[] = {
    {L"syncFore", ProcessingMode::SyncForeground}, {L"asyncFore", ProcessingMode::AsyncForeground},
    {L"backRefr", ProcessingMode::Background},     {L"forceRefr", ProcessingMode::ForcedRefresh},
    {L"linkTrns", ProcessingMode::LinkTransition}, {L"noChg", ProcessingMode::NoChanges},
    {L"rsopTrns", ProcessingMode::RsopTransition}, {L"safeBoot", ProcessingMode::SafeBoot},
    {L"slowLink", ProcessingMode::SlowLink},       {L"verbLog", ProcessingMode::VerboseLog},
    {L"rsopEnbl", ProcessingMode::RsopEnabled}};

} // namespace kx
