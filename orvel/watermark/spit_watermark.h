#pragma once
#include <cstdint>

#include "orvel/sys/api.h"

namespace Orvel {

class I420Img;
class Img;
class UYVYImg;

/// Carries a 32-bit value through a picture as 8 x 4 blocks of black and white chroma: a blunt, robust mark for test
/// pictures, which lose their colour to it. Bit b, lowest first, fills block column b mod 8 of block row b / 8 with 255
/// (one) or 0. Blocks are floor(W / 8) x floor(H / 4) samples; what is left of the plane at the right and below is not
/// touched.
///
/// I420Img: the blocks lie in plane 1, whose rows are taken to lie W bytes apart, by design: in a plane with a longer
/// step (W no multiple of 4, or a view of a field or region) the blocks lean, and the bytes between the rows, padding
/// or another field's, are written and read like samples. Nothing outside the plane's first to last byte is.
/// UYVYImg: they lie in the first byte of every other pixel, counted from the block's first column; luma is kept.
class ORVEL_API SpitWatermark {
public:
    /// @return false, with nothing written, for a picture below 64 x 32 or one that is no I420Img or UYVYImg with that
    /// format's code, or lacks the plane of the blocks.
    [[nodiscard]] static bool write(Img& img, unsigned int value);
    /// A block with a mean of at most 100 reads as 0, of at least 125 as 1.
    /// @return false, with value 0, when the picture is refused as by write() or the mean of a block lies between.
    [[nodiscard]] static bool read(Img& img, unsigned int& value);

private:
    static constexpr std::int32_t DEFAULT_H_REGION = 8;
    static constexpr std::int32_t DEFAULT_V_REGION = 4;
    static constexpr std::int32_t MAX_BIT_EMBEDDED = 32;
    static constexpr std::int32_t ZERO_REGION_MIN = 0;
    static constexpr std::int32_t ZERO_REGION_MAX = 100;
    static constexpr std::int32_t ONE_REGION_MIN = 125;
    static constexpr std::int32_t ONE_REGION_MAX = 256;

    struct Block {
        int x, y, width, height;
    };
    static Block blockOf(int bit, int planeWidth, int planeHeight) noexcept;

    static void _writeI420(I420Img& img, unsigned int value);
    static void _writeUYVY(UYVYImg& img, unsigned int value);
    static bool _readI420(I420Img& img, unsigned int& value);
    static bool _readUYVY(UYVYImg& img, unsigned int& value);
    static bool _getBitFromBlock(unsigned char& bit, unsigned char* start, int width, int height, int pitch);
    static void _setBlock(unsigned int value, unsigned char* start, int width, int height, int pitch);
    static bool bitOfMean(unsigned char& bit, double mean) noexcept;
};

}  // namespace Orvel
