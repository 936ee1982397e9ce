// The stages that look at several pictures, inside the engine: deinterlacing, noise filtering, frame-rate conversion.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "tests/pipeline/engine_run.h"
#include "tests/support/test_heap.h"

namespace Orvel {
namespace {

using test::picture;
using test::sized;
using test::userDataOf;

constexpr int width = 64, height = 48;

template <class T>
ProcessVideoParams<T> deinterlacing(DeinterlaceType type) {
    auto p = sized<T>(width, height);
    p.srcProgressive = false;
    p.deinterlaceType = type;
    return p;
}

/// Adds the user data of everything that comes out for one source picture to items.
template <class T>
void outputsFor(ProcessVideo<T>& engine, Img& src, std::vector<void*>& items) {
    bool ok = false;
    for (T* out = engine.process(src, ok); out != nullptr; out = engine.isOutputAvailable(ok)) {
        for (void* item : userDataOf(*out)) items.push_back(item);
        EXPECT_TRUE(engine.returnImg(out));
    }
    EXPECT_TRUE(ok);
}

/// The engine fails with src, each time, and src keeps its user data.
template <class T>
void expectRefused(ProcessVideo<T>& engine, Img& src) {
    int mark = 0;
    ASSERT_TRUE(src.addUserData(&mark));
    for (int i = 0; i < 3; ++i) {
        bool ok = true;
        EXPECT_EQ(engine.process(src, ok), nullptr);
        EXPECT_FALSE(ok);
        EXPECT_EQ(userDataOf(src), std::vector<void*>{&mark});
    }
}

TEST(DeinterlaceStage, ARecordOfAnotherDeinterlacerFailsEveryPictureAndLosesNone) {
    auto p = deinterlacing<HY16Img>(DeinterlaceTypeCAVT);
    p.keepUserData = true;
    p.deinterlaceParams = DeinterlaceImgParams::newAlloc(DeinterlaceTypeTriangle);
    ProcessVideo<HY16Img> engine;
    ASSERT_TRUE(engine.allocate(p));
    expectRefused(engine, *picture<V216Img>(width, height));
}

TEST(DeinterlaceStage, APictureItCannotDoLeavesTheQueue) {
    auto p = deinterlacing<I420Img>(DeinterlaceTypeTriangle);
    p.cropHeight = 4;  // two rows of chroma are too few
    p.keepUserData = true;
    ProcessVideo<I420Img> engine;
    ASSERT_TRUE(engine.allocate(p));
    expectRefused(engine, *picture<I420Img>(width, height));
    engine.flush();
    EXPECT_EQ(engine.extractUserData(), nullptr);
}

/// Whether the engine takes pictures again once the heap does, by process() alone, as at rates that go down.
TEST(RateStage, GoesOnAfterAHeapThatFailedToKeepUserData) {
    int failures = 0;
    for (int granted = 0; granted < 60; ++granted) {
        auto p = sized<I420Img>(width, height);
        p.srcFrameRateNum = 50, p.dstFrameRateNum = 25, p.keepUserData = true;
        ProcessVideo<I420Img> engine;
        ASSERT_TRUE(engine.allocate(p));
        std::array<int, 64> marks;
        std::size_t i = 0;
        const auto push = [&](bool& ok) {
            const auto src = picture<I420Img>(width, height);
            // More at a time than anything has room for.
            for (int k = 0; k < 6; ++k) ASSERT_TRUE(src->addUserData(&marks[i++]));
            const test::FailingHeap heap(i == 18 ? granted : 1 << 20);
            I420Img* out = engine.process(*src, ok);
            EXPECT_TRUE(out == nullptr || engine.returnImg(out));
        };
        bool ok = false;
        push(ok), push(ok), push(ok);
        failures += test::refusedRequests() > 0;
        for (int i = 0; i < 3; ++i) push(ok);
        EXPECT_TRUE(ok) << granted;
    }
    EXPECT_GT(failures, 0);
}

TEST(FilterStage, RefusesPicturesThatDoNotFillTheCanvas) {
    auto p = sized<I420Img>(64, 64);
    p.mctfEnable = p.keepUserData = true;
    p.dstWidth = 96, p.dstCropWidth = 64;  // a picture that is not scaled
    ProcessVideo<I420Img> engine;
    ASSERT_TRUE(engine.allocate(p));
    expectRefused(engine, *picture<I420Img>(64, 64));
}

/// A pipeline with all stages, one mark for each source picture.
struct Marked {
    explicit Marked(std::uint32_t dstRate) {
        auto p = deinterlacing<I420Img>(DeinterlaceTypeBlend);
        p.srcFrameRateNum = 25, p.dstFrameRateNum = dstRate;
        p.dstWidth = 80, p.dstHeight = 40;
        p.mctfEnable = true;
        p.keepUserData = true;
        EXPECT_TRUE(engine.allocate(p));
        for (std::size_t i = 0; i < marks.size(); ++i) expected.push_back(&marks[i]);
    }
    void feed(std::size_t first, std::size_t last) {
        for (std::size_t i = first; i < last; ++i) {
            const auto src = picture<UYVYImg>(width, height, unsigned(i) + 1);
            EXPECT_TRUE(src->addUserData(&marks[i]));
            outputsFor(engine, *src, items);
            EXPECT_EQ(src->getUserData(nullptr), nullptr);
        }
    }
    void flush() {
        engine.flush();
        while (void* item = engine.extractUserData()) items.push_back(item);
    }

