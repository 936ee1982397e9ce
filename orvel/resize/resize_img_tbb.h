#pragma once
#include <array>
#include <cstdint>

#include "orvel/resize/resize_img.h"

namespace Orvel {

/// Scales all planes of a picture at once, one task a plane, each with a resizer of its own. For callers whose plane
/// sizes are fixed: every plane must have exactly the sizes it was allocated with.
class ORVEL_API ResizeImgTbb {
public:
    ResizeImgTbb() noexcept;
    ~ResizeImgTbb();
    ResizeImgTbb(const ResizeImgTbb&) = delete;
    ResizeImgTbb& operator=(const ResizeImgTbb&) = delete;

    /// Gets ready to scale the planes of src to those of dst. With ResizeInterpSuperSampling the resizers hold no
    /// buffer, and plane sizes are not compared later.
    /// @return false when the numbers of planes differ (nothing is changed) or a plane's resizer refuses (the object is
    /// then unallocated).
    [[nodiscard]] bool allocate(Img& dst, Img& src, ResizeInterp interp, ResizeSmooth smooth);
    void deallocate();
    /// @return false when the numbers of planes of the pictures and of allocate() differ. Throws std::runtime_error
    /// when a plane has not the size of allocate() or its resizer fails; other planes may have been scaled.
    [[nodiscard]] bool resize(Img& dst, Img& src);

private:
    std::int32_t planes_ = 0;
    std::array<ResizeImg, Img::maxPlanes> resizers_;
};

}  // namespace Orvel
