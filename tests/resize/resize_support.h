#pragma once
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "orvel/img/i420_img.h"
#include "orvel/img/img.h"
#include "orvel/img/plane_access.h"
#include "orvel/primitives/resize_plane.h"
#include "orvel/resize/resize_types.h"
#include "tests/support/pictures.h"

namespace Orvel::test {

inline void fill(Img& img, int value) {
    ASSERT_TRUE(img.set(value));
}

/// What the primitive makes of a plane, for a destination of dst's size.
template <class Sample>
std::vector<std::uint8_t> expectedBytes(primitives::ResizeMethod method, const Img& src, const Img& dst, int plane) {
    const auto from = planeView<const Sample>(src, plane);
    const auto to = planeView<const Sample>(dst, plane);
    std::vector<Sample> samples(std::size_t(to.width) * std::size_t(to.height));
    primitives::ResizePlan plan;
    EXPECT_EQ(plan.build(method, from.width, from.height, to.width, to.height), primitives::Status::ok);
    const primitives::PlaneView<Sample> out{samples.data(), std::ptrdiff_t(sizeof(Sample)) * to.width, to.width,
                                            to.height};
    EXPECT_EQ(primitives::resizePlane(plan, from, out), primitives::Status::ok);
    std::vector<std::uint8_t> bytes(samples.size() * sizeof(Sample));
    std::memcpy(bytes.data(), samples.data(), bytes.size());
    return bytes;
}

inline primitives::ResizeMethod squarePixel(std::int32_t code) {
    primitives::ResizeMethod method;
    EXPECT_EQ(primitives::squarePixelMethod(code, method), primitives::Status::ok);
    return method;
}

/// A planar picture of one-channel planes with these bytes per pixel.
inline void makePlanes(Img& img, const std::vector<tagSIZE>& sizes, int bpp) {
    for (std::size_t p = 0; p < sizes.size(); ++p)
        ASSERT_TRUE(img.allocatePlane(int(p), sizes[p].cx, sizes[p].cy, 16, bpp));
    fillRandom(img);
}

}  // namespace Orvel::test
