#pragma once
#include <cstdint>

#include "orvel/img/i420_img.h"
#include "orvel/mctf/me_data.h"
#include "orvel/sys/api.h"

namespace Orvel {

/// What the motion compensator is told.
struct MotionCompensateImgParams {
    std::int32_t width = 0;  ///< luma size of the pictures, in samples
    std::int32_t height = 0;
    std::int32_t reserved = 0;
};

/// Predicts a picture by moving the blocks of a reference picture to where the motion search found them.
///
/// Luma moves by the block's vector, chroma by half of it (rounded toward minus infinity, in quarter chroma samples);
/// both are interpolated as H.264 does and repeat the reference's edge samples outside of it. Block rows run in
/// parallel on all cores.
template <class T>
class ORVEL_API MotionCompensateImg {
public:
    MotionCompensateImg() noexcept = default;
    MotionCompensateImg(const MotionCompensateImg&) = delete;
    MotionCompensateImg& operator=(const MotionCompensateImg&) = delete;

    /// The size of the pictures of the following calls.
    void setParams(MotionCompensateImgParams& params) noexcept { params_ = params; }
    /// The picture to predict from. It stays the caller's and must live through the following calls.
    void setRefPic(T* ref) noexcept { ref_ = ref; }

    /// Fills dst with the prediction; luma 0 and chroma 128 where no whole block lies.
    /// @param data  a record for each 8x8 block, row by row.
    /// @param draw  puts an arrow of value 200 along each block's vector, from the block's centre, on top of all
    /// blocks.
    /// @return false, with nothing written, when something is missing, a picture is not of the set size, the same
    /// picture is to be read and written, or data has fewer blocks.
    [[nodiscard]] bool process(T* dst, MEData* data, bool draw) noexcept;

private:
    MotionCompensateImgParams params_;
    T* ref_ = nullptr;
};

extern template class MotionCompensateImg<I420Img>;

}  // namespace Orvel
