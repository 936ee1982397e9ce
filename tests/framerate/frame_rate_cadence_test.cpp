// Long runs against a model of the output times in rational numbers.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "tests/framerate/converter_support.h"

namespace Orvel {
namespace {

using test::Frame;

struct Rates {
    const char* name;
    std::int64_t srcNum, srcDen, dstNum, dstDen;
    friend void PrintTo(const Rates& r, std::ostream* os) { *os << r.name; }
};
constexpr Rates cadences[] = {{"Up2", 25, 1, 50, 1},        {"Down2", 50, 1, 25, 1}, {"FilmToPal", 24000, 1001, 25, 1},
                              {"NtscToFilm", 30, 1, 24, 1}, {"Equal", 30, 1, 60, 2}, {"Slightly", 50, 1, 60000, 1001}};

struct Output {
    std::int64_t newest;  ///< the later frame of its pair, counted from 1; the other one is the frame before
    int weight;           ///< of the older frame
    int value;
    bool operator==(const Output&) const = default;
};

int valueOf(std::int64_t frame) {
    return static_cast<int>(frame * 89 % 256);
}

/// Frame n stands at the time n - 1, in source frames, output m at m * src / dst; an output is made as soon as a frame,
/// other than the first, stands at its time or later. Its older frame weighs 255 times the part of a frame that the
/// newest one is ahead of the output, plus 127 / unit, rounded down.
std::vector<Output> model(const Rates& r, std::int64_t frames, bool blend) {
    std::vector<Output> outputs;
    const std::int64_t period = r.srcNum * r.dstDen, unit = r.srcDen * r.dstNum;  // src / dst = period / unit
    for (std::int64_t m = 0;; ++m) {
        const std::int64_t first = std::max<std::int64_t>((m * period + unit - 1) / unit, 1);
        if (first + 1 > frames) return outputs;
        const std::int64_t lead = first * unit - m * period;  // of the newest frame before the output, times unit
        int weight = static_cast<int>(std::min<std::int64_t>((255 * lead + 127) / unit, 255));
        if (!blend) weight = 2 * weight > 255 ? 255 : 0;
        const int older = valueOf(first), newer = valueOf(first + 1);
        outputs.push_back({first + 1, weight, (2 * (weight * older + (255 - weight) * newer) + 255) / 510});
    }
}

class Cadence : public ::testing::TestWithParam<std::tuple<Rates, bool>> {
protected:
    static constexpr int frames = 10000;

    /// Pushes all frames, collects the outputs and checks that the frames come back in order.
    void run() {
        const auto [r, blend] = GetParam();
        const auto narrow = [](std::int64_t v) { return static_cast<std::int32_t>(v); };
        ASSERT_TRUE(converter.allocate(
            test::rates(narrow(r.srcNum), narrow(r.srcDen), narrow(r.dstNum), narrow(r.dstDen), blend, true)));
        for (int n = 1; n <= frames; ++n) {
            Frame& frame = *queued.emplace_back(std::make_unique<Frame>(valueOf(n)));
            ASSERT_TRUE(frame.addUserData(&tags[std::size_t(n - 1)]));
            ASSERT_TRUE(converter.pushImg(frame)) << "frame " << n;
            ASSERT_NO_FATAL_FAILURE(convertAll(n));
        }
    }

    void convertAll(int n) {
        Img* released = nullptr;
        while (converter.isConverterReady(&released)) {
            Frame out;
            ASSERT_TRUE(converter.rateConvert(out, FieldFrameBoth, &released));
            outputs.push_back({n, converter.lastBlendAlpha(), out.value()});
            for (void* item : test::itemsOf(out)) arrived.push_back(item), arrivedAt.push_back(outputs.size() - 1);
            takeBack(released);
        }
        takeBack(released);
    }

    void takeBack(Img* released) {
        if (released == nullptr) return;
        ASSERT_FALSE(queued.empty());
        ASSERT_EQ(released, queued.front().get()) << "frames return in their order, each once";
        ASSERT_TRUE(test::itemsOf(*released).empty()) << "user data stays behind";
        queued.erase(queued.begin());  // frees it: nobody may look at it any more
    }

