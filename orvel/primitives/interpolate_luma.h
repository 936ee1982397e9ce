#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// dst = the block of frame whose top left sample is (blockX, blockY), displaced by (mvx, mvy) quarter samples. The
/// displaced block may lie anywhere: outside the frame the nearest edge sample repeats. Both sides of dst are 4, 8 or
/// 16 (else badSize). dst must not share samples with the frame. Formulas: ITU-T H.264, 8.4.2.2.1.
Status interpolateLuma(ConstViewU8 frame, int blockX, int blockY, int mvx, int mvy /* quarter samples */,
                       ViewU8 dst) noexcept;

}  // namespace Orvel::primitives
