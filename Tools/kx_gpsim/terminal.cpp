#include "Tools/kx_gpsim/terminal.h"

#include "Tools/kx_gpsim/text_width.h"

#include <algorithm>

namespace {

// The console's own limit for one call lies above this many code units.
constexpr std::size_t kConsolePiece = 8192;

// A progress line that changes more often cannot be read.
constexpr ULONGLONG kProgressPause = 100; // milliseconds

const char* SequenceOf(kx::Ink ink) noexcept
{
    switch (ink) {
    case kx::Ink::Heading:
        return "\x1b[1m";
    case kx::Ink::Good:
        return "\x1b[32m";
    case kx::Ink::Warning:
        return "\x1b[33m";
    case kx::Ink::Bad:
        return "\x1b[31m";
    case kx::Ink::Dim:
        return "\x1b[90m";
    case kx::Ink::Plain:
        break;
    }
    return "";
}

std::string Painted(kx::Ink ink, std::string_view text)
{
    const std::string_view sequence = SequenceOf(ink);
    if (sequence.empty() || text.empty())
        return std::string(text);
    return std::string(sequence).append(text).append("\x1b[0m");
}

bool IsNoColourSet() noexcept
{
    return ::GetEnvironmentVariableW(L"NO_COLOR", nullptr, 0) > 1; // 1: nothing but the NUL
}

// Older consoles cannot be switched to colour sequences; they do without.
bool SwitchSequencesOn(HANDLE console, DWORD mode) noexcept
{
    return ::SetConsoleMode(console, mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING) !=
           0;
}

bool WriteBytes(HANDLE stream, std::string_view text)
{
    while (!text.empty()) {
        DWORD written = 0;
        const auto size = static_cast<DWORD>(std::min<std::size_t>(text.size(), 1U << 20U));
        if (!::WriteFile(stream, text.data(), size, &written, nullptr) || written == 0)
            return false;
        text.remove_prefix(written);
    }
    return true;
}

std::wstring Wide(std::string_view text)
{
    const auto size = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0'); // never more code units than bytes
    wide.resize(static_cast<std::size_t>(
        size == 0 ? 0 : ::MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), size)));
    return wide;
}

// The console's code page stays as the user has set it, so that nothing has to be put back.
bool WriteConsoleText(HANDLE console, std::string_view text)
{
    while (!text.empty()) {
        const std::string_view piece = kx::WholeCharacters(text.substr(0, kConsolePiece));
        const std::wstring wide = Wide(piece);
        DWORD written = 0;
        if (!::WriteConsoleW(console, wide.data(), static_cast<DWORD>(wide.size()), &written, nullptr) ||
            written != wide.size())
            return false;
        text.remove_prefix(piece.size());
    }
    return true;
}

} // namespace

CkxTerminal::CkxTerminal(Stream stream) noexcept
    : _m_stream(::GetStdHandle(stream == Stream::Output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE))
{
    DWORD mode = 0;
    _m_isConsole = ::GetConsoleMode(_m_stream, &mode) != 0;
    _m_colours = _m_isConsole && !IsNoColourSet() && SwitchSequencesOn(_m_stream, mode);
}

int CkxTerminal::Width() const noexcept
{
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!_m_isConsole || !::GetConsoleScreenBufferInfo(_m_stream, &info))
        return 0;
    const int columns = info.srWindow.Right - info.srWindow.Left + 1;
    return std::max(columns - 1, 1); // a character in the last column moves some consoles to the next line
}

std::string CkxTerminal::Paint(kx::Ink ink, std::string_view text) const
{
    return _m_colours ? Painted(ink, text) : std::string(text);
}

kx::TextStyle CkxTerminal::Style() const
{
    kx::TextStyle style;
    style.width = Width();
    if (_m_colours)
        style.paint = Painted;
    return style;
}

bool CkxTerminal::Write(std::string_view text) const
{
    return _m_isConsole ? WriteConsoleText(_m_stream, text) : WriteBytes(_m_stream, text);
}

void CkxProgress::Show(std::string_view text) noexcept
{
    const ULONGLONG now = ::GetTickCount64();
    const bool isTooSoon = _m_shownWidth != 0 && now - _m_shownAt < kProgressPause;
    if (!_m_terminal.IsInteractive() || isTooSoon)
        return;
    try {
        const std::string line = kx::CutText(kx::VisibleText(text), _m_terminal.Width());
        Erase();
        (void)_m_terminal.Write(line);
        _m_shownWidth = kx::DisplayWidth(line);
        _m_shownAt = now;
    } catch (const std::exception&) {
        return; // without memory there is no progress to be seen, and the run goes on
    }
}

void CkxProgress::Show(std::string_view text, std::size_t done, std::size_t total) noexcept
{
    try {
        Show(std::string(text) + " " + std::to_string(done) + " of " + std::to_string(total));
    } catch (const std::exception&) {
        return; // as above
    }
}

void CkxProgress::Erase() noexcept
{
    if (_m_shownWidth == 0)
        return;
    try {
        (void)_m_terminal.Write("\r" + std::string(_m_shownWidth, ' ') + "\r");
    } catch (const std::exception&) {
        return; // as above
    }
    _m_shownWidth = 0;
}
