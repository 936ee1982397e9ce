#pragma once
#include "orvel/img/img.h"
#include "orvel/img/types.h"
#include "orvel/sys/api.h"

namespace Orvel {

/// Mixes pictures of one size and format.
class ORVEL_API InterpolateImg {
public:
    /// out = (alpha * a + (255 - alpha) * b) / 255 sample by sample, to the nearest integer. alpha is the weight of a,
    /// 0 to 255; 256 counts as 255. Planes of 2 bytes per pixel and one channel are 16-bit samples, with the weight
    /// alpha / 255 of 65535; in all others the first width * channels bytes of a row are mixed as 8-bit samples (every
    /// byte of the 8-bit formats) and the rest of the row is left alone.
    ///
    /// FieldFrameTop and FieldFrameBottom mix floor(height / 2) lines of each plane, from line 0 or 1 in steps of two;
    /// any other sel mixes all lines. out may be a or b. Rows run in parallel on all cores.
    ///
    /// @return false, with nothing written, when alpha exceeds 256, the pictures have no planes or differ in number,
    /// sizes, bytes per pixel or channels of planes, or a plane has pixels but no memory, other than 1 to 4 bytes per
    /// pixel or other than 1 to 4 channels, or fewer bytes in a pixel than channels. Planes without pixels are skipped.
    [[nodiscard]] static bool frameInterpolate(Img& out, const Img& a, const Img& b, unsigned alpha,
                                               FieldFrameSelect sel);
};

}  // namespace Orvel
