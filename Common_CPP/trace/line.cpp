#include "Common_CPP/trace/line.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace {

constexpr std::string_view kUnconvertible = "???unconvertable UNICODE string???";

// Long documents are traced now and then; their buffer is not kept for the usual short lines.
constexpr std::size_t kKept = std::size_t{64} * 1024;

// Wide text is converted in pieces of so many code units, three bytes each at most.
constexpr std::size_t kWidePiece = 2048;

char g_initial[8192];
char* g_buffer = g_initial;
std::size_t g_capacity = sizeof g_initial;

void UseInitialBuffer() noexcept
{
    if (g_buffer != g_initial)
        delete[] g_buffer;
    g_buffer = g_initial;
    g_capacity = sizeof g_initial;
}

bool Grow(std::size_t used, std::size_t needed) noexcept
{
    std::size_t capacity = g_capacity;
    while (capacity < needed)
        capacity *= 2;
    char* grown = new (std::nothrow) char[capacity];
    if (!grown)
        return false;
    std::memcpy(grown, g_buffer, used);
    UseInitialBuffer();
    g_buffer = grown;
    g_capacity = capacity;
    return true;
}

bool IsHighSurrogate(wchar_t unit) noexcept
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsAscii(std::wstring_view text) noexcept
{
    return std::all_of(text.begin(), text.end(), [](wchar_t unit) { return unit < 0x80; });
}

bool IsConvertible(std::wstring_view text) noexcept
{
    return text.empty() ||
           ::WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), static_cast<int>(text.size()),
                                 nullptr, 0, nullptr, nullptr) > 0;
}

} // namespace

D_Line_c::D_Line_c(std::uint32_t lastError, Spill spill) noexcept : _m_lastError(lastError), _m_spill(spill)
{
}

D_Line_c::~D_Line_c()
{
    if (g_capacity > kKept)
        UseInitialBuffer();
}

std::string_view D_Line_c::Text() const noexcept
{
    return {g_buffer, _m_size};
}

// Room for `size` more bytes, at most what the initial buffer holds.
char* D_Line_c::_Reserve(std::size_t size) noexcept
{
    if (g_capacity - _m_size < size && !Grow(_m_size, _m_size + size)) {
        _m_spill(Text());
        _m_size = 0;
    }
    return g_buffer + _m_size;
}

D_Line_c& D_Line_c::operator<<(std::string_view text) noexcept
{
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, sizeof g_initial);
        std::memcpy(_Reserve(piece.size()), piece.data(), piece.size());
        _m_size += piece.size();
        text.remove_prefix(piece.size());
    }
    return *this;
}

D_Line_c& D_Line_c::operator<<(const wchar_t* text) noexcept
{
    return text ? *this << std::wstring_view(text) : *this << "<NULL>";
}

// The usual text, which is not worth the system's conversion.
void D_Line_c::_AppendAscii(std::wstring_view text) noexcept
{
    while (!text.empty()) {
        const std::wstring_view piece = text.substr(0, sizeof g_initial);
        std::transform(piece.begin(), piece.end(), _Reserve(piece.size()),
                       [](wchar_t unit) { return static_cast<char>(unit); });
        _m_size += piece.size();
        text.remove_prefix(piece.size());
    }
}

D_Line_c& D_Line_c::operator<<(std::wstring_view text) noexcept
{
    if (IsAscii(text)) {
        _AppendAscii(text);
        return *this;
    }
    if (!IsConvertible(text))
        return *this << kUnconvertible;
    while (!text.empty()) {
        std::wstring_view piece = text.substr(0, kWidePiece);
        if (piece.size() < text.size() && IsHighSurrogate(piece.back()))
            piece.remove_suffix(1);
        const int written = ::WideCharToMultiByte(CP_UTF8, 0, piece.data(), static_cast<int>(piece.size()),
                                                  _Reserve(3 * piece.size()),
                                                  static_cast<int>(3 * piece.size()), nullptr, nullptr);
        _m_size += static_cast<std::size_t>(written);
        text.remove_prefix(piece.size());
    }
    return *this;
}

void D_FreeLineBuffer() noexcept
{
    UseInitialBuffer();
}
