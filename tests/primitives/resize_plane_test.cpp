#include "orvel/primitives/resize_plane.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/primitives/resize_oracle.h"
#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using test::GuardedPlane;

class ResizePlaneTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(ResizePlaneTest);

ResizeMethod methodOf(std::uint32_t code) {
    ResizeMethod method;
    EXPECT_EQ(squarePixelMethod(static_cast<std::int32_t>(code), method), Status::ok) << code;
    return method;
}

std::vector<ResizeMethod> allMethods() {
    std::vector<ResizeMethod> methods{lanczosFilter, hannFilter};
    for (std::uint32_t code : {1u, 2u, 4u, 5u, 6u, 7u, 8u, 16u}) methods.push_back(methodOf(code));
    for (std::uint32_t code : {2u, 4u, 5u, 7u}) methods.push_back(methodOf(code | resizeAntialiasing));
    return methods;
}

struct Sizes {
    int srcWidth, srcHeight, dstWidth, dstHeight;
    bool reduces() const { return dstWidth <= srcWidth && dstHeight <= srcHeight; }
};

std::string describe(ResizeMethod method, const Sizes& s) {
    std::ostringstream text;
    text << "kernel " << int(method.kernel) << (method.antialias ? " widened " : " ") << s.srcWidth << " x "
         << s.srcHeight << " to " << s.dstWidth << " x " << s.dstHeight;
    return text.str();
}

/// Half of the planes are full of extreme samples, where overshoot is largest.
template <class Sample>
void fillRandom(GuardedPlane<Sample>& plane, std::mt19937& rng) {
    plane.fillRandom(rng);
    if (rng() % 2 == 0) return;
    for (int y = 0; y < plane.height(); ++y)
        for (int x = 0; x < plane.width(); ++x) plane.at(x, y) = rng() % 2 ? Sample(~Sample(0)) : Sample(0);
}

template <class Sample>
void compareWithOracle(ResizeMethod method, const Sizes& s, std::mt19937& rng) {
    constexpr int bytes = sizeof(Sample);
    GuardedPlane<Sample> src(s.srcWidth, s.srcHeight, int(rng() % 6), 64 + bytes * int(rng() % 7));
    GuardedPlane<Sample> dst(s.dstWidth, s.dstHeight, int(rng() % 6), 64 + bytes * int(rng() % 7)), expected = dst;
    fillRandom(src, rng);
    test::oracleResize(method, src, expected);
    ResizePlan plan;
    ASSERT_EQ(plan.build(method, s.srcWidth, s.srcHeight, s.dstWidth, s.dstHeight), Status::ok) << describe(method, s);
    ASSERT_EQ(resizePlane(plan, PlaneView<const Sample>(src.view()), dst.view()), Status::ok) << describe(method, s);
    for (int y = 0; y < s.dstHeight; ++y)
        for (int x = 0; x < s.dstWidth; ++x)
            ASSERT_EQ(dst.at(x, y), expected.at(x, y))
                << describe(method, s) << ", bytes " << bytes << " at " << x << ", " << y;
    ASSERT_TRUE(dst.guardsIntact()) << describe(method, s);
    // Bottom-up source and destination, in two bands.
    for (int y = 0; y < s.srcHeight / 2; ++y)
        std::swap_ranges(src.view().row(y), src.view().row(y) + s.srcWidth, src.view().row(s.srcHeight - 1 - y));
    dst.fill(77);
    const int cut = s.dstHeight / 2;
    const PlaneView<const Sample> bottomUp = src.flipped();
    ASSERT_EQ(resizeRows(plan, bottomUp, dst.flipped(), cut, s.dstHeight), Status::ok);
    for (int y = 0; y < cut; ++y) ASSERT_EQ(dst.flipped().row(y)[0], 77);
    if (cut > 0) {
        ASSERT_EQ(resizeRows(plan, bottomUp, dst.flipped(), 0, cut), Status::ok);
    }
    for (int y = 0; y < s.dstHeight; ++y)
        for (int x = 0; x < s.dstWidth; ++x)
            ASSERT_EQ(dst.flipped().row(y)[x], expected.at(x, y))
                << describe(method, s) << " bottom-up at " << x << ", " << y;
}

void compareBothDepths(ResizeMethod method, const Sizes& s, std::mt19937& rng) {
    if (method.kernel == ResizeKernel::area && !s.reduces()) return;
    compareWithOracle<std::uint8_t>(method, s, rng);
    compareWithOracle<std::uint16_t>(method, s, rng);
}

