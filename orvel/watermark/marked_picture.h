#pragma once
#include "orvel/img/img.h"

namespace Orvel {

/// Smallest picture that SpitWatermark and Watermark mark, and what its chroma planes must at least have. Views of
/// regions may have less chroma than half their luma.
inline constexpr int smallestMarkedWidth = 64, smallestMarkedHeight = 32;
inline constexpr int smallestMarkedChromaWidth = 16, smallestMarkedChromaHeight = 8;

/// The picture as T, one of the 8-bit formats, if it is one, large enough and with the first planes, of which a mark
/// needs so many; else null.
template <class T>
T* markable(Img& img, int planes) noexcept {
    auto* const typed = dynamic_cast<T*>(&img);
    if (typed == nullptr || img.getFormat() != T::getClassFormat() || img.numPlanes() < planes) return nullptr;
    for (int plane = 0; plane < planes; ++plane) {
        const int width = plane == 0 ? smallestMarkedWidth : smallestMarkedChromaWidth;
        const int height = plane == 0 ? smallestMarkedHeight : smallestMarkedChromaHeight;
        if (img.getPixels(plane) == nullptr || img.getBpp(plane) != T::getClassBpp() || img.getWidth(plane) < width ||
            img.getHeight(plane) < height)
            return nullptr;
    }
    return typed;
}

}  // namespace Orvel
