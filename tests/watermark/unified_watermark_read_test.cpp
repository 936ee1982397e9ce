// The reader, on pictures that went through something.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "bench/gaussian.h"
#include "bench/mark_damage.h"
#include "orvel/img/bgr_img.h"
#include "orvel/img/yv16_img.h"
#include "orvel/watermark/time_code_bits.h"
#include "orvel/watermark/time_code_text.h"
#include "orvel/watermark/unified_watermark_interlace.h"
#include "tests/watermark/marks_support.h"

namespace Orvel {
namespace {

using namespace test;

constexpr TimeCodeValue timeCodes[] = {
    {}, {23, 59, 59, 29}, {10, 0, 0, 0, true, false, true}, {7, 38, 56, 17, false, true, false}, {12, 34, 50, 28}};

void addNoise(const Img& img, double sigma, unsigned seed) {
    bench::Gaussian gaussian(seed);
    for (int plane : {1, 2}) bench::addNoise(img, plane, sigma, gaussian);
}

template <class T>
class WatermarkReader : public ::testing::Test {};
using Formats = ::testing::Types<I420Img, YV16Img>;
TYPED_TEST_SUITE(WatermarkReader, Formats);

TYPED_TEST(WatermarkReader, ReadsEveryTimeCodeAfterWhateverDoesNoHarm) {
    std::mt19937 random(1);
    std::size_t turn = 0;
    for (const bench::NamedDamage& damage : bench::markDamages())
        for (tagSIZE luma : {tagSIZE{368, 304}, {720, 576}}) {
            const TimeCodeValue& tc = timeCodes[turn++ % std::size(timeCodes)];
            if (!damage.harmless) continue;
            const auto img = flatPicture<TypeParam>(luma, 128);
            ASSERT_TRUE(UnifiedWatermark<TypeParam>().encode(*img, tc, nullptr));
            TypeParam damaged;
            damage.apply(*img, damaged, random);
            TimeCodeValue read{99, 99, 99, 99};
            UnifiedWatermark<TypeParam> mark;
            if (damaged.getWidth(1) < mark.smallestSide || damaged.getHeight(1) < mark.smallestSide) continue;
            EXPECT_TRUE(mark.decode(damaged, read)) << damage.name << " at width " << luma.cx;
            EXPECT_EQ(timeCodeText(read, FieldFrameTop), timeCodeText(tc, FieldFrameTop)) << damage.name;
            EXPECT_TRUE(read == tc && findTimeCodeBitsFault(mark.bits()) == TimeCodeBitsNoFault) << damage.name;
        }
}

TYPED_TEST(WatermarkReader, ReadsBothFieldsAndTheirFlags) {
    for (const TimeCodeValue& tc : timeCodes) {
        const auto img = flatPicture<TypeParam>({720, 576}, 128);
        UnifiedWatermarkInterlace<TypeParam> mark;
        ASSERT_TRUE(mark.encode(*img, tc, nullptr));
        addNoise(*img, 5, 4);
        TimeCodeValue read[2], single, expected = tc;
        ASSERT_TRUE(mark.decode(*img, read));
        for (FieldFrameSelect select : {FieldFrameTop, FieldFrameBottom}) {
            expected.topField = select == FieldFrameTop, expected.bottomField = select == FieldFrameBottom;
            EXPECT_EQ(read[select - 1], expected);
            EXPECT_TRUE(mark.decode(*img, select, single) && single == expected);
            EXPECT_EQ(findTimeCodeBitsFault(mark.bits()), TimeCodeBitsNoFault);
        }
    }
}

TYPED_TEST(WatermarkReader, TellsWhereTheGridStandsByPastingBelowIt) {
    for (tagPOINT by : {tagPOINT{0, 0}, {5, -3}}) {
        const auto img = flatPicture<TypeParam>(lumaFor<TypeParam>({960, 540}), 128);
        ASSERT_TRUE(UnifiedWatermark<TypeParam>().encode(*img, {23, 59, 59, 29}, nullptr));
        TypeParam moved;
        bench::moveChroma(*img, moved, by.x, by.y);
        TimeCodeValue value;
        UnifiedWatermark<TypeParam> mark;
        ASSERT_TRUE(mark.decode(moved, value));
        BGRImg dot;
        ASSERT_TRUE(dot.allocate(1, 1, 4) && dot.setPlane(0, 77));
        TimeCodeValue none;                                     // a picture without a grid takes nothing away
        for (tagSIZE luma : {tagSIZE{190, 400}, {400, 400}}) {  // the chroma of one is too narrow
            EXPECT_FALSE(mark.decode(*flatPicture<TypeParam>(luma, 128), none));
            EXPECT_EQ(mark.bits(), TimeCodeBits{});
        }
        ASSERT_TRUE(mark.encodeReadable(moved, dot));
        EXPECT_EQ(sampleAt(moved, 2, 120 + by.x, 403 + by.y), 77);
    }
}

// ---- a plain reader

struct PlainReader {
    const Img& img;
    int w, h;
    explicit PlainReader(const Img& picture) : img(picture), w(picture.getWidth(1)), h(picture.getHeight(1)) {}

