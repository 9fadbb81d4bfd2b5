#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <string_view>

/// Numbers that are the same for the same seed with every compiler and library, unlike those of the
/// language's distributions.
class Random {
  public:
    explicit Random(std::uint64_t seed) noexcept : _m_state(seed) {}

    /// Case `number` of the run `seed`; neighbours have nothing in common.
    static Random Of(std::uint64_t seed, std::uint64_t number) noexcept
    {
        Random seeds(seed);
        return Random(seeds.Next() ^ (number * 0xD1342543DE82EF95ULL));
    }

    std::uint64_t Next() noexcept
    {
        _m_state += 0x9E3779B97F4A7C15ULL;
        std::uint64_t mixed = _m_state;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9ULL;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBULL;
        return mixed ^ (mixed >> 31);
    }

    /// From 0 up to, without, `end`; 0 for an `end` of 0.
    std::size_t Below(std::size_t end) noexcept { return end == 0 ? 0 : Next() % end; }

    /// True once in `times`.
    bool OneIn(std::size_t times) noexcept { return Below(times) == 0; }

    template <class Items>
    const auto& Pick(const Items& items) noexcept
    {
        return *(std::begin(items) + static_cast<std::ptrdiff_t>(Below(std::size(items))));
    }

    std::string_view Pick(std::initializer_list<std::string_view> items) noexcept
    {
        return *(items.begin() + Below(items.size()));
    }

  private:
    std::uint64_t _m_state;
};
