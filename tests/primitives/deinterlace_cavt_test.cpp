#include "orvel/primitives/deinterlace_cavt.h"

#include <gtest/gtest.h>

#include "tests/primitives/deinterlace_content.h"
#include "tests/support/every_target.h"

namespace Orvel::primitives {
namespace {

using test::Content;
using test::Plane8;

class DeinterlaceCavtTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(DeinterlaceCavtTest);

constexpr unsigned thresholds[] = {0, 1, 100, 500, 1000, 1500, 2000, 2040, 2041, 65535};

int expected(const Plane8& src, int x, int y, unsigned threshold) {
    if (y % 2 == 0) return src.at(x, y);
    const int height = src.height();
    const auto column = [&](int i) {
        const auto kept = [&](int row) { return int(src.at(i, std::clamp(row, 0, height - 2))); };
        const auto other = [&](int row) { return 2 * src.at(i, std::clamp(row, 1, height - 1)); };
        return test::CavtColumn{kept(y - 3),  kept(y - 1), kept(y + 1), kept(y + 3),
                                other(y - 2), other(y),    other(y + 2)};
    };
    return test::cavtOracle(column, x, src.width(), threshold);
}

void compare(const Plane8& src, unsigned threshold) {
    const int width = src.width(), height = src.height(), pairs = height / 2;
    Plane8 dst(width, height, 3, 67);
    // Bands from the last pair up, of 1, 2, 4 .. pairs.
    for (int last = pairs, count = 1; last > 0; last -= count, count *= 2)
        ASSERT_EQ(deinterlaceCavtRows(src.view(), dst.view(), threshold, std::max(0, last - count), last), Status::ok);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            ASSERT_EQ(dst.at(x, y), expected(src, x, y, threshold))
                << width << " x " << height << " threshold " << threshold << " at " << x << ", " << y;
    ASSERT_TRUE(dst.guardsIntact()) << width << " x " << height;
    Plane8 whole(width, height);
    ASSERT_EQ(deinterlaceCavt(src.view(), whole.view(), threshold), Status::ok);
    ASSERT_EQ(whole.difference(dst), "");
}

TEST_P(DeinterlaceCavtTest, EqualsTheFormulaForEverySize) {
    std::mt19937 rng(84);
    unsigned turn = 0;
    for (int width = 1; width <= 65; ++width)
        for (const int height : {2, 4, 6, 10}) {
            Plane8 src(width, height, 1, 65);
            fillWith(src, test::allContents[++turn % std::size(test::allContents)], rng);
            ASSERT_NO_FATAL_FAILURE(compare(src, thresholds[turn % std::size(thresholds)]));
        }
}

TEST_P(DeinterlaceCavtTest, EqualsTheFormulaForEveryContentAndThreshold) {
    std::mt19937 rng(85);
    for (const Content content : test::allContents)
        for (const unsigned threshold : thresholds) {
            Plane8 src(131, 12);
            fillWith(src, content, rng);
            ASSERT_NO_FATAL_FAILURE(compare(src, threshold)) << "content " << int(content);
        }
}

TEST_P(DeinterlaceCavtTest, LongRowsMatchWhereTheirPartsMeet) {
    std::mt19937 rng(86);
    for (const int width : {1023, 1024, 1025, 1026, 1089, 2048, 2051}) {
        Plane8 src(width, 4);
        fillWith(src, width % 2 == 0 ? Content::noise : Content::extremes, rng);
        ASSERT_NO_FATAL_FAILURE(compare(src, 1000));
    }
}

TEST_P(DeinterlaceCavtTest, NegativeStepsExchangeTheFields) {
    std::mt19937 rng(87);
    Plane8 src(45, 8), turned(45, 8), dst(45, 8), turnedDst(45, 8);
    src.fillRandom(rng);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 45; ++x) turned.at(x, y) = src.at(x, 7 - y);
    ASSERT_EQ(deinterlaceCavt(src.flipped(), dst.flipped(), 1000), Status::ok);
    ASSERT_EQ(deinterlaceCavt(turned.view(), turnedDst.view(), 1000), Status::ok);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 45; ++x) {
            ASSERT_EQ(dst.at(x, y), turnedDst.at(x, 7 - y));
            ASSERT_TRUE(y % 2 == 0 || dst.at(x, y) == src.at(x, y)) << "the bottom field is kept";
        }
}

