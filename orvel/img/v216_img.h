#pragma once
#include <cstdint>

#include "orvel/img/format_info.h"
#include "orvel/img/img.h"

namespace Orvel {

/// 16-bit packed 4:2:2, W even: one plane, 16-bit words U Y V Y for each pixel pair.
class ORVEL_API V216Img : public Img {
public:
    /// An empty picture of this format. Throws std::bad_alloc.
    V216Img();
    ~V216Img() override;

    /// Gives the picture room for width x height pixels; rows are padded to a multiple of 4 bytes. Memory is kept when
    /// it is already large enough.
    /// @param bpp bytes per pixel, getClassBpp() for this type.
    /// @return false when a size is negative or too large or memory runs out; the plane is then empty; an odd width is
    /// refused and changes nothing.
    [[nodiscard]] bool allocate(int width, int height, int bpp) override;
    [[nodiscard]] Img* replicateType() const override;
    /// Fills the picture with one colour. On the calling thread. Always true.
    bool set(unsigned short y, unsigned short u, unsigned short v);
    using Img::set;

    static constexpr int getClassBpp() noexcept { return 4; }
    static constexpr std::uint32_t getClassFormat() noexcept { return fourCC("V216"); }
};

}  // namespace Orvel
