#pragma once
#include <cstdint>

#include "orvel/img/format_info.h"
#include "orvel/img/img.h"

namespace Orvel {

/// 8-bit packed RGB: one plane, bytes B G R A for each pixel. Conversions write 255 to A and ignore it on reading.
class ORVEL_API BGRImg : public Img {
public:
    /// An empty picture of this format. Throws std::bad_alloc.
    BGRImg();
    ~BGRImg() override;

    /// Gives the picture room for width x height pixels; rows are padded to a multiple of 4 bytes. Memory is kept when
    /// it is already large enough.
    /// @param bpp bytes per pixel, getClassBpp() for this type.
    /// @return false when a size is negative or too large or memory runs out; the plane is then empty.
    [[nodiscard]] bool allocate(int width, int height, int bpp) override;
    [[nodiscard]] Img* replicateType() const override;

    static constexpr int getClassBpp() noexcept { return 4; }
    static constexpr std::uint32_t getClassFormat() noexcept { return 0; }
};

}  // namespace Orvel
