#pragma once
#include <cstdint>

#include "orvel/img/format_info.h"
#include "orvel/img/img.h"
#include "orvel/img/plane_access.h"

namespace Orvel {

/// Smallest picture that SpitWatermark and Watermark mark.
inline constexpr int smallestMarkedWidth = 64, smallestMarkedHeight = 32;

/// The picture as T, one of the 8-bit formats, if it is one, large enough and with all planes of its format; else null.
template <class T>
T* markable(Img& img) noexcept {
    auto* const typed = dynamic_cast<T*>(&img);
    const FormatInfo* const format = findFormat(T::getClassFormat());
    if (typed == nullptr || img.getFormat() != T::getClassFormat() || img.numPlanes() < format->planes) return nullptr;
    const int width = img.getWidth(0), height = img.getHeight(0);
    if (width < smallestMarkedWidth || height < smallestMarkedHeight) return nullptr;
    for (int plane = 0; plane < format->planes; ++plane) {
        const bool luma = plane == 0;
        const int rows = luma || !format->halfHeightChroma ? height : height / 2;
        if (!planeView<std::uint8_t>(img, plane).valid() || img.getBpp(plane) != T::getClassBpp() ||
            img.getWidth(plane) < (luma ? width : width / 2) || img.getHeight(plane) < rows)
            return nullptr;
    }
    return typed;
}

}  // namespace Orvel