TEST_P(ResizePlaneTest, SmallPlanesOfAllSizesEqualTheFormulas) {
    std::mt19937 rng(11);
    for (const ResizeMethod& method : allMethods()) {
        for (int i = 0; i < 60; ++i) {
            const auto side = [&] { return 1 + int(rng() % 65); };
            Sizes s{side(), side(), side(), side()};
            if (method.kernel == ResizeKernel::area)
                s.dstWidth = 1 + s.dstWidth % s.srcWidth, s.dstHeight = 1 + s.dstHeight % s.srcHeight;
            if (i % 5 == 3) s.dstWidth = s.srcWidth;
            if (i % 5 == 4) s.dstHeight = s.srcHeight;
            if (i % 15 == 4) s.dstWidth = s.srcWidth;  // both
            compareBothDepths(method, s, rng);
            if (HasFatalFailure()) return;
        }
    }
}

TEST_P(ResizePlaneTest, VideoWidthsEqualTheFormulas) {
    std::mt19937 rng(12);
    for (const ResizeMethod& method : allMethods())
        for (const Sizes& s : {Sizes{1920, 9, 1280, 6},
                               {1920, 9, 854, 4},
                               {1280, 6, 1920, 9},
                               {720, 5, 1920, 11},
                               {1920, 8, 960, 4},
                               {90, 1080, 60, 720},
                               {66, 288, 33, 144},
                               {1920, 4, 480, 1},
                               {1918, 6, 640, 2},
                               {1920, 5, 300, 5},
                               {640, 12, 128, 2},
                               {701, 90, 263, 37}}) {
            compareBothDepths(method, s, rng);
            if (HasFatalFailure()) return;
        }
}

// Rows that take more than one tile of intermediate samples, lists far apart, and lists longer than a strip or a tile.
TEST_P(ResizePlaneTest, VeryWidePlanesEqualTheFormulas) {
    std::mt19937 rng(13);
    for (const ResizeMethod& method : allMethods())
        for (const Sizes& s : {Sizes{9001, 3, 6007, 2},
                               {5000, 2, 7000, 3},
                               {1920, 5, 60, 2},
                               {3000, 3, 20, 2},
                               {12000, 2, 16, 1},
                               {9999, 2, 2, 2}}) {
            compareBothDepths(method, s, rng);
            if (HasFatalFailure()) return;
        }
}

// Columns of more source rows than any list of row pointers holds at once.
TEST_P(ResizePlaneTest, StrongVerticalReductionsEqualTheFormulas) {
    std::mt19937 rng(14);
    for (const ResizeMethod& method : allMethods())
        for (const Sizes& s : {Sizes{66, 64, 40, 1}, {66, 66, 66, 1}, {353, 289, 352, 3}, {70, 1200, 33, 2}}) {
            compareBothDepths(method, s, rng);
            if (HasFatalFailure()) return;
        }
}

// ---- worked examples

template <class Sample>
std::vector<int> resized(ResizeMethod method, int width, int height, const std::vector<int>& samples, int dstWidth,
                         int dstHeight) {
    std::vector<Sample> src(samples.begin(), samples.end()), dst(std::size_t(dstWidth * dstHeight));
    ResizePlan plan;
    EXPECT_EQ(plan.build(method, width, height, dstWidth, dstHeight), Status::ok);
    constexpr std::ptrdiff_t bytes = sizeof(Sample);
    EXPECT_EQ(resizePlane(plan, PlaneView<const Sample>{src.data(), width * bytes, width, height},
                          PlaneView<Sample>{dst.data(), dstWidth * bytes, dstWidth, dstHeight}),
              Status::ok);
    return {dst.begin(), dst.end()};
}

TEST_P(ResizePlaneTest, WorkedRowsOfEveryCode) {
    struct Case {
        std::uint32_t code;
        std::vector<int> to8, to7;
    };
    for (const Case& c : {Case{1, {10, 10, 50, 50, 200, 200, 90, 90}, {10, 10, 50, 200, 200, 90, 90}},
                          {2, {10, 20, 40, 88, 163, 173, 118, 90}, {10, 24, 47, 125, 192, 129, 90}},
                          {4, {8, 14, 32, 92, 172, 182, 122, 84}, {8, 16, 44, 134, 196, 136, 84}},
                          {5, {13, 23, 48, 95, 144, 155, 125, 98}, {13, 27, 62, 122, 157, 132, 99}},
                          {6, {7, 15, 31, 86, 178, 188, 116, 82}, {7, 17, 44, 134, 200, 132, 83}},
                          {7, {10, 19, 38, 91, 162, 172, 121, 89}, {10, 21, 52, 129, 179, 133, 90}},
                          {16, {10, 9, 23, 92, 182, 191, 122, 74}, {10, 9, 41, 142, 200, 139, 75}}}) {
        EXPECT_EQ(resized<std::uint8_t>(methodOf(c.code), 4, 1, {10, 50, 200, 90}, 8, 1), c.to8) << "code " << c.code;
        EXPECT_EQ(resized<std::uint8_t>(methodOf(c.code), 4, 1, {10, 50, 200, 90}, 7, 1), c.to7) << "code " << c.code;
    }
    const std::vector<int> eight{10, 50, 200, 90, 30, 60, 61, 255};
    EXPECT_EQ(resized<std::uint8_t>(lanczosFilter, 8, 1, eight, 4, 1), (std::vector{49, 138, 25, 161}));
    EXPECT_EQ(resized<std::uint8_t>(hannFilter, 8, 1, eight, 4, 1), (std::vector{48, 136, 28, 160}));
    EXPECT_EQ(resized<std::uint8_t>(methodOf(16), 8, 1, eight, 4, 1), (std::vector{11, 168, 46, 157}));
}

