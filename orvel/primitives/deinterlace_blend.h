#pragma once
#include <cstdint>

#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// What a run of the blending deinterlacer is set to; a plain value.
class DeinterlaceBlendState {
public:
    /// thresholds of motion, 0 .. 255: up to the first one a place counts as still, and the value interpolated within
    /// the picture weighs weights[0]; up to the second one it weighs weights[1]; above it stands alone. The weights are
    /// in 0 .. 1.
    /// @return badSize when a side is below 1, badArgument for a value out of its range; the state is then unchanged.
    Status init(int maxWidth, int maxHeight, const std::int32_t (&thresholds)[2], const double (&weights)[2]) noexcept;

    int maxWidth() const noexcept { return maxWidth_; }
    int maxHeight() const noexcept { return maxHeight_; }
    std::uint8_t threshold(int i) const noexcept { return thresholds_[i]; }
    /// Of 256.
    std::uint16_t weight(int i) const noexcept { return weights_[i]; }

private:
    int maxWidth_ = 0, maxHeight_ = 0;  // as long as they are zero every picture is too large
    std::uint8_t thresholds_[2] = {};
    std::uint16_t weights_[2] = {};
};

struct BlendFields {
    bool topFirst;     ///< the top field of each frame is the earlier one
    bool generateTop;  ///< the top field is made and the bottom field kept, else the other way round
    bool copyKept;     ///< copy the kept field's rows from cur to the destination, else leave them alone
};

/// Motion-adaptive deinterlacing of the middle one of three consecutive frames' planes, each with its own step. The
/// arithmetic is described in deinterlace_blend.cpp. Three equal frames give that frame, whatever the settings. Where
/// the kept field has no row, the only row is copied from cur.
///
/// Makes rows [first, last) of dst, the whole destination plane, from the whole sources. Bands may run on any threads
/// in any order with the same bytes. Needs no memory but 60 kB of the stack. Not in place.
/// @return nullPointer; badSize when the views differ, are empty, exceed the state's size or dst has no such rows.
Status deinterlaceBlendRows(const DeinterlaceBlendState& state, ConstViewU8 prev, ConstViewU8 cur, ConstViewU8 next,
                            ViewU8 dst, BlendFields fields, int first, int last) noexcept;

/// All rows of dst, on the calling thread.
inline Status deinterlaceBlend(const DeinterlaceBlendState& state, ConstViewU8 prev, ConstViewU8 cur, ConstViewU8 next,
                               ViewU8 dst, BlendFields fields) noexcept {
    return deinterlaceBlendRows(state, prev, cur, next, dst, fields, 0, dst.height);
}

}  // namespace Orvel::primitives
