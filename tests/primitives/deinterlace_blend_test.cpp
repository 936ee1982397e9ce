#include "orvel/primitives/deinterlace_blend.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>

#include "tests/primitives/deinterlace_content.h"
#include "tests/support/every_target.h"

namespace Orvel::primitives {
namespace {

using test::Content;
using test::Plane8;

class DeinterlaceBlendTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(DeinterlaceBlendTest);

struct Settings {
    std::int32_t thresholds[2];
    double weights[2];
};
constexpr Settings settingsOf[] = {{{5, 9}, {0.3, 0.7}},   {{0, 0}, {0, 0}},       {{255, 255}, {0.5, 1}},
                                   {{254, 255}, {1, 0}},   {{20, 100}, {0, 0.25}}, {{60, 10}, {0.9, 0.1}},
                                   {{1, 200}, {0.002, 1}}, {{127, 128}, {1, 1}},   {{128, 130}, {0.25, 0.5}}};
constexpr BlendFields allFields[] = {{false, false, false}, {true, false, false}, {false, true, false},
                                     {true, true, false},   {false, false, true}, {true, false, true},
                                     {false, true, true},   {true, true, true}};

std::string describe(BlendFields f) {
    std::ostringstream text;
    text << "topFirst " << f.topFirst << " generateTop " << f.generateTop << " copyKept " << f.copyKept;
    return text.str();
}

struct Frames {
    Plane8 prev, cur, next;
    Frames(int width, int height) : prev(width, height, 1), cur(width, height, 4, 65), next(width, height, 7, 66) {}
};

/// A generated sample, from the formulas.
class Oracle {
public:
    Oracle(const Frames& frames, const Settings& settings, BlendFields fields) : s_(settings), f_(frames) {
        const bool keptIsEarlier = fields.generateTop ? !fields.topFirst : fields.topFirst;
        before_ = keptIsEarlier ? &f_.prev : &f_.cur;
        after_ = keptIsEarlier ? &f_.cur : &f_.next;
    }

    int at(int x, int y) const {
        const int t = temporal(x, y), b = row(f_.cur, x, y - 1), c = row(f_.cur, x, y + 1);
        const int f0 = difference(x, y), f1 = sumAgainst(f_.prev, x, y), f2 = sumAgainst(f_.next, x, y);
        const int most = std::max({f0, f1, f2}), delta = most >> 1;
        const int up = ((row(*before_, x, y - 2) + row(*after_, x, y - 2)) >> 1) - b;
        const int dn = ((row(*before_, x, y + 2) + row(*after_, x, y + 2)) >> 1) - c;
        const int hi = std::max({t - b, t - c, std::min(up, dn)}), lo = std::min({t - b, t - c, std::max(up, dn)});
        const int bound = most <= s_.thresholds[0] ? delta : std::max({delta, lo, -hi});
        const int spatial = std::clamp(spatialAt(x, y), t - bound, t + bound);

        const int mu = (motion(x - 1, y) + 2 * motion(x, y) + motion(x + 1, y) + 2) >> 2;
        int w = 256;
        if (bound <= delta && mu <= s_.thresholds[0])
            w = weight(0);
        else if (bound <= delta && mu <= s_.thresholds[1])
            w = weight(1);
        return (t * (256 - w) + spatial * w + 128) >> 8;
    }

private:
    static int row(const Plane8& plane, int x, int y) {
        const int parity = y & 1, last = plane.height() - 1;
        return plane.at(x, std::clamp(y, parity, (last & 1) == parity ? last : last - 1));
    }
    int weight(int i) const { return int(std::floor(256 * s_.weights[i] + 0.5)); }
    int temporal(int x, int y) const { return (row(*before_, x, y) + row(*after_, x, y) + 1) >> 1; }
    int difference(int x, int y) const { return std::abs(row(*before_, x, y) - row(*after_, x, y)); }
    int sumAgainst(const Plane8& plane, int x, int y) const {
        return std::abs(row(plane, x, y - 1) - row(f_.cur, x, y - 1)) +
               std::abs(row(plane, x, y + 1) - row(f_.cur, x, y + 1));
    }
    int motion(int x, int y) const {
        const int i = std::clamp(x, 0, f_.cur.width() - 1);
        return std::max({difference(i, y), (sumAgainst(f_.prev, i, y) + 1) >> 1, (sumAgainst(f_.next, i, y) + 1) >> 1});
    }
    int spatialAt(int x, int y) const {
        const auto column = [&](int i) {
            const auto kept = [&](int r) { return row(f_.cur, i, r); };
            const auto other = [&](int r) { return row(*before_, i, r) + row(*after_, i, r); };
            return test::CavtColumn{kept(y - 3),  kept(y - 1), kept(y + 1), kept(y + 3),
                                    other(y - 2), other(y),    other(y + 2)};
        };
        return test::cavtOracle(column, x, f_.cur.width(), 1000);
    }

