#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// norm = sum of |a - b| over all samples; exact.
Status normDiffL1(ConstViewU8 a, ConstViewU8 b, double& norm) noexcept;

}  // namespace Orvel::primitives
