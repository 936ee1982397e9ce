#pragma once
#include <cstdint>

#include "orvel/img/format_info.h"
#include "orvel/img/img.h"

namespace Orvel {

/// 8-bit planar 4:2:0: plane 0 is Y, plane 1 Cb (U), plane 2 Cr (V). For W x H pixels each chroma plane has
/// floor(W / 2) x ceil(H / 2) samples.
class ORVEL_API I420Img : public Img {
public:
    /// An empty picture of this format. Throws std::bad_alloc.
    I420Img();
    ~I420Img() override;

    /// Gives the picture room for width x height pixels; rows are padded to a multiple of 4 bytes. Memory is kept when
    /// it is already large enough.
    /// @param bpp bytes per sample, getClassBpp() for this type.
    /// @return false when a size is negative or too large or memory runs out; the picture is then empty.
    [[nodiscard]] bool allocate(int width, int height, int bpp) override;
    [[nodiscard]] Img* replicateType() const override;

    static constexpr int getClassBpp() noexcept { return 1; }
    static constexpr std::uint32_t getClassFormat() noexcept { return fourCC("I420"); }
};

}  // namespace Orvel
