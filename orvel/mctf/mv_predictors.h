#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "orvel/img/types.h"
#include "orvel/sys/api.h"

namespace Orvel {

/// A list of up to 64 displacements, in the order in which a search tries them.
class ORVEL_API MVPredictors {
public:
    static constexpr int capacity = 64;

    /// Makes the list the n points at pts, in order; points behind the 64th are left out, slots behind the last are 0.
    void init(tagPOINT* const pts, int n) noexcept;
    /// Empties the list; all slots are 0.
    void clear() noexcept;
    /// Appends a point; a full list stays as it is.
    void append(tagPOINT point) noexcept {
        if (count_ < capacity) points_[static_cast<std::size_t>(count_++)] = point;
    }

    int count() const noexcept { return count_; }
    std::span<const tagPOINT> points() const noexcept { return {points_.data(), static_cast<std::size_t>(count_)}; }
    /// Slot i of the 64, which is (0, 0) when i is not below count().
    const tagPOINT& slot(int i) const noexcept { return points_[static_cast<std::size_t>(i)]; }

    /// True when a and b differ.
    static bool isNew(tagPOINT a, tagPOINT b) noexcept { return a.x != b.x || a.y != b.y; }
    /// True when the 8x8 block at pos, displaced by mv whole samples, lies wholly inside a picture of that size.
    static bool validate(tagPOINT pos, tagSIZE size, tagPOINT mv) noexcept {
        const std::int64_t x = std::int64_t{pos.x} + mv.x, y = std::int64_t{pos.y} + mv.y;
        return (x | y | (size.cx - 8 - x) | (size.cy - 8 - y)) >= 0;  // none of them is negative
    }
    /// sad = sum of absolute differences of two 8x8 blocks with their row steps.
    /// @return false, with sad untouched, when a block is null.
    static bool evaluate(unsigned char* cur, int curStep, unsigned char* ref, int refStep, int& sad) noexcept;

private:
    std::array<tagPOINT, capacity> points_{};  // 0 behind the last point
    std::int32_t count_ = 0;
};

}  // namespace Orvel
