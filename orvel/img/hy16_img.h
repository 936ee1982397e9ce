#pragma once
#include <cstdint>

#include "orvel/img/format_info.h"
#include "orvel/img/img.h"

namespace Orvel {

/// 16-bit planar 4:2:2, W even: plane 0 is Y, plane 1 Cb (U), plane 2 Cr (V), W / 2 x H samples each.
class ORVEL_API HY16Img : public Img {
public:
    /// An empty picture of this format. Throws std::bad_alloc.
    HY16Img();
    ~HY16Img() override;

    /// Gives the picture room for width x height pixels; rows are padded to a multiple of 4 bytes. Memory is kept when
    /// it is already large enough.
    /// @param bpp bytes per sample, getClassBpp() for this type.
    /// @return false when a size is negative or too large or memory runs out; the picture is then empty; an odd width
    /// is refused and changes nothing.
    [[nodiscard]] bool allocate(int width, int height, int bpp) override;
    [[nodiscard]] Img* replicateType() const override;

    static constexpr int getClassBpp() noexcept { return 2; }
    static constexpr std::uint32_t getClassFormat() noexcept { return fourCC("HY16"); }
};

}  // namespace Orvel
