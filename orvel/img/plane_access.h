#pragma once
#include "orvel/img/img.h"
#include "orvel/primitives/plane_view.h"

namespace Orvel {

/// The samples of a plane as T: a row of width * bpp / sizeof(T) of them. Empty for a plane that does not exist, has no
/// memory or no samples.
template <class T>
primitives::PlaneView<T> planeView(const Img& img, int plane) noexcept {
    if (plane < 0 || plane >= img.numPlanes() || img.getPixels(plane) == nullptr) return {};
    const auto rowBytes = static_cast<std::size_t>(img.getWidth(plane)) * static_cast<std::size_t>(img.getBpp(plane));
    return {reinterpret_cast<T*>(img.getPixels(plane)), img.getStep(plane), static_cast<int>(rowBytes / sizeof(T)),
            img.getHeight(plane)};
}

/// True when the plane exists and holds one sample a pixel.
inline bool isSingleChannel(const Img& img, int plane) noexcept {
    int channels = 0;
    return img.getInterleavedChannels(plane, channels) && channels <= 1;
}

/// True when the plane exists and has pixels.
inline bool hasPixels(const Img& img, int plane) noexcept {
    return plane >= 0 && plane < img.numPlanes() && img.getWidth(plane) > 0 && img.getHeight(plane) > 0;
}

}  // namespace Orvel
