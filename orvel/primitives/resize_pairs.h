#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "orvel/primitives/resize_taps.h"

namespace Orvel::primitives {

/// The tap lists of one direction once more, over source samples in pairs: 0 and 1, 2 and 3, and so on. Where a list
/// begins with the second sample of a pair, the first one has a zero tap. So the samples need pairing up only once for
/// all lists that reach them. From one list to the next neither the first pair falls nor the end.
class PairTable {
public:
    static constexpr int group = 16;  ///< the last list stands there again, up to a multiple of this

    PairTable() = default;
    /// Gives as many neighbouring lists as `together` says, a divisor of group, the same pairs. Throws std::bad_alloc.
    PairTable(const TapTable& table, int together);

    bool empty() const noexcept { return first_.empty(); }
    int first(int list) const noexcept { return first_[static_cast<std::size_t>(list)]; }
    int end(int list) const noexcept { return end_[static_cast<std::size_t>(list)]; }
    int pairs(int list) const noexcept { return end(list) - first(list); }
    int mostPairs() const noexcept { return mostPairs_; }  ///< of any list
    /// pairs() times two taps, each as the two halves of a 32-bit lane.
    const std::int32_t* taps(int list) const noexcept {
        return taps_.data() + static_cast<std::size_t>(list) * static_cast<std::size_t>(mostPairs_);
    }
    /// Most pairs that any `lists` neighbouring lists take together.
    int reach(int lists) const noexcept;

private:
    int mostPairs_ = 0;
    std::vector<std::int32_t> first_, end_, taps_;
};

}  // namespace Orvel::primitives
