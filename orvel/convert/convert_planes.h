#pragma once
#include "orvel/img/img.h"
#include "orvel/img/plane_access.h"
#include "orvel/primitives/plane_view.h"

namespace Orvel::convert {

using primitives::ConstViewU8;
using primitives::PlaneView;
using primitives::ViewU8;

/// The rows [first, last) of the top left columns of a plane; empty, which every primitive refuses, where the plane has
/// fewer.
template <class T>
PlaneView<T> part(const Img& img, int plane, int columns, int first, int last) {
    return planeView<T>(img, plane).topLeft(columns, last).band(first, last);
}

/// The three planes of a band of a planar picture, in the order Y, Cb, Cr.
template <class T>
struct PlanarBand {
    PlaneView<T> y, cb, cr;
};

/// Which planes hold Cb and Cr.
struct ChromaOrder {
    int cb, cr;
};
inline constexpr ChromaOrder i420Chroma{1, 2}, yv16Chroma{2, 1}, hy16Chroma{1, 2};

/// Luma rows [first, last) of the top left W columns with their chroma: as many rows (4:2:2) or half as many (4:2:0).
template <class T>
PlanarBand<T> planarBand(const Img& img, ChromaOrder order, int rowsPerChromaRow, int width, int first, int last) {
    const int chromaFirst = first / rowsPerChromaRow, chromaLast = last / rowsPerChromaRow;
    return {part<T>(img, 0, width, first, last), part<T>(img, order.cb, width / 2, chromaFirst, chromaLast),
            part<T>(img, order.cr, width / 2, chromaFirst, chromaLast)};
}

/// The precondition of every conversion.
inline bool fitsInto(const Img& src, const Img& dst) {
    return src.getWidth(0) <= dst.getWidth(0) && src.getHeight(0) <= dst.getHeight(0);
}

}  // namespace Orvel::convert
