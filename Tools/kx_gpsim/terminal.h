// The program's output streams as a person sees them.
#pragma once

#include "Tools/kx_gpsim/ink.h"

#include <windows.h>

#include <cstddef>
#include <string>
#include <string_view>

/// One of the program's two output streams. Text for it is UTF-8, wherever it goes.
class CkxTerminal {
  public:
    enum class Stream { Output, Error };

    explicit CkxTerminal(Stream stream) noexcept;

    /// A person sees it, not a file or another program.
    [[nodiscard]] bool IsInteractive() const noexcept { return _m_isConsole; }

    /// Only on a terminal that knows them, and not where the environment variable NO_COLOR has a value.
    [[nodiscard]] bool Colours() const noexcept { return _m_colours; }

    /// Columns that a line may have without being broken; 0 where there is no terminal.
    [[nodiscard]] int Width() const noexcept;

    /// `text`, in the colour of the ink where there are colours.
    [[nodiscard]] std::string Paint(kx::Ink ink, std::string_view text) const;

    /// Width and colours together; valid without this object.
    [[nodiscard]] kx::TextStyle Style() const;

    /// Writes text as it is. False when it could not be written whole.
    [[nodiscard]] bool Write(std::string_view text) const;

  private:
    HANDLE _m_stream; ///< not owned
    bool _m_isConsole = false;
    bool _m_colours = false;
};

/// A line on standard error that tells how far a long run is; nothing at all where that is no terminal.
/// Erased when the object ends.
class CkxProgress {
  public:
    CkxProgress() noexcept : _m_terminal(CkxTerminal::Stream::Error) {}

    ~CkxProgress() { Erase(); }

    CkxProgress(const CkxProgress&) = delete;
    CkxProgress& operator=(const CkxProgress&) = delete;

    /// Shows the text in place of the one before it. Cheap to call often: not each call is seen.
    void Show(std::string_view text) noexcept;

    /// As Show(), with "done of total" behind the text.
    void Show(std::string_view text, std::size_t done, std::size_t total) noexcept;

    /// Takes the line away, before something else is written.
    void Erase() noexcept;

  private:
    CkxTerminal _m_terminal;
    std::size_t _m_shownWidth = 0; ///< columns to blank
    ULONGLONG _m_shownAt = 0;      ///< tick count
};
