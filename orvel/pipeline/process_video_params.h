#pragma once
#include <cstdint>
#include <type_traits>

#include "orvel/deinterlace/deinterlace_params.h"
#include "orvel/mctf/mctf_fast_params.h"
#include "orvel/resize/resize_types.h"

namespace Orvel {

class HY16Img;

/// Configures a ProcessVideo<T>. A field whose comment names a derived value may be left at 0 to ask for it;
/// ProcessVideo<T>::allocate() writes the completed record back. Sizes and positions are in pixels.
template <class T>
struct ProcessVideoParams {
    static constexpr bool is16Bit = std::is_same_v<T, HY16Img>;

    // Source
    std::int32_t srcWidth = 0;  ///< size of every source picture; process() refuses others
    std::int32_t srcHeight = 0;
    bool srcProgressive = true;  ///< false: two fields in each picture
    std::uint32_t srcFrameRateNum = 30;
    std::uint32_t srcFrameRateDen = 1;
    /// The part of the source that is processed. An odd cropX of a packed 4:2:2 source begins at a Cr byte and so
    /// exchanges Cb and Cr.
    std::int32_t cropX = 0;
    std::int32_t cropY = 0;
    std::int32_t cropWidth = 0;   ///< 0: srcWidth - cropX
    std::int32_t cropHeight = 0;  ///< 0: srcHeight - cropY

    // Deinterlacing: on when the source is interlaced and the output progressive
    bool dstProgressive = true;
    DeinterlaceType deinterlaceType = is16Bit ? DeinterlaceTypeTriangle : DeinterlaceTypeCAVT;
    /// Null: made for deinterlaceType. Must come from new or newAlloc(): the engine owns it once allocate() succeeded.
    DeinterlaceImgParams* deinterlaceParams = nullptr;

    // Destination: a canvas, and the rectangle in it that receives the scaled picture
    std::int32_t dstWidth = 0;   ///< 0: cropWidth; size of every output picture
    std::int32_t dstHeight = 0;  ///< 0: cropHeight
    std::int32_t dstCropX = 0;
    std::int32_t dstCropY = 0;
    std::int32_t dstCropWidth = 0;   ///< 0: dstWidth - dstCropX
    std::int32_t dstCropHeight = 0;  ///< 0: dstHeight - dstCropY
    std::uint8_t backgroundY = 0;    ///< colour of the canvas outside the rectangle; 16-bit formats take it times 256
    std::uint8_t backgroundU = 128;  ///< plane 1
    std::uint8_t backgroundV = 128;  ///< plane 2
    /// -1: super-sampling when both sides get smaller, else cubic. Completed to -1 when nothing is to be scaled.
    ResizeInterp resizeInterp = is16Bit ? ResizeInterpLanczos : ResizeInterpNone;

    // Temporal filter, 8-bit 4:2:0 only
    bool mctfEnable = false;
    MCTFFastParams mctfParams;  ///< width and height are derived

    // Frame rate: converted when numerator or denominator differ from the source's
    std::uint32_t dstFrameRateNum = 0;  ///< 0: srcFrameRateNum
    std::uint32_t dstFrameRateDen = 0;  ///< 0: srcFrameRateDen
    std::int32_t frameRateBlend = -1;   ///< < 0: blend when the rate goes up; 0: never; > 0: always

    bool copyUnprocessed = true;  ///< hand back a private copy, not the caller's picture, when no stage changed it
    bool keepUserData = false;    ///< carry each picture's user data through to the output

    /// Puts every field back to its default; deinterlaceParams is not freed.
    void init() { *this = ProcessVideoParams(); }
};

}  // namespace Orvel
