#pragma once
#include <cstdint>
#include <new>

#include "orvel/framerate/frame_rate_convert.h"
#include "orvel/img/img.h"

namespace Orvel::test {

/// One plane of so many bytes, all of one value.
struct Frame : Img {
    explicit Frame(int value = 0, int width = 1, int height = 1) {
        if (!allocate(width, height, 1) || !set(value)) throw std::bad_alloc();
    }
    int value() const { return *getPixels(0); }
};

inline FrameRateConvertParams rates(std::int32_t srcNum, std::int32_t srcDen, std::int32_t dstNum, std::int32_t dstDen,
                                    bool blend = true, bool keepUserData = false) {
    return {srcNum, srcDen, dstNum, dstDen, blend, keepUserData};
}

}  // namespace Orvel::test