    ProcessVideo<I420Img> engine;
    std::array<int, 12> marks;
    std::vector<void*> expected, items;  ///< all marks in order; those that came out or were flushed
};

TEST(HeldFrames, UserDataIsNeitherLostNorDoubled) {
    for (std::uint32_t dstRate : {25u, 50u, 60u, 24u, 10u, 1u})
        for (std::size_t count = 0; count <= 12; ++count) {
            Marked run(dstRate);
            run.feed(0, count);
            run.flush();
            std::sort(run.items.begin(), run.items.end());
            EXPECT_EQ(run.items, std::vector<void*>(run.expected.begin(), run.expected.begin() + std::ptrdiff_t(count)))
                << count << " pictures, 25 to " << dstRate;
        }
}

TEST(HeldFrames, FlushGivesUserDataStageByStage) {
    Marked run(50);
    run.feed(0, 7);
    const auto src = picture<UYVYImg>(width, height, 8);
    ASSERT_TRUE(src->addUserData(&run.marks[7]));
    bool ok = false;
    I420Img* out = run.engine.process(*src, ok);  // the first of two outputs, nearer to the older picture
    ASSERT_NE(out, nullptr);
    EXPECT_TRUE(run.engine.returnImg(out));
    run.items.clear();
    run.flush();
    // The deinterlacer's queue is dropped first, though its picture came later; the filter's data went on with its
    // picture; then comes what the converter held.
    EXPECT_EQ(run.items, (std::vector<void*>{&run.marks[7], &run.marks[6]}));
    run.items.clear();
    run.flush();
    EXPECT_TRUE(run.items.empty());
}

TEST(HeldFrames, TheEngineGoesOnAfterAFlush) {
    for (std::size_t first : {1u, 2u, 5u}) {
        Marked run(50);
        run.feed(0, first);
        run.flush();
        run.feed(first, 12);
        run.flush();
        std::sort(run.items.begin(), run.items.end());
        EXPECT_EQ(run.items, run.expected) << "flushed after " << first;
    }
}

/// Fails one call of process() in every way that the heap can make it fail.
void expectNoUserDataIsLost(std::size_t before) {
    int failures = 0;
    for (int granted = 0; granted < 200; ++granted) {
        Marked run(50);
        run.feed(0, before);
        const auto src = picture<UYVYImg>(width, height, 9);
        ASSERT_TRUE(src->addUserData(&run.marks[before]));
        bool ok = false;
        I420Img* out = nullptr;
        {
            const test::FailingHeap heap(granted);
            out = run.engine.process(*src, ok);
        }
        const bool failed = !ok;
        failures += failed;
        for (void* item : userDataOf(*src)) run.items.push_back(item);
        for (; out != nullptr; out = run.engine.isOutputAvailable(ok)) {
            for (void* item : userDataOf(*out)) run.items.push_back(item);
            run.engine.returnImg(out);
        }
        run.flush();
        std::sort(run.items.begin(), run.items.end());
        ASSERT_EQ(run.items, std::vector<void*>(run.expected.begin(), run.expected.begin() + int(before) + 1))
            << granted << " requests granted after " << before << " pictures";
        if (!failed && granted > 0) break;
    }
    EXPECT_GT(failures, 0);
}

TEST(HeldFrames, AFailingHeapLosesNoUserData) {
    expectNoUserDataIsLost(4);
    expectNoUserDataIsLost(2);  // the deinterlacer's first output brings the data of two pictures
}

}  // namespace
}  // namespace Orvel
