#include "orvel/primitives/block_search.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/block_search.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/sad_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

constexpr int blockSide = 8;
constexpr int goodEnough = 255;  // sum up to which a block is not refined
constexpr int mostPasses = 8;    // of the large diamond

constexpr WholeVector largeDiamond[] = {{0, 2}, {-1, 1}, {-2, 0}, {-1, -1}, {0, -2}, {1, -1}, {2, 0}, {1, 1}};
constexpr WholeVector smallDiamond[] = {{-1, 0}, {0, -1}, {1, 0}, {0, 1}};

/// How far a pattern reaches in any direction.
template <std::size_t n>
constexpr int reachOf(const WholeVector (&points)[n]) {
    int reach = 0;
    for (const WholeVector& p : points) reach = std::max({reach, p.x, -p.x, p.y, -p.y});
    return reach;
}

HWY_INLINE int length(WholeVector v) {
    return std::abs(v.x) + std::abs(v.y);
}

/// @return whether a vector of that sum is better than best, which then has it.
HWY_INLINE bool improve(BlockMatch& best, std::int32_t sad, WholeVector v) {
    if (sad > best.sad || (sad == best.sad && length(v) >= length(best.vector))) return false;
    best = {sad, v};
    return true;
}

/// The search of one block, which is read once.
class Search {
public:
    HWY_INLINE explicit Search(const SearchedBlock& block)
        : cur_(block.samples, block.step), ref_(block.ref), x_(block.x), y_(block.y) {}

    HWY_INLINE bool tryOne(WholeVector v, BlockMatch& best) const {
        return isInside(v) && improve(best, sadOf(cur_, at(v), ref_.step), v);
    }

    template <class Vectors>
    HWY_INLINE bool tryAround(const Vectors& candidates, BlockMatch& best) const {
        const WholeVector base = best.vector;
        bool improved = false;
        for (const WholeVector& v : candidates) improved |= tryOne({base.x + v.x, base.y + v.y}, best);
        return improved;
    }

    /// A vector that comes a second time does not win. So they need not be distinct, four costing as much as two, and
    /// zero stands in for a vector that leads out of the picture.
    HWY_INLINE BlockMatch tryPredictors(const WholeVector (&predictors)[4]) const {
        const WholeVector &a = predictors[0], &b = predictors[1], &c = predictors[2], &last = predictors[3];
        BlockMatch best{std::numeric_limits<std::int32_t>::max(), {0, 0}};
        if ((a.x | a.y | b.x | b.y | c.x | c.y | last.x | last.y) == 0) {
            tryOne({0, 0}, best);
            return best;
        }
        const auto orZero = [this](WholeVector v) HWY_ATTR { return isInside(v) ? v : WholeVector{0, 0}; };
        const WholeVector vectors[] = {{0, 0}, orZero(a), orZero(b), orZero(c)};
        tryFour(vectors, best);
        const auto apart = [&](WholeVector v) HWY_ATTR { return (v.x ^ last.x) | (v.y ^ last.y); };
        if (apart(a) != 0 && apart(b) != 0 && apart(c) != 0) tryOne(last, best);
        return best;
    }

    HWY_INLINE void refine(BlockMatch& best) const {
        for (int pass = 0; pass < mostPasses && best.sad > goodEnough; ++pass)
            if (!tryPattern<largeDiamond>(best)) break;
        if (best.sad > goodEnough) tryPattern<smallDiamond>(best);
    }

private:
    HWY_INLINE const std::uint8_t* at(WholeVector v) const { return ref_.row(y_ + v.y) + x_ + v.x; }

    HWY_INLINE bool isInside(WholeVector v) const {
        const std::int64_t x = std::int64_t{x_} + v.x, y = std::int64_t{y_} + v.y;
        return (x | y | (ref_.width - blockSide - x) | (ref_.height - blockSide - y)) >= 0;  // none of them is negative
    }

    HWY_INLINE void tryFour(const WholeVector (&v)[4], BlockMatch& best) const {
        std::int32_t sads[4];
        fourSads(cur_, at(v[0]), at(v[1]), at(v[2]), at(v[3]), ref_.step, sads);
        for (int i = 0; i < 4; ++i) improve(best, sads[i], v[i]);
    }

    template <const auto& pattern>
    HWY_INLINE bool tryPattern(BlockMatch& best) const {
        constexpr int n = static_cast<int>(std::size(pattern)), reach = reachOf(pattern);
        const WholeVector base = best.vector;
        if (!isInside({base.x - reach, base.y - reach}) || !isInside({base.x + reach, base.y + reach}))
            return tryAround(pattern, best);
        const std::uint8_t* const centre = at(base);
        const auto sample = [&](int i) HWY_ATTR { return centre + pattern[i].y * ref_.step + pattern[i].x; };
        std::int32_t sads[n];
        for (int i = 0; i < n; i += 4)
            fourSads(cur_, sample(i), sample(i + 1), sample(i + 2), sample(i + 3), ref_.step, sads + i);
        if (*std::min_element(sads, sads + n) > best.sad) return false;
        bool improved = false;
        for (int i = 0; i < n; ++i) improved |= improve(best, sads[i], {base.x + pattern[i].x, base.y + pattern[i].y});
        return improved;
    }

    SadBlock cur_;
    ConstViewU8 ref_;
    int x_, y_;
};

bool tryVectors(const SearchedBlock& block, std::span<const WholeVector> candidates, BlockMatch& best) {
    return Search(block).tryAround(candidates, best);
}

void refineMatch(const SearchedBlock& block, BlockMatch& best) {
    Search(block).refine(best);
}

BlockMatch searchBlock(const SearchedBlock& block, const WholeVector (&predictors)[4]) {
    const Search search(block);
    BlockMatch best = search.tryPredictors(predictors);
    search.refine(best);
    return best;
}

const BlockSearch& searchOfThisTarget() {
    static constexpr BlockSearch search{&tryVectors, &refineMatch, &searchBlock};
    return search;
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {

HWY_EXPORT(searchOfThisTarget);

const BlockSearch& blockSearch() noexcept {
    // Asked through a call: the dispatch table's own entry may still be the one that looks the machine over first.
    return HWY_DYNAMIC_DISPATCH(searchOfThisTarget)();
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
