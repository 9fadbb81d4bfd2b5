#pragma once

#include "Common_CPP/trace/text_builder.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

/// Streamed into a line: the last-error code that the thread had when the statement began.
struct D_LastErrorPiece_c {};

inline constexpr D_LastErrorPiece_c D_LastError{};

/// One trace line while it is put together: prefix, message pieces, line feed. Exists under the trace
/// lock only; all lines share one buffer, so that a line usually costs no allocation. A line that outgrows
/// the memory to be had is handed on in several writes instead of losing text.
///
/// Pieces are text (wide text becomes UTF-8; null is "<NULL>") and numbers in decimal. Codes keep the sign
/// of their type: an HRESULT prints as a signed number, a Windows error as an unsigned one.
class D_Line_c {
  public:
    /// Takes what has been gathered when the buffer cannot grow.
    using Spill = void (*)(std::string_view text) noexcept;

    D_Line_c(std::uint32_t lastError, Spill spill) noexcept;
    ~D_Line_c();
    D_Line_c(const D_Line_c&) = delete;
    D_Line_c& operator=(const D_Line_c&) = delete;

    D_Line_c& operator<<(std::string_view text) noexcept;

    /// Inline, so that the length of a literal is known when compiling.
    D_Line_c& operator<<(const char* text) noexcept
    {
        return *this << std::string_view(text ? text : "<NULL>");
    }

    D_Line_c& operator<<(char character) noexcept { return *this << std::string_view(&character, 1); }

    D_Line_c& operator<<(std::wstring_view text) noexcept;
    D_Line_c& operator<<(const wchar_t* text) noexcept;

    D_Line_c& operator<<(int number) noexcept { return *this << kx::Decimal(std::int64_t{number}).View(); }

    D_Line_c& operator<<(long number) noexcept { return *this << kx::Decimal(std::int64_t{number}).View(); }

    D_Line_c& operator<<(long long number) noexcept
    {
        return *this << kx::Decimal(std::int64_t{number}).View();
    }

    D_Line_c& operator<<(unsigned number) noexcept
    {
        return *this << kx::Decimal(std::uint64_t{number}).View();
    }

    D_Line_c& operator<<(unsigned long number) noexcept
    {
        return *this << kx::Decimal(std::uint64_t{number}).View();
    }

    D_Line_c& operator<<(unsigned long long number) noexcept
    {
        return *this << kx::Decimal(std::uint64_t{number}).View();
    }

    D_Line_c& operator<<(D_LastErrorPiece_c /*tag*/) noexcept { return *this << _m_lastError; }

    /// For the prefix, which writes into anything that can append.
    void Append(std::string_view text) noexcept { *this << text; }

    /// What has been gathered and not spilled yet.
    [[nodiscard]] std::string_view Text() const noexcept;

  private:
    void _AppendAscii(std::wstring_view text) noexcept;
    [[nodiscard]] char* _Reserve(std::size_t size) noexcept;

    std::uint32_t _m_lastError;
    Spill _m_spill;
    std::size_t _m_size = 0;
};

/// Frees the shared buffer if it has grown; only when no thread can trace any more (module unload).
void D_FreeLineBuffer() noexcept;
