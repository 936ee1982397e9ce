#pragma once
#include <cstdint>

#include "orvel/img/format_info.h"
#include "orvel/img/img.h"

namespace Orvel {

/// 8-bit packed 4:2:2: one plane, bytes U Y V Y for each pixel pair. The last pixel of an odd row holds U Y.
class ORVEL_API UYVYImg : public Img {
public:
    /// An empty picture of this format. Throws std::bad_alloc.
    UYVYImg();
    ~UYVYImg() override;

    /// Gives the picture room for width x height pixels; rows are padded to a multiple of 4 bytes. Memory is kept when
    /// it is already large enough.
    /// @param bpp bytes per pixel, getClassBpp() for this type.
    /// @return false when a size is negative or too large or memory runs out; the plane is then empty.
    [[nodiscard]] bool allocate(int width, int height, int bpp) override;
    [[nodiscard]] Img* replicateType() const override;
    /// Fills the picture with one colour, a pixel pair at a time; the last pixel of an odd row keeps its value. Rows in
    /// parallel. Always true.
    bool set(unsigned char y, unsigned char u, unsigned char v);
    using Img::set;

    static constexpr int getClassBpp() noexcept { return 2; }
    static constexpr std::uint32_t getClassFormat() noexcept { return fourCC("UYVY"); }
};

}  // namespace Orvel