    Settings s_;
    const Frames& f_;
    const Plane8 *before_, *after_;
};

DeinterlaceBlendState stateFor(const Settings& settings, int width, int height) {
    DeinterlaceBlendState state;
    EXPECT_EQ(state.init(width, height, settings.thresholds, settings.weights), Status::ok);
    return state;
}

void compare(const Frames& frames, const Settings& settings, BlendFields fields) {
    const int width = frames.cur.width(), height = frames.cur.height();
    const auto state = stateFor(settings, width, height);
    const Oracle oracle(frames, settings, fields);
    constexpr std::uint8_t untouched = 91;
    Plane8 dst(width, height, 3, 67);
    dst.fill(untouched);
    // Bands from the last row up, of 1, 2, 4 .. rows.
    for (int last = height, rows = 1; last > 0; last -= rows, rows *= 2)
        ASSERT_EQ(deinterlaceBlendRows(state, frames.prev.view(), frames.cur.view(), frames.next.view(), dst.view(),
                                       fields, std::max(0, last - rows), last),
                  Status::ok);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const bool kept = (y % 2 == 0) != fields.generateTop;
            const int expected = kept ? (fields.copyKept ? frames.cur.at(x, y) : untouched)
                                      : (height == 1 ? frames.cur.at(x, y) : oracle.at(x, y));
            ASSERT_EQ(dst.at(x, y), expected) << width << " x " << height << " at " << x << ", " << y << " "
                                              << describe(fields) << " t0 " << settings.thresholds[0];
        }
    ASSERT_TRUE(dst.guardsIntact()) << width << " x " << height;
    Plane8 whole(width, height);
    whole.fill(untouched);
    ASSERT_EQ(deinterlaceBlend(state, frames.prev.view(), frames.cur.view(), frames.next.view(), whole.view(), fields),
              Status::ok);
    ASSERT_EQ(whole.difference(dst), "") << describe(fields);
}

/// prev and next are content of their own or cur with a little noise, so that every branch is taken.
void fillFrames(Frames& frames, Content content, unsigned noise, std::mt19937& rng) {
    fillWith(frames.cur, content, rng);
    for (Plane8* plane : {&frames.prev, &frames.next}) {
        fillWith(*plane, content, rng);
        if (noise == 0) continue;
        for (int y = 0; y < plane->height(); ++y)
            for (int x = 0; x < plane->width(); ++x)
                if (rng() % 8 != 0)
                    plane->at(x, y) =
                        std::uint8_t(std::clamp(int(frames.cur.at(x, y) + rng() % noise) - int(noise / 2), 0, 255));
    }
}

TEST_P(DeinterlaceBlendTest, EqualsTheFormulaForEverySize) {
    std::mt19937 rng(88);
    unsigned turn = 0;
    for (int width = 1; width <= 65; ++width)
        for (const int height : {1, 2, 3, 4, 5, 8, 9}) {
            Frames frames(width, height);
            ++turn;
            fillFrames(frames, test::allContents[turn % std::size(test::allContents)], turn % 3 * 12, rng);
            ASSERT_NO_FATAL_FAILURE(
                compare(frames, settingsOf[turn % std::size(settingsOf)], allFields[turn / 2 % std::size(allFields)]));
        }
}

TEST_P(DeinterlaceBlendTest, EqualsTheFormulaForAllContentsSettingsAndFields) {
    std::mt19937 rng(89);
    for (const Content content : test::allContents)
        for (const Settings& settings : settingsOf)
            for (const BlendFields fields : allFields) {
                Frames frames(77, 7);
                fillFrames(frames, content, rng() % 4 * 10, rng);
                ASSERT_NO_FATAL_FAILURE(compare(frames, settings, fields)) << "content " << int(content);
            }
}

TEST_P(DeinterlaceBlendTest, LongRowsMatchWhereTheirPartsMeet) {
    std::mt19937 rng(90);
    for (const int width : {1023, 1024, 1025, 1026, 1089, 2048, 2051}) {
        Frames frames(width, 4);
        fillFrames(frames, Content::noise, 30, rng);
        ASSERT_NO_FATAL_FAILURE(compare(frames, settingsOf[4], allFields[5]));
    }
}

TEST_P(DeinterlaceBlendTest, EqualFramesComeOutUnchanged) {
    std::mt19937 rng(91);
    for (const Content content : test::allContents)
        for (const Settings& settings : settingsOf)
            for (const BlendFields fields : {allFields[4], allFields[5], allFields[6], allFields[7]}) {
                Plane8 frame(83, 9), dst(83, 9);
                fillWith(frame, content, rng);
                ASSERT_EQ(deinterlaceBlend(stateFor(settings, 83, 9), frame.view(), frame.view(), frame.view(),
                                           dst.view(), fields),
                          Status::ok);
                ASSERT_EQ(dst.difference(frame), "") << describe(fields);
            }
}

TEST_P(DeinterlaceBlendTest, KnownPicture) {
    Frames frames(8, 6);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 8; ++x) {
            const int v = 32 * y + 4 * x;
            frames.cur.at(x, y) = std::uint8_t(v);
            frames.prev.at(x, y) = std::uint8_t(v + 2);
            frames.next.at(x, y) = (y == 2 || y == 3) && x >= 3 && x <= 5 ? std::uint8_t(200) : std::uint8_t(v + 1);
        }
    struct Case {
        bool topFirst, generateTop;
        std::uint8_t rows[3][8];
    };
    const Case cases[] = {
        {true,
         false,
         {{32, 36, 39, 38, 42, 46, 55, 60},
          {96, 100, 103, 105, 109, 113, 119, 124},
          {160, 164, 168, 172, 176, 180, 184, 188}}},
        {true,
         true,
         {{2, 6, 10, 14, 18, 22, 26, 30}, {66, 69, 71, 82, 86, 89, 87, 93}, {130, 134, 139, 140, 144, 148, 155, 158}}},
        {false,
         false,
         {{32, 36, 39, 38, 42, 46, 55, 60},
          {96, 100, 104, 118, 121, 125, 120, 124},
          {160, 164, 168, 172, 176, 180, 184, 188}}}};
    for (const Case& c : cases) {
        Plane8 dst(8, 6);
        ASSERT_EQ(deinterlaceBlend(stateFor(settingsOf[0], 8, 6), frames.prev.view(), frames.cur.view(),
                                   frames.next.view(), dst.view(), {c.topFirst, c.generateTop, true}),
                  Status::ok);
        for (int y = 0; y < 6; ++y)
            for (int x = 0; x < 8; ++x) {
                const bool made = (y % 2 == 0) == c.generateTop;
                ASSERT_EQ(dst.at(x, y), made ? c.rows[y / 2][x] : frames.cur.at(x, y))
                    << "topFirst " << c.topFirst << " generateTop " << c.generateTop << " at " << x << ", " << y;
            }
    }
}

