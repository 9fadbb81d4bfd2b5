#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// The configuration's prefix for statements: a letter that changes with each configuration, and the thread.
[[nodiscard]] std::string TracePrefix(char letter);

/// What many threads have traced under such prefixes, taken apart by threads.
class TraceCheck {
  public:
    /// Reads the text of one trace file, in the order in which the files were written.
    void Read(std::string_view text);

    /// A thread's messages, without their prefixes.
    [[nodiscard]] const std::vector<std::string>& MessagesOf(unsigned long thread) const;

    /// Lines that are neither one whole statement nor the library's own.
    [[nodiscard]] const std::vector<std::string>& Torn() const { return _m_torn; }

    [[nodiscard]] std::size_t Lines() const { return _m_lines; }

    /// How often the library said that it has read its configuration.
    [[nodiscard]] std::size_t Reloads() const { return _m_reloads; }

    [[nodiscard]] std::size_t Rotations() const { return _m_rotations; }

  private:
    void _ReadLine(std::string_view line);
    [[nodiscard]] bool _ReadOwnLine(std::string_view line);

    std::map<unsigned long, std::vector<std::string>> _m_messages;
    std::vector<std::string> _m_torn;
    std::size_t _m_lines = 0;
    std::size_t _m_reloads = 0;
    std::size_t _m_rotations = 0;
    int _m_headerLines = 0; ///< to come of a file's header: the path of the file before, and an empty one
};
