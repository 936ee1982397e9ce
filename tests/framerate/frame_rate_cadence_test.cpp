// Long runs against a model of the output times in rational numbers.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "tests/framerate/converter_support.h"
#include "tests/support/pictures.h"
#include "tests/support/test_heap.h"

namespace Orvel {
namespace {

using test::Frame;

struct Rates {
    const char* name;
    std::int32_t srcNum, srcDen, dstNum, dstDen;
    friend void PrintTo(const Rates& r, std::ostream* os) { *os << r.name; }
};
constexpr Rates cadences[] = {{"Up2", 25, 1, 50, 1},           {"Down2", 50, 1, 25, 1},
                              {"Down8", 200, 1, 25, 1},        {"FilmToPal", 24000, 1001, 25, 1},
                              {"NtscToFilm", 30, 1, 24, 1},    {"Equal", 30, 1, 60, 2},
                              {"Slightly", 50, 1, 60000, 1001}};

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
    const std::int64_t period = std::int64_t{r.srcNum} * r.dstDen, unit = std::int64_t{r.srcDen} * r.dstNum;
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

/// Frames of two lines with an item of user data each are pushed and converted. Every output is tried on a heap that
/// grants only so many requests first, and made on a whole one if that refused.
class Cadence : public ::testing::TestWithParam<std::tuple<Rates, bool>> {
protected:
    static constexpr int frames = 10000;

    void run() {
        for (int n = 1; n <= frames; ++n) {
            Frame& frame = *queued.emplace_back(std::make_unique<Frame>(valueOf(n), 1, 2));
            ASSERT_TRUE(frame.addUserData(&tags[std::size_t(n - 1)]));
            ASSERT_TRUE(converter.pushImg(frame)) << "frame " << n;
            while (isDue()) ASSERT_NO_FATAL_FAILURE(convert(n));
        }
    }

    bool isDue() {
        Img* released = nullptr;
        bool due = false;
        {
            const test::FailingHeap heap(0);
            due = converter.isConverterReady(&released);
        }
        takeBack(released);
        return due;
    }

    void convert(int n) {
        Frame starved(0, 1, 2), out(0, 1, 2);
        Img* released = nullptr;
        const FieldFrameSelect sel = outputs.size() / 20 % 2 == 0 ? FieldFrameTop : FieldFrameBoth;
        const int buffered = converter.bufferedFrames(), weight = converter.lastBlendAlpha();
        bool made = false;
        {
            const test::FailingHeap heap(static_cast<int>(outputs.size() % 20));
            made = converter.rateConvert(starved, sel, &released);
        }
        if (!made) {
            ++refusals;
            ASSERT_EQ(released, nullptr);
            ASSERT_TRUE(converter.bufferedFrames() == buffered && converter.lastBlendAlpha() == weight);
            ASSERT_TRUE(test::userDataOf(starved).empty());
            ASSERT_TRUE(converter.rateConvert(out, sel, &released));
        }
        const Frame& output = made ? starved : out;
        for (void* item : test::userDataOf(output)) arrived.push_back(item), arrivedAt.push_back(outputs.size());
        outputs.push_back({n, converter.lastBlendAlpha(), output.value()});
        takeBack(released);
    }

    void takeBack(Img* released) {
        if (released == nullptr) return;
        ASSERT_FALSE(queued.empty());
        ASSERT_EQ(released, queued.front().get()) << "frames return in their order, each once";
        ASSERT_TRUE(test::userDataOf(*released).empty()) << "user data stays behind";
        queued.erase(queued.begin());  // frees it: nobody may look at it any more
    }

    /// What no output took is still here: on the queued frames or waiting.
    void drain() {
        while (converter.bufferedFrames() > 0)
            if (const Img* img = converter.popImg())
                for (void* item : test::userDataOf(*img)) arrived.push_back(item);
        while (void* item = converter.extractUserData()) arrived.push_back(item);
    }

    FrameRateConvert converter;
    std::vector<std::unique_ptr<Frame>> queued;
    std::vector<Output> outputs;
    int refusals = 0;
    std::vector<char> tags = std::vector<char>(frames);
    std::vector<void*> arrived;
    std::vector<std::size_t> arrivedAt;
};

TEST_P(Cadence, MakesTheModelsOutputsAndLosesNoItemWhateverTheHeapRefuses) {
    const auto [r, blend] = GetParam();
    ASSERT_TRUE(converter.allocate(test::rates(r.srcNum, r.srcDen, r.dstNum, r.dstDen, blend, true)));
    ASSERT_NO_FATAL_FAILURE(run());
    EXPECT_GT(refusals, 0) << "the heap refused nothing that matters";
    const std::vector<Output> expected = model(r, frames, blend);
    ASSERT_EQ(outputs.size(), expected.size());
    for (std::size_t m = 0; m < expected.size(); ++m)
        ASSERT_EQ(outputs[m], expected[m])
            << "output " << m << ": frame " << outputs[m].newest << " for " << expected[m].newest << ", weight "
            << outputs[m].weight << " for " << expected[m].weight;

    // Item n goes to the first output that knows its frame, or to the one behind it when the frame weighs less there.
    std::size_t m = 0;
    for (std::size_t n = 0; n < arrivedAt.size(); ++n) {
        const auto frame = static_cast<std::int64_t>(n) + 1;
        while (expected[m].newest < frame) ++m;
        const bool late = expected[m].newest == frame && expected[m].weight >= 128;
        ASSERT_EQ(arrivedAt[n], m + (late ? 1 : 0)) << "item " << n;
    }
    drain();
    ASSERT_EQ(arrived.size(), tags.size());
    for (std::size_t n = 0; n < tags.size(); ++n) ASSERT_EQ(arrived[n], &tags[n]);
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