    int count(int x0, int y0, int width, int height, int from, int below) const {
        int n = 0;
        for (int y = y0; y < y0 + height; ++y)
            for (int x = x0; x < x0 + width; ++x) n += sampleAt(img, 1, x, y) >= from && sampleAt(img, 1, x, y) < below;
        return n;
    }
    bool isNear(int x, int y) const {
        const int v = sampleAt(img, 1, x, y);
        return std::abs(v - 17) <= 24 || std::abs(v - 239) <= 24;
    }
    /// @param line  column of a vertical scan, row of a horizontal one
    int border(bool vertical, bool fromEnd, int line) const {
        const int size = vertical ? h : w, centre = size / 2;
        int last = -1;
        for (int step = 0; step < (fromEnd ? size - centre : centre); ++step) {
            const int i = fromEnd ? size - 1 - step : step, begin = std::min(i, centre);
            const int length = std::abs(i - centre) + 1;
            if (!isNear(vertical ? line : i, vertical ? i : line)) continue;
            last = i;
            const auto strip = [&](int from, int below) {
                return vertical ? count(line, begin, 1, length, from, below)
                                : count(begin, line, length, 1, from, below);
            };
            if (strip(0, 50) + strip(200, 256) > 0.6 * length) break;
        }
        return last;
    }
    int median(bool vertical, bool fromEnd) const {
        std::vector<int> found;
        for (int i = 1; i <= 9; ++i) {
            const int at = border(vertical, fromEnd, i * ((vertical ? w : h) / 10));
            if (at != -1) found.push_back(at);
        }
        std::sort(found.rbegin(), found.rend());
        return found.empty() ? -1 : found[found.size() / 2];
    }
    bool isKey(int x, int y, int width, int height) const {
        const int grey = count(x, y, width, height, 100, 156), bright = count(x, y, width, height, 200, 256);
        return grey + bright >= 0.4 * width * height && grey >= 0.1 * width * height;
    }
    bool read(TimeCodeBits& bits) const {
        const int left = median(false, false), right = median(false, true), top = median(true, false),
                  bottom = median(true, true);
        if (left < 0 || right < 0 || top < 0 || bottom < 0) return false;
        const int width = right - left + 1, height = bottom - top + 1, cellW = width / 7, cellH = height / 6;
        if (cellW == 0 || cellH == 0) return false;
        if (!isKey(left, top, cellW, cellH) || !isKey(right - cellW, bottom - cellH, cellW, cellH)) return false;
        const float columnWidth = float(width) / 7, rowHeight = float(height) / 6;
        int c = 1, y = top;
        for (int i = 0; i < 40; ++i, ++c) {
            if (i % 7 == 6) c = 0, y = top + int(float(i / 6) * rowHeight);
            const int x = left + int(float(c) * columnWidth);
            const int dark = count(x, y, cellW, cellH, 0, 50), bright = count(x, y, cellW, cellH, 200, 256);
            bits[std::size_t(i)] = bright > dark && bright > 0.3 * (cellW * cellH);
        }
        return true;
    }
};

TYPED_TEST(WatermarkReader, ReadsAnyDamagedPictureAsAPlainReaderDoesAndNothingAroundIt) {
    constexpr int levels[] = {0, 17, 40, 41, 42, 49, 50, 99, 100, 128, 155, 156, 199, 200, 214, 215, 239, 255};
    std::mt19937 rng(5);
    const auto below = [&](int limit) { return int(rng() % unsigned(limit)); };
    int found = 0;
    constexpr int pictures = 400;
    UnifiedWatermark<TypeParam> mark;  // one for all: what it finds does not depend on the pictures before
    for (int i = 0; i < pictures; ++i) {
        const tagSIZE chroma{96 + below(40), 96 + below(40)};
        Window<TypeParam> window(lumaFor<TypeParam>(chroma), levels[below(std::size(levels))]);
        ASSERT_TRUE(window.img.set(levels[below(std::size(levels))]));
        ASSERT_TRUE(UnifiedWatermark<TypeParam>().encode(window.img, timeCodes[i % 5], nullptr));
        for (int patch = i % 10; patch > 0; --patch) {
            const int x0 = below(chroma.cx), y0 = below(chroma.cy), level = levels[below(std::size(levels))];
            const int x1 = std::min(x0 + 1 + below(60), chroma.cx), y1 = std::min(y0 + 1 + below(30), chroma.cy);
            for (int y = y0; y < y1; ++y)
                for (int x = x0; x < x1; ++x) sampleAt(window.img, 1, x, y) = std::uint8_t(level);
        }
        if (i % 3 == 0) addNoise(window.img, 12, unsigned(i));
        TimeCodeValue value{1, 2, 3, 4}, expectedValue = value;
        TimeCodeBits expected{};
        const bool expectFound = PlainReader(window.img).read(expected);
        if (expectFound) TimeCodeValue::getTimeCodeFromBits(expectedValue, expected.data());
        ASSERT_EQ(mark.decode(window.img, value), expectFound) << "picture " << i;
        ASSERT_EQ(mark.bits(), expected) << "picture " << i;
        ASSERT_EQ(value, expectedValue) << "picture " << i;
        found += expectFound;
    }
    EXPECT_GT(found, pictures / 5);
    EXPECT_LT(found, pictures * 4 / 5);
}

}  // namespace
}  // namespace Orvel
