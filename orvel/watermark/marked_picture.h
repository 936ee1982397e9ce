#pragma once
#include <cstdint>

#include "orvel/img/format_info.h"
#include "orvel/img/img.h"
#include "orvel/img/plane_access.h"

namespace Orvel {

/// Smallest picture that SpitWatermark and Watermark mark, and what its chroma planes must at least have. Views of
/// regions may have less chroma than half their luma.
inline constexpr int smallestMarkedWidth = 64, smallestMarkedHeight = 32;
inline constexpr int smallestMarkedChromaWidth = 16, smallestMarkedChromaHeight = 8;

/// The picture as T, one of the 8-bit formats, if it is one, large enough and with all planes of its format; else null.
template <class T>
T* markable(Img& img) noexcept {
    auto* const typed = dynamic_cast<T*>(&img);
    const FormatInfo* const format = findFormat(T::getClassFormat());
    if (typed == nullptr || img.getFormat() != T::getClassFormat() || img.numPlanes() < format->planes) return nullptr;
    for (int plane = 0; plane < format->planes; ++plane) {
        const int width = plane == 0 ? smallestMarkedWidth : smallestMarkedChromaWidth;
        const int height = plane == 0 ? smallestMarkedHeight : smallestMarkedChromaHeight;
        if (img.getPixels(plane) == nullptr || img.getBpp(plane) != T::getClassBpp() || img.getWidth(plane) < width ||
            img.getHeight(plane) < height)
            return nullptr;
    }
    return typed;
}

}  // namespace Orvel