TEST_P(DeinterlaceBlendTest, TakesBottomUpPlanesOfDifferentSteps) {
    std::mt19937 rng(92);
    Frames frames(51, 6);
    fillFrames(frames, Content::noise, 20, rng);
    Plane8 prev(51, 6, 13), dst(51, 6), same(51, 6);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 51; ++x) prev.at(x, 5 - y) = frames.prev.at(x, y);
    const auto state = stateFor(settingsOf[0], 51, 6);
    const BlendFields fields{true, false, true};
    ASSERT_EQ(deinterlaceBlend(state, prev.flipped(), frames.cur.view(), frames.next.view(), dst.flipped(), fields),
              Status::ok);
    ASSERT_EQ(deinterlaceBlend(state, frames.prev.view(), frames.cur.view(), frames.next.view(), same.view(), fields),
              Status::ok);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 51; ++x) ASSERT_EQ(dst.at(x, 5 - y), same.at(x, y)) << x << ", " << y;
}

TEST(DeinterlaceBlend, StateKeepsItsRangesAndItsLastGoodSettings) {
    DeinterlaceBlendState state;
    ASSERT_EQ(state.init(7, 5, {3, 255}, {0.1, 1}), Status::ok);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(state.init(0, 5, {-1, 9}, {0, 0}), Status::badSize);
    EXPECT_EQ(state.init(5, 0, {1, 9}, {0, 0}), Status::badSize);
    EXPECT_EQ(state.init(9, 9, {-1, 9}, {0, 0}), Status::badArgument);
    EXPECT_EQ(state.init(9, 9, {1, 256}, {0, 0}), Status::badArgument);
    EXPECT_EQ(state.init(9, 9, {1, 2}, {-0.01, 0}), Status::badArgument);
    EXPECT_EQ(state.init(9, 9, {1, 2}, {0, 1.01}), Status::badArgument);
    EXPECT_EQ(state.init(9, 9, {1, 2}, {0, nan}), Status::badArgument);
    EXPECT_EQ(state.maxWidth(), 7);
    EXPECT_EQ(state.maxHeight(), 5);
    EXPECT_EQ(state.threshold(0), 3);
    EXPECT_EQ(state.threshold(1), 255);
    EXPECT_EQ(state.weight(0), 26);
    EXPECT_EQ(state.weight(1), 256);
}