TEST_P(ResizePlaneTest, WorkedPlanes) {
    std::vector<int> ramp6, ramp3, ramp3Wide;
    for (int i = 0; i < 36; ++i) ramp6.push_back(7 * i);
    for (int i = 0; i < 9; ++i) ramp3.push_back(28 * i), ramp3Wide.push_back(7000 * i);
    EXPECT_EQ(resized<std::uint8_t>(superSampling, 5, 1, {10, 50, 200, 90, 30}, 3, 1), (std::vector{26, 148, 54}));
    EXPECT_EQ(resized<std::uint8_t>(superSampling, 2, 2, {10, 50, 20, 41}, 1, 1), (std::vector{30}));
    EXPECT_EQ(resized<std::uint8_t>(superSampling, 6, 6, ramp6, 4, 4),
              (std::vector{16, 26, 37, 47, 72, 82, 93, 103, 142, 152, 163, 173, 198, 208, 219, 229}));
    EXPECT_EQ(resized<std::uint8_t>(methodOf(4), 3, 3, ramp3, 5, 4),
              (std::vector{0, 7, 25, 44, 54, 47, 57, 76, 95, 105, 119, 129, 148, 167, 177, 170, 180, 199, 217, 228}));
    EXPECT_EQ(resized<std::uint16_t>(methodOf(4), 3, 3, ramp3Wide, 5, 4),
              (std::vector{0,     1634,  6282,  10930, 13618, 11662, 14350, 18998, 23646, 26334,
                           29666, 32354, 37002, 41650, 44338, 42382, 45070, 49718, 54366, 57054}));
    EXPECT_EQ(resized<std::uint16_t>(methodOf(16), 4, 1, {2560, 12800, 51200, 23040}, 8, 1),
              (std::vector{2659, 2179, 5835, 23643, 46648, 48931, 31216, 18978}));
}

// Memory that ends with the last row, of an odd number of rows: nothing behind it is read.
TEST_P(ResizePlaneTest, FlatPlanesStayFlat) {
    for (const ResizeMethod& method : allMethods()) {
        EXPECT_EQ(resized<std::uint8_t>(method, 45, 45, std::vector(45 * 45, 77), 20, 21), std::vector(20 * 21, 77));
        EXPECT_EQ(resized<std::uint16_t>(method, 45, 45, std::vector(45 * 45, 7700), 20, 21),
                  std::vector(20 * 21, 7700));
    }
}

TEST(ResizePlane, RefusesWhatDoesNotFitThePlanInTheFixedOrder) {
    GuardedPlane<std::uint8_t> src(8, 6), dst(4, 3);
    const ConstViewU8 from = src.view();
    ResizePlan plan;
    EXPECT_EQ(resizePlane(plan, from, {}), Status::nullPointer);
    EXPECT_EQ(resizePlane(plan, {from.base, 8, 8, 0}, dst.view()), Status::badSize);
    EXPECT_EQ(resizePlane(plan, from, dst.view()), Status::badArgument);
    EXPECT_EQ(plan.build(superSampling, 8, 6, 9, 3), Status::badScale);
    EXPECT_EQ(plan.build(superSampling, 8, 6, 0, 7), Status::badSize);
    EXPECT_FALSE(plan.built());
    ASSERT_EQ(plan.build(superSampling, 8, 6, 4, 3), Status::ok);
    EXPECT_EQ(resizePlane(plan, from.topLeft(7, 6), dst.view()), Status::badSize);
    EXPECT_EQ(resizePlane(plan, from, dst.view().topLeft(4, 2)), Status::badSize);
    EXPECT_EQ(resizeRows(plan, from, dst.view(), 1, 4), Status::badSize);
    EXPECT_EQ(resizeRows(plan, from, dst.view(), 2, 2), Status::badSize);
    EXPECT_TRUE(dst.guardsIntact());
    EXPECT_EQ(resizePlane(plan, from, dst.view()), Status::ok);
}

}  // namespace
}  // namespace Orvel::primitives
