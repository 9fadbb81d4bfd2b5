// Rotation of the trace file: what the rotated files are called, and which moves a rotation consists of.
//
// The chain is the trace file and the older files beside it, number 1 being the newest of them. It is found
// by names: a file belongs to it when its name is the pattern's with any number in place of "<%NUM>" and any
// digits in place of a time token, so that a file keeps the time in its name when its number changes. Names
// alone could be a coincidence where the numbers leave a gap; behind a gap only a file that begins with the
// chain header is touched.
#pragma once

#include "Common_CPP/trace/directive.h"
#include "Common_CPP/trace/time_tokens.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// True when a trace file of `bytes` bytes has outgrown the limit; never without one.
[[nodiscard]] bool IsRotationDue(std::uint64_t bytes, const std::optional<Rotation>& rotation) noexcept;

/// The names of the rotated files: builds and recognises them. Letters A to Z compare without regard to case.
class RotatedNames {
  public:
    /// `pattern` as in the configuration; empty, it is the path of the trace file, and without a folder it
    /// stands beside the trace file. If its file name holds no "<%NUM>", ".<%NUM>" is appended. Of each token
    /// the first one in the folder and the first one in the file name count. "<%PID>" stands for this process
    /// alone: the files of another process are none of ours. A pattern that the trace file's own name would
    /// fit gives way to the empty one.
    RotatedNames(std::string_view tracePath, std::string_view pattern, std::uint32_t processId,
                 const LocalTime& now);

    /// Where the rotated files are, up to and including the separator; empty for the current folder. Time
    /// tokens in it stand for the present time.
    [[nodiscard]] const std::string& Folder() const noexcept { return _m_folder; }

    /// The number in a file name (without folder), or nothing when it is no rotated file's.
    [[nodiscard]] std::optional<std::uint32_t> NumberOf(std::string_view name) const noexcept;

    /// The path of number 1, with the present time.
    [[nodiscard]] std::string FirstPath() const;

    /// The path of a rotated file after its number has become `number`; `name` must be one of NumberOf().
    [[nodiscard]] std::string Renumbered(std::string_view name, std::uint32_t number) const;

  private:
    // A stretch of the name; of a time token the text is the present value, of the number there is none.
    struct Piece {
        enum class Kind { Literal, Time, Number } kind;
        std::string text;
    };

    void _Read(std::string_view path, std::uint32_t processId, const LocalTime& now);
    void _ReadName(std::string_view name, const LocalTime& now);
    [[nodiscard]] static bool _Fits(const Piece& piece, std::string_view text) noexcept;

    std::string _m_folder;
    // The name: exactly one piece is the number, and nothing else varies in size.
    std::vector<Piece> _m_pieces;
    std::size_t _m_sizeBefore = 0; // characters of a name in front of its number
    std::size_t _m_sizeBehind = 0;
};

/// A file found in RotatedNames::Folder().
struct ListedFile {
    std::string name;            ///< without folder
    bool hasChainHeader = false; ///< IsChainFile() of its beginning; asked only where NumberOf() has a number
};

/// One step of a rotation. A step that fails ends the rotation: no file has been overwritten, and the trace
/// file is where it was.
struct Move {
    std::string from;    ///< path
    std::string to;      ///< path, where nothing stands by then; empty when the file is removed
    bool remove = false; ///< delete `from` instead

    bool operator==(const Move&) const = default;
};

/// The steps that make the trace file number 1 and keep at most `count` older files; with count 0 the trace
/// file is removed. The numbers from 1 up to the first gap move up by one, highest first, or go when they
/// would exceed `count`; the trace file comes last. Behind the gap, what has the chain header goes when its
/// number exceeds `count`, and all else stays. Throws std::bad_alloc only.
[[nodiscard]] std::vector<Move> PlanRotation(const RotatedNames& names, std::string_view tracePath,
                                             std::uint32_t count, std::span<const ListedFile> listed);

/// The first lines of a trace file that continues another: its number, and the path of the rotated file.
[[nodiscard]] std::string ChainHeader(std::uint32_t number, std::string_view continuedAfter);

/// True when a file that begins with `text` says that it continues another.
[[nodiscard]] bool IsChainFile(std::string_view text) noexcept;

/// The number in a chain header at the beginning of `text`, or nothing when there is none.
[[nodiscard]] std::optional<std::uint32_t> ChainNumber(std::string_view text) noexcept;

/// How much of a file's beginning IsChainFile() and ChainNumber() look at.
inline constexpr std::size_t kChainHeaderProbe = 64;

} // namespace kx