TEST(DeinterlaceBlend, RefusesWhatItCannotDo) {
    std::uint8_t bytes[16] = {}, out[16] = {};
    const ConstViewU8 src{bytes, 4, 4, 4}, none{nullptr, 4, 0, 0};
    const ViewU8 dst{out, 4, 4, 4};
    const auto state = stateFor(settingsOf[0], 4, 4);
    const BlendFields fields{true, false, true};
    EXPECT_EQ(deinterlaceBlend(state, none, src, src, dst, fields), Status::nullPointer);
    EXPECT_EQ(deinterlaceBlend(state, src, none, src, dst, fields), Status::nullPointer);
    EXPECT_EQ(deinterlaceBlend(state, src, src, none, dst, fields), Status::nullPointer);
    EXPECT_EQ(deinterlaceBlend(state, src, src, src, {nullptr, 4, 4, 4}, fields), Status::nullPointer);
    EXPECT_EQ(deinterlaceBlend(state, src, {bytes, 4, 4, 3}, src, dst, fields), Status::badSize);
    EXPECT_EQ(deinterlaceBlend(stateFor(settingsOf[0], 3, 4), src, src, src, dst, fields), Status::badSize);
    EXPECT_EQ(deinterlaceBlend(stateFor(settingsOf[0], 4, 3), src, src, src, dst, fields), Status::badSize);
    EXPECT_EQ(deinterlaceBlend(DeinterlaceBlendState(), src, src, src, dst, fields), Status::badSize);
    for (const auto& [first, last] : {std::pair(-1, 1), {1, 1}, {0, 5}})
        EXPECT_EQ(deinterlaceBlendRows(state, src, src, src, dst, fields, first, last), Status::badSize);
}

}  // namespace
}  // namespace Orvel::primitives
