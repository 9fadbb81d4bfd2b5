// The levels that a rule covers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kx {

/// All levels, or those from `first` to `last`, both included.
struct LevelRange {
    std::uint32_t first = 0;
    std::uint32_t last = 0xFFFFFFFF;
    bool all = true;

    /// The one level.
    [[nodiscard]] static constexpr LevelRange One(std::uint32_t level) noexcept
    {
        return {level, level, false};
    }

    [[nodiscard]] constexpr bool Holds(std::uint32_t level) const noexcept
    {
        return all || (first <= level && level <= last);
    }
};

/// The levels as a rule states them: "all", a number, or "first-last". Holds its text.
class LevelText {
  public:
    explicit LevelText(const LevelRange& levels) noexcept;

    /// Valid as long as the object.
    [[nodiscard]] std::string_view View() const noexcept { return {_m_text, _m_size}; }

  private:
    char _m_text[24];
    std::size_t _m_size;
};

/// A range of more numbers than this is shown in one line, a smaller one in a line a number.
inline constexpr std::uint64_t kMaxLevelLines = 1000;

/// Calls `show` with the levels of each line in which `levels` is confirmed or dumped.
template <class Show>
void ForEachLevelLine(const LevelRange& levels, const Show& show)
{
    const std::uint64_t numbers = std::uint64_t{levels.last} - levels.first + 1;
    if (levels.all || numbers > kMaxLevelLines) {
        show(levels);
        return;
    }
    for (std::uint64_t i = 0; i < numbers; ++i)
        show(LevelRange::One(levels.first + static_cast<std::uint32_t>(i)));
}

} // namespace kx
