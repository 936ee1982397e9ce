#pragma once
#include <cstdint>
#include <cstring>
#include <span>

#include "orvel/primitives/temporal_blend.h"

namespace Orvel::primitives {

/// How one level mixes, in a form that all levels share: with d = p - c and u = clamp(reach - |d|, 0, most), the result
/// is c + ((gain * u * d + rounding) >> 8). It comes from the level's own form by writing (256 - w) as a multiple of u
/// (16 or 8, the slope of its ramp), taking c out of the sum, and cancelling powers of two: the shifts lose nothing, c
/// being whole. The product stays below 16 bits, since u * |d| is at most 420 (384 for the steep ramps).
struct BlendLevel {
    std::int16_t reach, most, gain, rounding;
};

inline constexpr BlendLevel blendLevels[temporalBlendLevels] = {
    {0, 0, 0, 128},   {40, 16, 4, 128}, {40, 16, 8, 128}, {40, 16, 16, 0},
    {39, 32, 5, 128}, {39, 32, 6, 128}, {40, 32, 6, 128}, {41, 32, 6, 128},
};

/// The levels of a run of blocks, spread over their columns.
struct BlendColumns {
    static constexpr int most = 256;
    static constexpr int group = 4;  ///< columns that are written at once
    std::int16_t reach[most], mostShare[most], gain[most], rounding[most];

    /// side columns for each level, a multiple of group; together at most `most`.
    BlendColumns(std::span<const std::uint8_t> levels, int side) noexcept {
        int x = 0;
        for (const std::uint8_t index : levels) {
            const BlendLevel& level = blendLevels[index];
            for (const int end = x + side; x < end; x += group) {
                spread(level.reach, reach + x);
                spread(level.most, mostShare + x);
                spread(level.gain, gain + x);
                spread(level.rounding, rounding + x);
            }
        }
    }

private:
    static void spread(std::int16_t value, std::int16_t* to) noexcept {
        const std::uint64_t lanes = static_cast<std::uint16_t>(value) * 0x0001000100010001u;
        std::memcpy(to, &lanes, sizeof lanes);
    }
};

}  // namespace Orvel::primitives
