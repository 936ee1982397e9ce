#include "orvel/primitives/deinterlace_triangle.h"

#include <gtest/gtest.h>

#include "tests/primitives/deinterlace_content.h"
#include "tests/support/every_target.h"

namespace Orvel::primitives {
namespace {

using test::Content;
using test::GuardedPlane;

class DeinterlaceTriangleTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(DeinterlaceTriangleTest);

/// Sample x, y of the plane whose rows -1 and height are there as well.
std::uint64_t filtered(ConstViewU8 s, std::uint64_t weight, int layout, int x, int y) {
    if (y == 0 && (layout & 1) != 0) return (weight * s.row(0)[x] + (256 - weight) * s.row(1)[x]) >> 8;
    if (y == s.height - 1 && (layout & 16) != 0) return (weight * s.row(y)[x] + (256 - weight) * s.row(y - 1)[x]) >> 8;
    const std::uint64_t sides = std::uint64_t(s.row(y - 1)[x]) + s.row(y + 1)[x];
    return (2 * weight * s.row(y)[x] + (256 - weight) * sides) >> 9;
}
std::uint64_t filtered(ConstViewU16 s, std::uint64_t weight, int layout, int x, int y) {
    const std::uint64_t rest = 65536 - weight;
    if (y == 0 && (layout & 1) != 0) return (weight * s.row(0)[x] + rest * s.row(1)[x]) >> 16;
    if (y == s.height - 1 && (layout & 16) != 0) return (weight * s.row(y)[x] + rest * s.row(y - 1)[x]) >> 16;
    const std::uint64_t sides = std::uint64_t(s.row(y - 1)[x]) + s.row(y + 1)[x];
    return (sides * (rest >> 1) + weight * s.row(y)[x]) >> 16;
}

constexpr int layouts[] = {21, 1, 4, 16, 17, 5, 20, 21 | 64};

/// Compares with the formula for one size; the source has a row before and one after the filtered ones.
template <class T>
void compare(int width, int height, std::uint32_t weight, int layout, Content content, std::mt19937& rng) {
    GuardedPlane<T> src(width, height + 2, 3), dst(width, height, 5, 32 * int(sizeof(T)) + 2);
    fillWith(src, content, rng);
    const PlaneView<const T> view{src.view().row(1), src.view().step, width, height};
    // Two bands, the later rows first.
    const int split = height / 2;
    ASSERT_EQ(deinterlaceTriangleRows(view, dst.view(), weight, layout, split, height), Status::ok);
    ASSERT_EQ(deinterlaceTriangleRows(view, dst.view(), weight, layout, 0, split), Status::ok);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            ASSERT_EQ(dst.at(x, y), filtered(view, weight, layout, x, y))
                << width << " x " << height << " weight " << weight << " layout " << layout << " at " << x << ", " << y;
    ASSERT_TRUE(dst.guardsIntact()) << width << " x " << height;
}

TEST_P(DeinterlaceTriangleTest, EqualsTheFormulaForEverySize) {
    std::mt19937 rng(81);
    for (int width = 1; width <= 65; ++width)
        for (const int height : {3, 4, 7}) {
            const int layout = layouts[unsigned(width + height) % std::size(layouts)];
            const Content content = test::allContents[unsigned(width) % std::size(test::allContents)];
            for (const std::uint32_t weight : {128u, 77u}) {
                ASSERT_NO_FATAL_FAILURE(compare<std::uint8_t>(width, height, weight, layout, content, rng));
                ASSERT_NO_FATAL_FAILURE(compare<std::uint16_t>(width, height, 256 * weight, layout, content, rng));
            }
        }
}

TEST_P(DeinterlaceTriangleTest, EqualsTheFormulaForEveryWeightAndLayout) {
    std::mt19937 rng(82);
    for (std::uint32_t weight = 0; weight <= 256; ++weight)
        for (const Content content : {Content::noise, Content::extremes})
            ASSERT_NO_FATAL_FAILURE(
                compare<std::uint8_t>(67, 9, weight, layouts[weight % std::size(layouts)], content, rng));
    // Odd weights of the 16-bit filter lose a part of 65536 between the two neighbours, but not at the edges.
    for (std::uint32_t weight : {0u, 1u, 2u, 255u, 32767u, 32768u, 32769u, 40001u, 65279u, 65534u, 65535u, 65536u})
        for (const int layout : layouts)
            for (const Content content : {Content::noise, Content::extremes, Content::gradient})
                ASSERT_NO_FATAL_FAILURE(compare<std::uint16_t>(67, 9, weight, layout, content, rng));
}

TEST_P(DeinterlaceTriangleTest, FiltersBottomUpPlanesOfBytes) {
    std::mt19937 rng(83);
    GuardedPlane<std::uint8_t> src(37, 6), dst(37, 6), down(37, 6);
    src.fillRandom(rng);
    ASSERT_EQ(deinterlaceTriangle(src.view(), down.view(), 128, 21), Status::ok);
    ASSERT_EQ(deinterlaceTriangle(src.flipped(), dst.flipped(), 128, 21), Status::ok);
    EXPECT_EQ(dst.difference(down), "");
}

TEST(DeinterlaceTriangle, KnownValues) {
    struct Case {
        std::uint8_t above, centre, below;
        std::uint32_t weight;
        int inner, upper, lower;
    };
    for (const Case& c :
         {Case{10, 20, 33, 128, 20, 15, 26}, Case{10, 20, 33, 256, 20, 10, 33}, Case{10, 20, 33, 0, 21, 20, 20},
          Case{0, 255, 1, 200, 199, 55, 56}, Case{10, 21, 10, 128, 15, 15, 15}, Case{10, 21, 10, 200, 18, 12, 12}}) {
        const std::uint8_t column[] = {c.above, c.centre, c.below};
        std::uint8_t out[3] = {};
        ASSERT_EQ(deinterlaceTriangle({column, 1, 1, 3}, {out, 1, 1, 3}, c.weight, 21), Status::ok);
        EXPECT_EQ(out[1], c.inner) << "weight " << c.weight;
        EXPECT_EQ(out[0], c.upper) << "weight " << c.weight;
        EXPECT_EQ(out[2], c.lower) << "weight " << c.weight;
    }
}

TEST(DeinterlaceTriangle, RefusesInTheOrderPointerSizeArgument) {
    std::uint8_t bytes[16] = {}, out[16] = {};
    std::uint16_t words[16] = {}, outWords[16] = {};
    const ConstViewU8 src{bytes, 4, 4, 4};
    const ViewU8 dst{out, 4, 4, 4};
    EXPECT_EQ(deinterlaceTriangle({nullptr, 4, 0, 0}, dst, 999, 0), Status::nullPointer);
    EXPECT_EQ(deinterlaceTriangle(src, {nullptr, 4, 4, 4}, 128, 21), Status::nullPointer);
    EXPECT_EQ(deinterlaceTriangle({bytes, 4, 4, 2}, {out, 4, 4, 2}, 999, 0), Status::badSize);
    EXPECT_EQ(deinterlaceTriangle({bytes, 4, 0, 4}, {out, 4, 0, 4}, 128, 21), Status::badSize);
    EXPECT_EQ(deinterlaceTriangle({bytes, 4, 4, 3}, dst, 128, 21), Status::badSize);
    for (const auto& [first, last] : {std::pair(-1, 2), {2, 2}, {3, 2}, {0, 5}})
        EXPECT_EQ(deinterlaceTriangleRows(src, dst, 128, 21, first, last), Status::badSize) << first << " .. " << last;
    EXPECT_EQ(deinterlaceTriangle(src, dst, 257, 21), Status::badArgument);
    EXPECT_EQ(deinterlaceTriangle(src, dst, 128, 2 | 8 | 32), Status::badArgument);
    EXPECT_EQ(deinterlaceTriangle({words, 2, 1, 4}, ViewU16{outWords, 4, 1, 4}, 1, 21), Status::badArgument);
    EXPECT_EQ(deinterlaceTriangle({words, 4, 1, 4}, ViewU16{outWords + 6, -4, 1, 4}, 1, 21), Status::badArgument);
    EXPECT_EQ(deinterlaceTriangle({words, 4, 1, 2}, ViewU16{outWords, 4, 1, 2}, 65537, 0), Status::badSize);
    EXPECT_EQ(deinterlaceTriangle({words, 4, 1, 4}, ViewU16{outWords, 4, 1, 4}, 65537, 21), Status::badArgument);
    EXPECT_EQ(deinterlaceTriangle({words, 4, 1, 4}, ViewU16{outWords, 4, 1, 4}, 1, 0), Status::badArgument);
}

}  // namespace
}  // namespace Orvel::primitives
