// Trace levels: their numbers, their names, and small objects that describe one.
#pragma once

#include <cstdint>
#include <string_view>

namespace kx {
class TextBuilder;
}

inline constexpr std::uint32_t KXT_ERROR = 100;
inline constexpr std::uint32_t KXT_WARNING = 200;
inline constexpr std::uint32_t KXT_INFO = 300;
inline constexpr std::uint32_t KXT_TRACE = 400;
inline constexpr std::uint32_t KXT_VERBOSE = 500;
inline constexpr std::uint32_t KXT_DEBUG = 600;
inline constexpr std::uint32_t KXT_FLASHBACK_ERROR = 3700;
inline constexpr std::uint32_t KXT_FLASHBACK_WARNING = 3710;
inline constexpr std::uint32_t KXT_FLASHBACK_INFO = 3720;
inline constexpr std::uint32_t KXT_REDIRECTED = 3838;

/// The level of a statement that gives none.
inline constexpr std::uint32_t KXT_NO_LEVEL = 0xFFFFFFFF;

namespace kx {

/// The name of a level ("KXT_INFO"), with static lifetime; empty for a number that has no name.
[[nodiscard]] std::string_view LevelName(std::uint32_t level) noexcept;

} // namespace kx

/// Describes which level is meant. The descriptors are values that live where they are used.
class D_LevelInfo_c {
  public:
    virtual ~D_LevelInfo_c() = default;

    /// True when `level` is the one described.
    [[nodiscard]] virtual bool Matches(std::uint32_t level) const noexcept = 0;

    /// Appends the diagnostic form of the descriptor.
    virtual void Print(kx::TextBuilder& text) const noexcept = 0;

  protected:
    D_LevelInfo_c() = default;
    D_LevelInfo_c(const D_LevelInfo_c&) = default;
    D_LevelInfo_c& operator=(const D_LevelInfo_c&) = default;
};

/// A level given by its number.
class D_LevelNumberInfo_c final : public D_LevelInfo_c {
  public:
    explicit D_LevelNumberInfo_c(std::uint32_t number) noexcept : _no(number) {}

    [[nodiscard]] bool Matches(std::uint32_t level) const noexcept override;
    void Print(kx::TextBuilder& text) const noexcept override;

  private:
    std::uint32_t _no;
};

/// A level given by its name; a name that no level has matches nothing.
class D_LevelStringInfo_c final : public D_LevelInfo_c {
  public:
    /// `name` must outlive the descriptor; usually it is a literal.
    explicit D_LevelStringInfo_c(std::string_view name) noexcept : _name(name) {}

    [[nodiscard]] bool Matches(std::uint32_t level) const noexcept override;
    void Print(kx::TextBuilder& text) const noexcept override;

  private:
    std::string_view _name;
};
