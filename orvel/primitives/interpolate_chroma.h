#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// The two chroma blocks at (blockX, blockY) of a frame, displaced by (mvx, mvy) quarter chroma samples: dstU from
/// frameU, dstV from frameV. A luma vector of v quarter luma samples moves 4:2:0 chroma by v / 2 of them. The displaced
/// block may lie anywhere: outside the frame the nearest edge sample repeats. The sides of the blocks are 2, 4 or 8 and
/// the same for both, and so are the frames' (else badSize). The blocks must not share samples with the frames.
/// Weights and rounding: ITU-T H.264, 8.4.2.2.2.
Status interpolateChroma(const ConstViewU8& frameU, const ConstViewU8& frameV, int blockX, int blockY, int mvx, int mvy,
                         const ViewU8& dstU, const ViewU8& dstV) noexcept;

}  // namespace Orvel::primitives