    FrameRateConvert converter;
    std::vector<std::unique_ptr<Frame>> queued;
    std::vector<Output> outputs;
    std::vector<char> tags = std::vector<char>(frames);
    std::vector<void*> arrived;
    std::vector<std::size_t> arrivedAt;
};

TEST_P(Cadence, EqualsRationalTimesWithoutDrift) {
    const auto [r, blend] = GetParam();
    ASSERT_NO_FATAL_FAILURE(run());
    const std::vector<Output> expected = model(r, frames, blend);
    ASSERT_EQ(outputs.size(), expected.size());
    for (std::size_t m = 0; m < expected.size(); ++m)
        ASSERT_EQ(outputs[m], expected[m])
            << "output " << m << ": frame " << outputs[m].newest << " for " << expected[m].newest << ", weight "
            << outputs[m].weight << " for " << expected[m].weight;
}

TEST_P(Cadence, EveryItemArrivesOnceInOrderWithTheOutputOfItsFrame) {
    const auto [r, blend] = GetParam();
    ASSERT_NO_FATAL_FAILURE(run());
    // Item n goes to the first output that knows its frame, or to the one behind it when the frame weighs less there.
    const std::vector<Output> expected = model(r, frames, blend);
    std::size_t m = 0;
    for (std::size_t n = 0; n < arrived.size(); ++n) {
        ASSERT_EQ(arrived[n], &tags[n]);
        const auto frame = static_cast<std::int64_t>(n) + 1;
        while (expected[m].newest < frame) ++m;
        const bool late = expected[m].newest == frame && expected[m].weight >= 128;
        ASSERT_EQ(arrivedAt[n], m + (late ? 1 : 0)) << "item " << n;
    }
    // What no output took is still here: on the queued frames or waiting, in this order.
    std::vector<void*> rest;
    const auto take = [&](const Img* img) {
        for (void* item : test::itemsOf(*img)) rest.push_back(item);
    };
    while (converter.bufferedFrames() > 0)
        if (const Img* img = converter.popImg()) take(img);
    while (void* item = converter.extractUserData()) rest.push_back(item);
    ASSERT_EQ(arrived.size() + rest.size(), tags.size());
    for (std::size_t i = 0; i < rest.size(); ++i) EXPECT_EQ(rest[i], &tags[arrived.size() + i]);
}

INSTANTIATE_TEST_SUITE_P(Rates, Cadence, ::testing::Combine(::testing::ValuesIn(cadences), ::testing::Bool()),
                         [](const auto& info) {
                             return std::string(std::get<0>(info.param).name) +
                                    (std::get<1>(info.param) ? "Blend" : "Repeat");
                         });

/// floor((255 * acc + 127) / inc) by comparing products of 32-bit halves.
int wideWeight(std::uint64_t acc, std::uint64_t inc) {
    const auto product = [](std::uint64_t factor, std::uint64_t value, std::uint64_t add) {
        const std::uint64_t low = factor * (value & 0xFFFFFFFF) + add;
        return std::pair(factor * (value >> 32) + (low >> 32), low & 0xFFFFFFFF);
    };
    std::uint64_t weight = 255;
    while (product(weight, inc, 0) > product(255, acc, 127)) --weight;
    return static_cast<int>(weight);
}

TEST(ExtremeRates, KeepExactWeights) {
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    for (const auto& p : {test::rates(most - 1, most - 18, most, most), test::rates(most / 3, most, most, most - 60),
                          test::rates(most, most, most / 2, most), test::rates(1, most, 7, most)}) {
        FrameRateConvert converter;
        ASSERT_TRUE(converter.allocate(p));
        const auto inc = std::int64_t{p.dstRateNum} * p.srcRateDen, dec = std::int64_t{p.srcRateNum} * p.dstRateDen;
        Frame frame, out;
        Img* released = nullptr;
        std::int64_t acc = -inc;
        int made = 0;
        for (int n = 1; n <= 300; ++n) {
            ASSERT_TRUE(converter.pushImg(frame));
            acc += inc;
            for (; converter.isConverterReady(&released); acc -= dec, ++made) {
                ASSERT_TRUE(converter.rateConvert(out, FieldFrameBoth, &released));
                ASSERT_EQ(converter.lastBlendAlpha(), wideWeight(std::uint64_t(acc), std::uint64_t(inc)));
            }
            ASSERT_TRUE(n == 1 || acc < 0);
        }
        EXPECT_GE(made, 140);
    }
}

TEST(ExtremeRates, PushingWithoutConvertingNeverOverflows) {
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    FrameRateConvert converter;
    ASSERT_TRUE(converter.allocate(test::rates(1, most, most, 1)));
    Frame frame, out;
    Img* released = nullptr;
    for (int i = 0; i < 20; ++i) {
        while (converter.pushImg(frame)) {
        }
        ASSERT_TRUE(converter.isConverterReady(&released));
        ASSERT_TRUE(converter.rateConvert(out, FieldFrameBoth, &released));
        ASSERT_EQ(converter.lastBlendAlpha(), 255);
        while (converter.bufferedFrames() > 0) converter.popImg();
    }
}

}  // namespace
}  // namespace Orvel
