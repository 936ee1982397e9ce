#pragma once

namespace Orvel::primitives {

/// Answer of a pixel primitive. Negative: nothing was written. Positive: a warning, the work was done on a reduced
/// region. Arguments are tested in the order of this list; the first fault found is the answer.
enum class [[nodiscard]] Status : int{
    ok = 0,
    nullPointer = -8,
    badSize = -6,  ///< a side below 1 or below the primitive's minimum, or sides that do not fit together
    badInterpolation = -22,
    badScale = -23,  ///< area averaging asked to enlarge
    badArgument = -5,
    reducedSize = 35,  ///< a side is no multiple of what the primitive needs; the rest was left alone
};

}  // namespace Orvel::primitives
