#include "orvel/primitives/resize_taps.h"

#include <gtest/gtest.h>

#include "tests/primitives/resize_oracle.h"

namespace Orvel::primitives {
namespace {

ResizeMethod methodOf(std::uint32_t code) {
    ResizeMethod method;
    EXPECT_EQ(squarePixelMethod(static_cast<std::int32_t>(code), method), Status::ok) << code;
    return method;
}

void expectTaps(ResizeMethod method, int n, int m, int x, int first, const std::vector<std::int16_t>& taps) {
    const TapList list = makeTaps(method, n, m, x);
    EXPECT_EQ(list.first, first);
    EXPECT_EQ(list.taps, taps) << n << " to " << m << ", sample " << x;
}

TEST(ResizeTaps, ListsAreTheWorkedOnes) {
    expectTaps(methodOf(2), 4, 8, 0, -1, {4096, 12288});
    expectTaps(methodOf(2), 4, 8, 1, 0, {12288, 4096});
    expectTaps(methodOf(4), 4, 8, 0, -2, {-640, 4480, 13440, -896});
    expectTaps(methodOf(4), 4, 8, 1, -1, {-896, 13440, 4480, -640});
    expectTaps(methodOf(6), 4, 8, 0, -2, {-384, 3712, 14208, -1152});
    expectTaps(methodOf(16), 4, 8, 0, -3, {121, -1114, 4440, 14628, -2184, 493});
    expectTaps(methodOf(16), 4, 8, 1, -2, {493, -2184, 14628, 4440, -1114, 121});
    expectTaps(methodOf(16), 8, 4, 1, 0, {401, -2226, 10017, 10017, -2226, 401});
    expectTaps(superSampling, 5, 3, 0, 0, {9830, 6554});
    expectTaps(superSampling, 5, 3, 1, 1, {3277, 9830, 3277});
    expectTaps(superSampling, 5, 3, 2, 3, {6554, 9830});
    expectTaps(superSampling, 7, 2, 0, 0, {4681, 4681, 4681, 2341});
    expectTaps(superSampling, 7, 2, 1, 3, {2341, 4681, 4681, 4681});
    expectTaps(hannFilter, 8, 4, 1, -3, {11, 120, -392, -932, 2106, 7280, 7278, 2106, -932, -392, 120, 11});
    for (int x = 0; x < 6; ++x)
        expectTaps(methodOf(1), 4, 6, x, std::vector{0, 1, 1, 2, 3, 3}[std::size_t(x)], {16384});
}

TEST(ResizeTaps, TablesHoldTheListsWithTheBorderFoldedIn) {
    const std::uint32_t codes[] = {1, 2, 4, 5, 6, 7, 8, 16};
    std::vector<ResizeMethod> methods{lanczosFilter, hannFilter};
    for (std::uint32_t code : codes) {
        methods.push_back(methodOf(code));
        methods.push_back(methodOf(code | resizeAntialiasing));
    }
    const std::pair<int, int> sizes[] = {{1, 1},  {1, 9},     {9, 1},      {2, 3},      {3, 2},
                                         {4, 8},  {8, 4},     {65, 64},    {64, 65},    {7, 61},
                                         {61, 7}, {720, 576}, {1080, 720}, {720, 1080}, {1920, 854}};
    for (const ResizeMethod& method : methods)
        for (const auto& [n, m] : sizes) {
            if (method.kernel == ResizeKernel::area && m > n) continue;
            const TapTable table(method, n, m);
            ASSERT_LE(table.length(), n);
            for (int x = 0; x < m; ++x) {
                std::vector<std::int64_t> expected(std::size_t(n), 0), held(std::size_t(n), 0);
                const test::OracleTaps list = test::oracleTaps(method, n, m, x);
                for (std::size_t k = 0; k < list.taps.size(); ++k)
                    expected[std::size_t(std::clamp<std::int64_t>(list.first + std::int64_t(k), 0, n - 1))] +=
                        list.taps[k];
                ASSERT_GE(table.first(x), 0);
                ASSERT_LE(table.first(x) + table.length(), n);
                for (int k = 0; k < table.length(); ++k) held[std::size_t(table.first(x) + k)] = table.taps(x)[k];
                ASSERT_EQ(held, expected) << "kernel " << int(method.kernel) << " widened " << method.antialias << ", "
                                          << n << " to " << m << ", sample " << x;
            }
        }
}

TEST(ResizeTaps, OnlyInterpolatingKernelsAreTheIdentityAtEqualSizes) {
    for (std::uint32_t code : {1u, 2u, 4u, 6u, 8u, 16u}) EXPECT_TRUE(TapTable(methodOf(code), 9, 9).identity()) << code;
    for (std::uint32_t code : {5u, 7u}) EXPECT_FALSE(TapTable(methodOf(code), 1, 1).identity()) << code;
    EXPECT_TRUE(TapTable(hannFilter, 9, 9).identity());
    EXPECT_FALSE(TapTable(methodOf(1), 1, 2).identity());
}

TEST(ResizeTaps, CodesAndFlags) {
    EXPECT_EQ(methodOf(4 | resizeAntialiasing), (ResizeMethod{ResizeKernel::cubic, true}));
    EXPECT_EQ(methodOf(4 | resizeSubpixelEdge | resizeSmoothEdge), (ResizeMethod{ResizeKernel::cubic, false}));
    EXPECT_EQ(methodOf(8 | resizeAntialiasing), superSampling);
    EXPECT_EQ(methodOf(1 | resizeAntialiasing), (ResizeMethod{ResizeKernel::nearest, false}));
    ResizeMethod method = hannFilter;
    for (std::int32_t code : {0, -1, 3, 9, 10, 32, 64, 4 | 32, 4 | 1 << 28})
        EXPECT_EQ(squarePixelMethod(code, method), Status::badInterpolation) << code;
    EXPECT_EQ(method, hannFilter);
}

TEST(ResizeTaps, WorkMemoryFollowsTheSizesAndTheMethod) {
    struct Case {
        ResizeMethod method;
        int srcWidth, srcHeight, dstWidth, dstHeight;
        std::int64_t bytes;
    };
    for (const Case& c : {Case{methodOf(1), 10, 10, 10, 10, 256},
                          {methodOf(2), 1920, 1080, 1280, 720, 19968},
                          {methodOf(4), 1920, 1080, 1280, 720, 27968},
                          {methodOf(16), 720, 576, 1920, 1080, 49536},
                          {superSampling, 1920, 1080, 1280, 720, 24000},
                          {lanczosFilter, 8, 4, 4, 8, 448},
                          {methodOf(4 | resizeAntialiasing), 9, 9, 4, 4, 384}}) {
        std::int64_t bytes = 0;
        ASSERT_EQ(resizeWorkBytes(c.method, c.srcWidth, c.srcHeight, c.dstWidth, c.dstHeight, bytes), Status::ok);
        EXPECT_EQ(bytes, c.bytes) << c.srcWidth << " to " << c.dstWidth;
    }
    std::int64_t bytes = 5;
    EXPECT_EQ(resizeWorkBytes(methodOf(4), 0, 1, 1, 1, bytes), Status::badSize);
    EXPECT_EQ(resizeWorkBytes(superSampling, 4, 0, 5, 1, bytes), Status::badSize);
    EXPECT_EQ(resizeWorkBytes(superSampling, 4, 4, 4, 5, bytes), Status::badScale);
    EXPECT_EQ(bytes, 5);
}

}  // namespace
}  // namespace Orvel::primitives