TEST_P(DeinterlaceCavtTest, KnownColumns) {
    struct Case {
        std::uint8_t rows[10];
        unsigned threshold;
        int made[5];
    };
    const Case cases[] = {{{40, 60, 90, 120, 130, 120, 90, 60, 40, 30}, 0, {63, 116, 116, 63, 37}},
                          {{40, 60, 90, 120, 130, 120, 90, 60, 40, 30}, 500, {63, 117, 117, 62, 37}},
                          {{40, 60, 90, 120, 130, 120, 90, 60, 40, 30}, 1000, {58, 118, 118, 60, 36}},
                          {{40, 60, 90, 120, 130, 120, 90, 60, 40, 30}, 2041, {53, 119, 119, 60, 36}},
                          {{40, 120, 90, 30, 130, 60, 90, 150, 40, 90}, 0, {63, 116, 116, 63, 37}},
                          {{40, 120, 90, 30, 130, 60, 90, 150, 40, 90}, 500, {63, 116, 116, 63, 37}},
                          {{40, 120, 90, 30, 130, 60, 90, 150, 40, 90}, 1000, {63, 116, 116, 63, 37}},
                          {{40, 120, 90, 30, 130, 60, 90, 150, 40, 90}, 1500, {77, 95, 103, 84, 37}},
                          {{40, 120, 90, 30, 130, 60, 90, 150, 40, 90}, 2041, {90, 74, 89, 105, 28}},
                          {{40, 70, 90, 112, 130, 128, 90, 55, 40, 33}, 1000, {62, 112, 126, 56, 38}}};
    for (const Case& c : cases) {
        Plane8 src(5, 10), dst(5, 10);
        for (int y = 0; y < 10; ++y)
            for (int x = 0; x < 5; ++x) src.at(x, y) = c.rows[y];
        ASSERT_EQ(deinterlaceCavt(src.view(), dst.view(), c.threshold), Status::ok);
        for (int y = 0; y < 10; ++y)
            for (int x = 0; x < 5; ++x)
                ASSERT_EQ(dst.at(x, y), y % 2 == 0 ? c.rows[y] : c.made[y / 2])
                    << "threshold " << c.threshold << " at " << x << ", " << y;
    }
}

TEST(DeinterlaceCavt, RefusesWhatItCannotDo) {
    std::uint8_t bytes[16] = {}, out[16] = {};
    const ConstViewU8 src{bytes, 4, 4, 4};
    const ViewU8 dst{out, 4, 4, 4};
    EXPECT_EQ(deinterlaceCavt({nullptr, 4, 0, 1}, dst, 1000), Status::nullPointer);
    EXPECT_EQ(deinterlaceCavt(src, {nullptr, 4, 4, 4}, 1000), Status::nullPointer);
    EXPECT_EQ(deinterlaceCavt({bytes, 4, 4, 3}, {out, 4, 4, 3}, 1000), Status::badSize);
    EXPECT_EQ(deinterlaceCavt({bytes, 4, 4, 1}, {out, 4, 4, 1}, 1000), Status::badSize);
    EXPECT_EQ(deinterlaceCavt({bytes, 4, 0, 4}, {out, 4, 0, 4}, 1000), Status::badSize);
    EXPECT_EQ(deinterlaceCavt({bytes, 4, 3, 4}, dst, 1000), Status::badSize);
    for (const auto& [first, last] : {std::pair(-1, 1), {1, 1}, {0, 3}})
        EXPECT_EQ(deinterlaceCavtRows(src, dst, 1000, first, last), Status::badSize) << first << " .. " << last;
}

}  // namespace
}  // namespace Orvel::primitives
