#pragma once
#include <algorithm>
#include <cstdint>

namespace Orvel::primitives {

inline constexpr unsigned cavtTopThreshold = 2041;

/// How much the filter minds mismatches of the fields, out of a threshold in 1 .. 2041; larger ones are 2041.
constexpr std::uint16_t cavtStrength(unsigned threshold) noexcept {
    const unsigned t = std::min(threshold, cavtTopThreshold);
    return static_cast<std::uint16_t>(std::min(65535u, (12288 * (cavtTopThreshold - t) + t / 2) / t));
}

}  // namespace Orvel::primitives
