#pragma once
#include <cstdint>

namespace Orvel {

/// How a resizer makes its samples. The values 5 (B-spline), 6 (Catmull-Rom) and 7 (a cubic between the two) are
/// understood as well.
enum ResizeInterp : std::int32_t {
    ResizeInterpNone = -1,  ///< no resizer; for the pipeline: choose automatically
    ResizeInterpNearest = 1,
    ResizeInterpLinear = 2,
    ResizeInterpCubic = 4,           ///< cubic polynomial through four samples
    ResizeInterpSuper = 8,           ///< mean of the covered area; reduces only
    ResizeInterpSuperSampling = 9,   ///< the same on 8-bit planes, needs no buffer; reduces only
    ResizeInterpLanczos = 16,        ///< three lobes
    ResizeInterpLanczosFilter = 32,  ///< three lobes, widened where the size is reduced; 8-bit planes only
    ResizeInterpHannFilter = 64,     ///< sized for a Hann window; scales as ResizeInterpLanczosFilter, see ResizeImg
};

/// Flags of the methods 1 to 16, OR-ed to the ResizeInterp value.
enum ResizeSmooth : std::int32_t {
    ResizeSmoothNone = 0,
    ResizeSmoothAntialiasing = 1 << 29,  ///< widens the kernel where the size is reduced, so that no sample is skipped
    ResizeSmoothSubpixelEdge = 1 << 30,  ///< accepted, changes nothing: a plane's border is always repeated
    ResizeSmoothEdge = INT32_MIN,        ///< likewise
};

}  // namespace Orvel
