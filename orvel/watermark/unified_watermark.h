#pragma once
#include <cstdint>

#include "orvel/img/types.h"
#include "orvel/sys/api.h"
#include "orvel/watermark/time_code_value.h"

namespace Orvel {

class BGRImg;
class I420Img;
class YV16Img;

/// Carries a time code through a picture as a grid of flat blocks in both chroma planes. The reader looks for the grid
/// from the edges of the picture, so that it survives scaling, shifts and levels that are up to 24 off; docs/quality.md
/// tells what it does not survive. Luma is neither read nor written, and plane 1 alone is read. T is I420Img or
/// YV16Img.
///
/// The grid has 7 x 6 cells between the first and the seventh eighth of the width and the first and the sixth of the
/// height. The first and the last cell are keys; the forty between them, row by row, are the bit form of
/// TimeCodeValue:
///
/// | cell       | level                                                      |
/// |------------|------------------------------------------------------------|
/// | bit 1      | 239                                                        |
/// | bit 0      | 17                                                         |
/// | key        | 128, and 17 in the top left quarter (half of each side)    |
///
/// Only whole pictures of the progressive kind are meant; UnifiedWatermarkInterlace stamps fields. The time code must
/// fit the bit form. Everything runs on the calling thread; one thread at a time may use a watermark. Pictures may be
/// views.
template <class T>
class ORVEL_API UnifiedWatermark {
public:
    static constexpr int smallestSide = 96;  ///< chroma samples or rows

    UnifiedWatermark() = default;

    /// Writes the grid for tc.
    /// @param size  if not null, receives the largest readable image that fits below the grid, see encodeReadable().
    /// @return false, with nothing written, when chroma is below 96 x 96 or not two 8-bit planes of one size.
    [[nodiscard]] bool encode(T& img, TimeCodeValue tc, tagSIZE* size);
    /// Pastes a picture for people to read below the grid that this object last wrote or found, left edges aligned:
    /// the first byte (blue) of each of its pixels becomes a sample of plane 2. renderReadable() makes one.
    /// @return true; but false, with nothing written, when there is no such grid, the image does not end inside the
    /// plane, or its pixels are not four bytes.
    bool encodeReadable(T& img, BGRImg& readable);
    /// Finds a grid and reads it. What the bits hold is not checked: once both keys are found, damaged cells give a
    /// wrong time code without a report; see bits().
    /// @return false, with tc unchanged, when chroma plane 1 is below 96 x 96 or no grid is found.
    [[nodiscard]] bool decode(T& img, TimeCodeValue& tc);
    /// The bit form that decode() read last, as numbers: findTimeCodeBitsFault() tells what is wrong with it. All 0
    /// after a decode() that failed; what encode() wrote stands as characters.
    const TimeCodeBits& bits() const noexcept { return bits_; }

private:
    /// The grid written or found last, in samples of chroma plane 1.
    struct Grid {
        std::int32_t width = 0;  ///< 0: no grid yet
        std::int32_t height = 0;
        std::int32_t left = 0;
        std::int32_t top = 0;
        std::int32_t right = 0;   ///< last column
        std::int32_t bottom = 0;  ///< last row
        std::int32_t cellWidth = 0;
        std::int32_t cellHeight = 0;
    };

    static Grid gridBetween(int left, int top, int right, int bottom) noexcept;
    static Grid gridFor(int planeWidth, int planeHeight) noexcept;
    tagPOINT cellOf(int bit) const noexcept;
    bool fill(T& img, tagPOINT at, tagSIZE size, int level);

    bool encodeKeyPattern(T& img, tagPOINT at);
    bool encodeWatermarkBits(T& img, TimeCodeValue tc);
    bool encodeWatermarkBit(T& img, tagPOINT at, char bit);
    bool decodeKeyPattern(T& img);
    int findWatermarkBorder(T& img, tagPOINT from) const;
    bool validateKeyPattern(T& img, tagPOINT at) const;
    bool decodeWatermarkBits(T& img);
    bool decodeWatermarkBit(T& img, const tagPOINT& at, char& bit) const;

    Grid grid_;
    TimeCodeBits bits_{};
};

extern template class UnifiedWatermark<I420Img>;
extern template class UnifiedWatermark<YV16Img>;

}  // namespace Orvel
