#pragma once
#include <memory>

#include "orvel/deinterlace/deinterlace_img.h"

namespace Orvel {

namespace primitives {
class DeinterlaceBlendState;
}

/// Keeps one field of the middle of three pictures and makes the other from all of them, as far as the picture moves:
/// still parts keep their full detail. 8-bit pictures. The first output comes with the third picture; the first and the
/// last picture of a sequence are never the middle one.
///
/// One picture per frame keeps the top field. At double rate each push is followed by two deinterlace() calls, one for
/// each field in their order in time; the second one releases the oldest picture, a push between the two is refused.
class ORVEL_API DeinterlaceBlendImg : public DeinterlaceImg {
public:
    DeinterlaceBlendImg() noexcept;
    ~DeinterlaceBlendImg() override;
    DeinterlaceBlendImg(const DeinterlaceBlendImg&) = delete;
    DeinterlaceBlendImg& operator=(const DeinterlaceBlendImg&) = delete;

    /// @param p a DeinterlaceBlendImgParams; thresholds and weights out of range (also a NaN) are refused.
    [[nodiscard]] bool allocate(DeinterlaceImgParams* p) override;
    void deallocate() override;
    [[nodiscard]] bool pushImg(Img& img) override;
    /// Planes that one of the three pictures does not have are left alone. The user data of the oldest and then that of
    /// the middle picture goes to out.
    [[nodiscard]] bool deinterlace(Img& out, Img** released) override;
    Img* popImg() override;
    int requiredFrames() const override;
    int bufferedFrames() const override;

private:
    bool makePlanes(Img& out) const;
    bool blendPlane(Img& out, int plane) const;
    void gatherUserData(Img& out) noexcept;

    static constexpr int queueLength = 3;
    Img* frames_[queueLength] = {};  ///< oldest first
    bool topFirst_ = true;
    std::unique_ptr<primitives::DeinterlaceBlendState> state_;
    std::int32_t fieldCounter_ = 0;  ///< at double rate: deinterlace() calls since the last push
    bool doubleRate_ = false;
};

}  // namespace Orvel
