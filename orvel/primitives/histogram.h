#pragma once
#include <cstdint>
#include <span>

#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// counts[k] = number of samples v with levels[k] <= v < levels[k + 1]; samples outside all levels are not counted.
/// @param levels ascending, at least two (else badArgument); 256 closes a bin that takes in 255.
/// @param counts one entry less than levels has (else badArgument).
Status histogramRange(ConstViewU8 src, std::span<const std::int32_t> levels, std::span<std::int32_t> counts) noexcept;

}  // namespace Orvel::primitives
