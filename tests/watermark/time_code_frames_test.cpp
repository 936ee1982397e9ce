#include "orvel/watermark/time_code_frames.h"

#include <gtest/gtest.h>

#include <limits>

namespace Orvel {
namespace {

constexpr TimeCodeRate ntsc30{30000, 1001}, ntsc60{60000, 1001}, film{24, 1}, pal{25, 1};

/// A clock that counts as a mechanical counter does, skipping numbers where drop-frame time code leaves them out.
struct Counter {
    unsigned base, dropped;
    TimeCodeValue value{};

    void step() {
        if (++value.frames < base) return;
        value.frames = 0;
        if (++value.seconds < 60) return;
        value.seconds = 0;
        if (++value.minutes == 60) value.minutes = 0, ++value.hours;
        if (value.hours == 24) value.hours = 0;
        if (value.minutes % 10 != 0) value.frames = dropped;
    }
};

struct Day {
    TimeCodeRate rate;
    bool dropFrame;
    unsigned base, dropped;
    std::int64_t frames;
};
constexpr Day days[] = {
    {ntsc30, true, 30, 2, 2589408}, {ntsc60, true, 60, 4, 5178816},         {ntsc30, false, 30, 0, 2592000},
    {pal, false, 25, 0, 2160000},   {{24000, 1001}, false, 24, 0, 2073600},
};

TEST(TimeCodeFrames, WholeDaysAreCountedNamedAndSteppedThrough) {
    for (const Day& day : days) {
        ASSERT_EQ(framesPerDay(day.rate, day.dropFrame), day.frames);
        Counter counter{day.base, day.dropped};
        counter.value.dropFrame = day.dropFrame;
        counter.value.bottomField = true;
        for (std::int64_t i = 0; i < day.frames; ++i) {
            const TimeCodeValue before = counter.value;
            counter.step();
            // Every frame next to a minute's end; between these the numbers are a plain count.
            if (before.seconds % 59 != 0 && i % 97 != 0) continue;
            std::int64_t count = -1;
            TimeCodeValue named{1, 2, 3, 4, true, true}, next = before, back = counter.value;
            const bool atMidnight = i == day.frames - 1;
            bool newDay = !atMidnight, dayBack = newDay;
            ASSERT_TRUE(timeCodeToFrames(before, day.rate, count) &&
                        framesToTimeCode(i, day.rate, day.dropFrame, named) && nextTimeCode(next, day.rate, &newDay) &&
                        previousTimeCode(back, day.rate, &dayBack));
            ASSERT_TRUE(!named.topField && !named.bottomField);
            named.bottomField = true;
            ASSERT_TRUE(count == i && named == before && next == counter.value && back == before &&
                        newDay == atMidnight && dayBack == atMidnight)
                << "frame " << i << " of " << day.frames;
        }
        EXPECT_EQ(counter.value, (TimeCodeValue{0, 0, 0, 0, false, true, day.dropFrame}));
    }
}

TEST(TimeCodeFrames, KnowsWholeRatesAndThoseSlowedBy1001) {
    for (int base = 1; base <= 100; ++base) {
        EXPECT_EQ(timeCodeBase({base, 1}), base);
        EXPECT_EQ(timeCodeBase({3 * base, 3}), base);
        EXPECT_EQ(timeCodeBase({base * 1000, 1001}), base);
        EXPECT_EQ(droppedNumbers({base, 1}), 0);
        EXPECT_EQ(droppedNumbers({base * 1000, 1001}), base == 30 ? 2 : base == 60 ? 4 : 0) << base;
    }
    EXPECT_EQ(droppedNumbers({60000, 2002}), 2);
    constexpr int most = std::numeric_limits<std::int32_t>::max();
    for (TimeCodeRate rate : {TimeCodeRate{},
                              {30, 0},
                              {0, 1},
                              {-30, -1},
                              {30, -1},
                              {101, 1},
                              {2997, 100},
                              {25, 2},
                              {most, 1},
                              {most, most - 1},
                              {1, most}}) {
        EXPECT_EQ(timeCodeBase(rate), 0) << rate.num << '/' << rate.den;
        EXPECT_EQ(framesPerDay(rate, false), 0);
        EXPECT_FALSE(isTimeCodeValid({}, rate));
    }
}

TEST(TimeCodeFrames, RefusesWhatNoClockShowsAndChangesNothing) {
    const struct {
        TimeCodeValue value;
        TimeCodeRate rate;
    } cases[] = {
        {{24, 0, 0, 0}, pal},
        {{0, 60, 0, 0}, pal},
        {{0, 0, 60, 0}, pal},
        {{0, 0, 0, 25}, pal},
        {{0, 0, 0, 24}, film},
        {{0, 0, 0, 4294967295u}, pal},
        {{0, 0, 0, 0, false, false, true}, pal},
        {{0, 0, 0, 0, false, false, true}, {30, 1}},
        {{0, 0, 0, 0, false, false, true}, {24000, 1001}},
        {{0, 1, 0, 0, false, false, true}, ntsc30},
        {{23, 59, 0, 1, false, false, true}, ntsc30},
        {{0, 9, 0, 3, false, false, true}, ntsc60},
    };
    for (const auto& c : cases) {
        TimeCodeValue value = c.value;
        std::int64_t count = 77;
        bool newDay = true;
        EXPECT_FALSE(isTimeCodeValid(value, c.rate));
        EXPECT_FALSE(timeCodeToFrames(value, c.rate, count));
        EXPECT_FALSE(nextTimeCode(value, c.rate, &newDay));
        EXPECT_FALSE(previousTimeCode(value, c.rate, &newDay));
        EXPECT_TRUE(value == c.value && count == 77 && newDay);
    }
    TimeCodeValue value{1, 2, 3, 4};
    EXPECT_FALSE(framesToTimeCode(-1, pal, false, value));
    EXPECT_FALSE(framesToTimeCode(2160000, pal, false, value));
    EXPECT_FALSE(framesToTimeCode(0, pal, true, value));
    EXPECT_EQ(value, (TimeCodeValue{1, 2, 3, 4}));
}

}  // namespace
}  // namespace Orvel
