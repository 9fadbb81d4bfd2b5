#include "Tools/kx_gpsim/sequence_diff.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace kx {

namespace {

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

// A number that stays the same for a key on every machine. 32 bits: sums of them stay exact.
std::uint64_t WeightOf(std::string_view key)
{
    std::uint64_t hash = 14695981039346656037U; // FNV-1a
    for (const char unit : key)
        hash = (hash ^ static_cast<unsigned char>(unit)) * 1099511628211U;
    return hash >> 32;
}

// A run that ends in an item: the longer, then the heavier one is better.
struct Run {
    std::uint64_t length = 0;
    std::uint64_t weight = 0;
    std::size_t last = kNone;

    [[nodiscard]] bool IsBetterThan(const Run& other) const
    {
        return length != other.length ? length > other.length : weight > other.weight;
    }
};

// The best run among those that end before a place (a Fenwick tree of maxima).
class BestRuns {
  public:
    explicit BestRuns(std::size_t places) : _m_best(places + 1) {}

    [[nodiscard]] Run Before(std::size_t place) const
    {
        Run best;
        for (std::size_t at = place; at > 0; at &= at - 1)
            if (_m_best[at].IsBetterThan(best))
                best = _m_best[at];
        return best;
    }

    void Put(std::size_t place, const Run& run)
    {
        for (std::size_t at = place + 1; at < _m_best.size(); at += at & (~at + 1))
            if (run.IsBetterThan(_m_best[at]))
                _m_best[at] = run;
    }

  private:
    std::vector<Run> _m_best;
};

// Places as 0, 1, 2...
std::vector<std::size_t> RanksOf(const std::vector<SequenceItem>& items)
{
    std::vector<std::size_t> places;
    places.reserve(items.size());
    for (const SequenceItem& item : items)
        places.push_back(item.otherPlace);
    std::vector<std::size_t> sorted = places;
    std::sort(sorted.begin(), sorted.end());
    for (std::size_t& place : places)
        place =
            static_cast<std::size_t>(std::lower_bound(sorted.begin(), sorted.end(), place) - sorted.begin());
    return places;
}

} // namespace

std::vector<std::size_t> FindMoved(const std::vector<SequenceItem>& items)
{
    const std::vector<std::size_t> ranks = RanksOf(items);
    BestRuns runs(items.size());
    std::vector<std::size_t> previous(items.size(), kNone);
    for (std::size_t index = 0; index < items.size(); ++index) {
        Run run = runs.Before(ranks[index]);
        previous[index] = run.last;
        run = {run.length + 1, run.weight + WeightOf(items[index].key), index};
        runs.Put(ranks[index], run);
    }
    std::vector<bool> stays(items.size());
    for (std::size_t at = runs.Before(items.size()).last; at != kNone; at = previous[at])
        stays[at] = true;
    std::vector<std::size_t> moved;
    for (std::size_t index = 0; index < items.size(); ++index)
        if (!stays[index])
            moved.push_back(index);
    return moved;
}

std::string KeyOfPair(const std::string& one, const std::string& other)
{
    const auto& [first, second] = std::minmax(one, other);
    return first + '\n' + second;
}

} // namespace kx
