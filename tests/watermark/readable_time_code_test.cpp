#include "orvel/watermark/readable_time_code.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "orvel/img/bgr_img.h"
#include "orvel/img/yv16_img.h"
#include "orvel/watermark/unified_watermark.h"
#include "tests/watermark/marks_support.h"

namespace Orvel {
namespace {

using namespace test;

/// Rows of the image, '#' for text and '.' for the ground.
std::vector<std::string> drawn(const TimeCodeValue& value, FieldFrameSelect select, tagSIZE size) {
    BGRImg image;
    EXPECT_TRUE(renderReadable(value, select, size, image));
    EXPECT_TRUE(image.getWidth(0) == size.cx && image.getHeight(0) == size.cy);
    std::vector<std::string> rows;
    for (int y = 0; y < size.cy; ++y) {
        rows.emplace_back();
        for (int x = 0; x < size.cx; ++x) {
            const std::uint8_t* const pixel = image.getPixel(0, y, x);
            EXPECT_TRUE(pixel[1] == pixel[0] && pixel[2] == pixel[0] && pixel[3] == 255);
            EXPECT_TRUE(pixel[0] == readableTextLevel || pixel[0] == readableGroundLevel);
            rows.back() += pixel[0] == readableTextLevel ? '#' : '.';
        }
    }
    return rows;
}

TEST(ReadableTimeCode, ShowsEveryDigitAndSeparator) {
    const auto joined = [](const std::vector<std::string>& rows) {
        std::string all = "\n";
        for (const std::string& row : rows) all += row + "\n";
        return all;
    };
    EXPECT_EQ(joined(drawn({1, 23, 45, 67}, FieldFrameBoth, {45, 7})), R"(
.##....#.....##..###.......#.####....##..####
#..#..##....#..#....#.....##.#......#.......#
#..#.#.#..#....#....#.#..#.#.###..#.#.......#
#..#...#......#...##....#..#....#...###....#.
#..#...#..#..#......#.#.####....#.#.#..#...#.
#..#...#....#.......#......#.#..#...#..#..#..
.##...###...####.###.......#..##.....##...#..
)");
    auto rest = drawn({89, 0, 0, 0, false, false, true}, FieldFrameTop, {45, 7});
    for (std::string& row : rest) row.resize(11);
    EXPECT_EQ(joined(rest), R"(
.##...##...
#..#.#..#..
#..#.#..#..
.##...###..
#..#....#..
#..#....#.#
.##...##..#
)");
    std::set<std::vector<std::string>> separators;
    for (bool dropFrame : {false, true})
        for (FieldFrameSelect select : {FieldFrameTop, FieldFrameBottom})
            separators.insert(drawn({0, 0, 0, 0, false, false, dropFrame}, select, {45, 7}));
    EXPECT_EQ(separators.size(), 4u);
}

TEST(ReadableTimeCode, FillsTheImageWithWholeDotsInTheMiddle) {
    const struct {
        tagSIZE size, dot;
    } cases[] = {{{45, 7}, {1, 1}},   {{46, 16}, {1, 2}},  {{475, 92}, {10, 13}}, {{89, 13}, {1, 1}},
                 {{90, 200}, {2, 4}}, {{900, 14}, {4, 2}}, {{953, 181}, {21, 25}}};
    const TimeCodeValue value{12, 34, 50, 28};
    const auto small = drawn(value, FieldFrameBoth, {45, 7});
    for (const auto& [size, dot] : cases) {
        const int left = (size.cx - 45 * dot.cx) / 2, top = (size.cy - 7 * dot.cy) / 2;
        const auto large = drawn(value, FieldFrameBoth, size);
        for (int y = 0; y < size.cy; ++y)
            for (int x = 0; x < size.cx; ++x) {
                const bool inText = x >= left && y >= top && x < left + 45 * dot.cx && y < top + 7 * dot.cy;
                const char expected =
                    inText ? small[std::size_t((y - top) / dot.cy)][std::size_t((x - left) / dot.cx)] : '.';
                ASSERT_EQ(large[std::size_t(y)][std::size_t(x)], expected) << size.cx << ": " << x << ", " << y;
            }
    }
}

TEST(ReadableTimeCode, RefusesWhatDoesNotFit) {
    BGRImg image;
    ASSERT_TRUE(image.allocate(3, 2, 4));
    for (tagSIZE size : {tagSIZE{44, 7}, {45, 6}, {0, 0}, {-45, 7}})
        EXPECT_FALSE(renderReadable({}, FieldFrameBoth, size, image)) << size.cx << " x " << size.cy;
    for (TimeCodeValue value : {TimeCodeValue{100}, {0, 100}, {0, 0, 100}, {0, 0, 0, 100}})
        EXPECT_FALSE(renderReadable(value, FieldFrameBoth, {100, 100}, image));
    EXPECT_TRUE(image.getWidth(0) == 3 && image.getHeight(0) == 2);
    EXPECT_FALSE(renderReadable({}, FieldFrameBoth, {1 << 20, 1 << 20}, image));
    EXPECT_EQ(image.numPlanes(), 0);
}

template <class T>
void expectNotInTheReadersWay(tagSIZE luma) {
    const TimeCodeValue tc{12, 34, 50, 28};
    const auto img = flatPicture<T>(luma, 128), swapped = flatPicture<T>(luma, 128);
    UnifiedWatermark<T> mark;
    tagSIZE size;
    BGRImg text;
    ASSERT_TRUE(mark.encode(*img, tc, &size) && renderReadable(tc, FieldFrameBoth, size, text));
    ASSERT_TRUE(mark.encodeReadable(*img, text));
    ASSERT_TRUE(img->copyPlane(*swapped, 1, 2) && img->copyPlane(*swapped, 2, 1));
    for (T* one : {img.get(), swapped.get()}) {
        TimeCodeValue read;
        EXPECT_TRUE(UnifiedWatermark<T>().decode(*one, read));
        EXPECT_EQ(read, tc);
    }
}

TEST(ReadableTimeCode, FitsEveryWatermarkAndIsNotInItsReadersWay) {
    for (tagSIZE luma : {tagSIZE{192, 192}, {720, 576}, {1920, 1080}}) {
        expectNotInTheReadersWay<I420Img>(luma);
        expectNotInTheReadersWay<YV16Img>(luma);
    }
}

}  // namespace
}  // namespace Orvel
