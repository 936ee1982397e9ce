#pragma once
#include <array>
#include <cstdint>

#include "orvel/primitives/temporal_blend.h"

namespace Orvel::primitives {

/// How one level mixes, in a form that all levels share: with d = p - c and u = clamp(reach - |d|, 0, most), the result
/// is c + ((gain * u * d + rounding) >> 8). It comes from the level's own form by writing (256 - w) as a multiple of u
/// (16 or 8, the slope of its ramp), taking c out of the sum, and cancelling powers of two: the shifts lose nothing, c
/// being whole. The product stays below 16 bits, since u * |d| is at most 420 (384 for the steep ramps).
///
/// Each number stands in all lanes of a row of a block.
struct BlendLevel {
    using Lanes = std::array<std::int16_t, 8>;

    constexpr BlendLevel(std::int16_t reachOfIt, std::int16_t mostOfIt, std::int16_t gainOfIt,
                         std::int16_t roundingOfIt)
        : reach(all(reachOfIt)), most(all(mostOfIt)), gain(all(gainOfIt)), rounding(all(roundingOfIt)) {}

    alignas(64) Lanes reach;
    Lanes most, gain, rounding;

private:
    static constexpr Lanes all(std::int16_t value) {
        Lanes lanes{};
        for (std::int16_t& lane : lanes) lane = value;
        return lanes;
    }
};

inline constexpr BlendLevel blendLevels[temporalBlendLevels] = {
    {0, 0, 0, 128},   {40, 16, 4, 128}, {40, 16, 8, 128}, {40, 16, 16, 0},
    {39, 32, 5, 128}, {39, 32, 6, 128}, {40, 32, 6, 128}, {41, 32, 6, 128},
};

}  // namespace Orvel::primitives
