#pragma once
#include <cstdint>
#include <memory>

#include "orvel/img/img.h"
#include "orvel/img/types.h"
#include "orvel/resize/resize_types.h"
#include "orvel/sys/api.h"

namespace Orvel {

class ResizePlans;

/// Scales the planes of one planar picture into the planes of another: 8-bit planes, or 16-bit ones (2 bytes per pixel)
/// with the methods 1 to 16. Planes may be views: regions and fields of larger pictures.
///
/// allocate() accounts for the work memory of the largest plane and makes the tables of the sizes it knows; tables of
/// other plane sizes (chroma, fields) are made when they are first met and kept, so that resize() allocates nothing as
/// long as sizes repeat. Rows run in parallel on all cores; the result never depends on that. Source and destination
/// must not share samples.
///
/// One thread at a time may use a resizer. Failures are told by the result alone.
class ORVEL_API ResizeImg {
public:
    /// An unallocated resizer.
    ResizeImg() noexcept;
    ~ResizeImg();
    ResizeImg(const ResizeImg&) = delete;
    ResizeImg& operator=(const ResizeImg&) = delete;

    /// Gets ready for planes up to these sizes; the destination stands first. A buffer that is large enough already is
    /// reused, and then, for the methods other than the two filters, getMaxSrcSize() and getMaxDstSize() keep telling
    /// the sizes that it was made for.
    /// @return false for ResizeInterpSuperSampling (see allocateSuperSampling()), another unknown method, a side below
    /// 1, an enlarging ResizeInterpSuper, or when memory runs out: the resizer is then unallocated.
    [[nodiscard]] bool allocate(tagSIZE dst, tagSIZE src, ResizeInterp interp, ResizeSmooth smooth);
    /// The same for the largest width and height among the planes of each picture.
    /// @return false also when a plane has more than one channel, other than 1 or 2 bytes per pixel or not the same in
    /// both pictures, or 2 bytes with one of the filters.
    [[nodiscard]] bool allocate(Img& dst, Img& src, ResizeInterp interp, ResizeSmooth smooth);
    /// Gets ready for super-sampling 8-bit pictures. plane < 0: with a buffer for every plane; plane >= 0: without one,
    /// by design: such a resizer takes planes of any size. With a buffer it refuses planes that are too large for it.
    /// @return false when a plane has more than one channel or byte per pixel: the resizer is then unallocated.
    [[nodiscard]] bool allocateSuperSampling(Img& dst, Img& src, ResizeInterp interp, int plane);
    /// Back to the unallocated state, except that the sizes a filter was last used with are remembered.
    void deallocate();

    /// Scales every plane of src into the same plane of dst, up to the first failure.
    [[nodiscard]] bool resize(Img& dst, Img& src);
    /// Scales one plane. A resizer allocated for ResizeInterpHannFilter scales with the Lanczos kernel as soon as plane
    /// sizes differ from those of its previous call, so from its first call on; the Hann kernel is met only after a
    /// second allocate() for the sizes used last.
    /// @return false, with nothing written, when a plane is missing or empty, has more than one channel, has bytes per
    /// pixel that the method does not take or that differ, needs more work memory than there is, or is enlarged by area
    /// averaging.
    [[nodiscard]] bool resizePlane(Img& dst, int dstPlane, Img& src, int srcPlane);

    /// The sizes the buffer was made for. @return false, with size untouched, when no buffer is held.
    bool getMaxSrcSize(tagSIZE& size) const noexcept;
    bool getMaxDstSize(tagSIZE& size) const noexcept;

private:
    struct Job;

    bool takeBuffer(std::int64_t bytes) noexcept;
    bool findPlan(Job& job) noexcept;
    bool preparePlanes(const Img& dst, const Img& src) noexcept;
    bool chooseMethod(Job& job, int bpp);
    bool filterReady(const Job& job) noexcept;
    bool fits(const Job& job) const noexcept;
    bool fail();

    std::int32_t bufferSize_ = 0;  ///< work memory accounted for, in bytes; 0: no buffer
    std::int32_t interp_ = ResizeInterpNone;
    tagSIZE src_, dst_;              ///< what the buffer was made for
    tagSIZE filterSrc_, filterDst_;  ///< planes of the last filter call
    tagSIZE stateSrc_, stateDst_;    ///< what the filter is set up for; 0 x 0: nothing
    bool stateIsHann_ = false;
    std::unique_ptr<ResizePlans> plans_;
};

}  // namespace Orvel
