#pragma once
#include "orvel/deinterlace/deinterlace_img.h"

namespace Orvel {

/// Filters every line with its two neighbours, the other field's: no combs, at half the vertical detail. Each picture
/// comes out at once. The only deinterlacer for 16-bit pictures; both depths are one filter, results truncated.
class ORVEL_API DeinterlaceTriangleImg : public DeinterlaceImg {
public:
    /// @param p a DeinterlaceTriangleImgParams. A weight above 256 or a layout without any of its bits is told by
    /// deinterlace().
    [[nodiscard]] bool allocate(DeinterlaceImgParams* p) override;
    /// As the base, but planes of any number of bytes per sample are queued; deinterlace() takes 1 and 2.
    [[nodiscard]] bool pushImg(Img& img) override;
    /// Planes have at least 3 rows.
    [[nodiscard]] bool deinterlace(Img& out, Img** released) override;

private:
    bool filterPlane(const Img& src, Img& out, int plane) const;

    std::uint32_t centerWeight_ = 128;
    std::int32_t layout_ = 21;
};

}  // namespace Orvel
