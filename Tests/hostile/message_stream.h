#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <span>

/// What the program tells the checker, on standard output: a sequence of frames, each of them the words
/// kind, case number (64 bits) and size, little-endian, and that many bytes.
class MessageStream {
  public:
    MessageStream() noexcept : _m_output(::GetStdHandle(STD_OUTPUT_HANDLE)) {}

    /// A case begins. What ends the stream while it runs is its fault.
    [[nodiscard]] bool Begin(std::uint64_t number) const noexcept { return _Write('B', number, {}); }

    /// The payload that the agent got in it.
    [[nodiscard]] bool Message(std::uint64_t number, std::span<const std::byte> payload) const noexcept
    {
        return _Write('M', number, payload);
    }

    /// The run is over, after so many cases.
    [[nodiscard]] bool End(std::uint64_t cases) const noexcept { return _Write('E', cases, {}); }

  private:
    bool _Write(std::uint32_t kind, std::uint64_t number, std::span<const std::byte> bytes) const noexcept
    {
#pragma pack(push, 1)

        const struct {
            std::uint32_t kind;
            std::uint64_t number;
            std::uint32_t size;
        } head = {kind, number, static_cast<std::uint32_t>(bytes.size())};

#pragma pack(pop)
        return _Put(&head, sizeof head) && _Put(bytes.data(), bytes.size());
    }

    bool _Put(const void* bytes, std::size_t size) const noexcept
    {
        const char* next = static_cast<const char*>(bytes);
        while (size > 0) {
            DWORD written = 0;
            if (!::WriteFile(_m_output, next, static_cast<DWORD>(size), &written, nullptr) || written == 0)
                return false;
            next += written;
            size -= written;
        }
        return true;
    }

    HANDLE _m_output; // the process's
};
