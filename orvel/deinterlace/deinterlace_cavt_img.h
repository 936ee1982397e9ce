#pragma once
#include "orvel/deinterlace/deinterlace_img.h"

namespace Orvel {

/// Keeps the lines of one field and generates the others from it and, as far as the fields agree, from the other
/// field's detail. Each picture comes out at once; 8-bit pictures.
class ORVEL_API DeinterlaceCAVTImg : public DeinterlaceImg {
public:
    /// @param p a DeinterlaceCAVTImgParams.
    [[nodiscard]] bool allocate(DeinterlaceImgParams* p) override;
    /// Planes have at least 2 rows; an odd last row is copied.
    [[nodiscard]] bool deinterlace(Img& out, Img** released) override;

private:
    bool filterPlane(const Img& src, Img& out, int plane) const;

    bool topField_ = true;
    std::uint16_t threshold_ = 1000;
};

}  // namespace Orvel
