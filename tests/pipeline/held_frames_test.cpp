// The stages that look at several pictures, inside the engine: deinterlacing, noise filtering, frame-rate conversion.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "orvel/convert/convert_img.h"
#include "orvel/framerate/interpolate_img.h"
#include "tests/pipeline/engine_run.h"
#include "tests/support/test_heap.h"

namespace Orvel {
namespace {

using test::bytesOf;
using test::picture;
using test::sized;
using test::userDataOf;
using Bytes = std::vector<std::uint8_t>;

constexpr int width = 64, height = 48;

template <class T>
ProcessVideoParams<T> deinterlacing(DeinterlaceType type) {
    auto p = sized<T>(width, height);
    p.srcProgressive = false;
    p.deinterlaceType = type;
    return p;
}

template <class T>
ProcessVideoParams<T> rates(std::uint32_t srcNum, std::uint32_t srcDen, std::uint32_t dstNum, std::uint32_t dstDen) {
    auto p = sized<T>(width, height);
    p.srcFrameRateNum = srcNum, p.srcFrameRateDen = srcDen;
    p.dstFrameRateNum = dstNum, p.dstFrameRateDen = dstDen;
    return p;
}

/// Everything that comes out for one source picture.
template <class T>
std::vector<Bytes> outputsFor(ProcessVideo<T>& engine, Img& src, std::vector<void*>* items = nullptr) {
    std::vector<Bytes> outputs;
    bool ok = false;
    for (T* out = engine.process(src, ok); out != nullptr; out = engine.isOutputAvailable(ok)) {
        outputs.push_back(bytesOf(*out));
        if (items != nullptr)
            for (void* item : userDataOf(*out)) items->push_back(item);
        EXPECT_TRUE(engine.returnImg(out));
    }
    EXPECT_TRUE(ok);
    return outputs;
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

TEST(DeinterlaceStage, GivesWhatTheDeinterlacerGives) {
    const auto check = []<class T>(T, DeinterlaceType type) {
        auto p = deinterlacing<T>(type);
        ProcessVideo<T> engine;
        ASSERT_TRUE(engine.allocate(p));
        EXPECT_TRUE(engine.hasDeinterlacing());
        const std::unique_ptr<DeinterlaceImg> alone(DeinterlaceImg::newAlloc(type));
        ASSERT_TRUE(alone->allocate(p.deinterlaceParams));
        std::vector<std::unique_ptr<T>> sources;
        for (unsigned i = 0; i < 5; ++i) {
            sources.push_back(picture<T>(width, height, i + 1));
            const auto source = picture<T>(width, height, i + 1);
            const auto outputs = outputsFor(engine, *source);
            EXPECT_TRUE(source->set(0));  // the engine must not look at the caller's picture again
            ASSERT_TRUE(alone->pushImg(*sources.back()));
            const bool full = alone->bufferedFrames() == alone->requiredFrames();
            ASSERT_EQ(outputs.size(), full ? 1u : 0u) << "picture " << i;
            if (!full) continue;
            const auto expected = picture<T>(width, height);
            ASSERT_TRUE(alone->deinterlace(*expected, nullptr));
            EXPECT_EQ(outputs[0], bytesOf(*expected)) << "picture " << i;
        }
    };
    check(I420Img(), DeinterlaceTypeTriangle);
    check(I420Img(), DeinterlaceTypeCAVT);
    check(I420Img(), DeinterlaceTypeBlend);
    check(YV16Img(), DeinterlaceTypeBlend);
    check(HY16Img(), DeinterlaceTypeTriangle);
}

TEST(DeinterlaceStage, ARecordOfAnotherDeinterlacerFailsEveryPictureAndLosesNone) {
    auto p = deinterlacing<HY16Img>(DeinterlaceTypeCAVT);
    p.keepUserData = true;
    p.deinterlaceParams = DeinterlaceImgParams::newAlloc(DeinterlaceTypeTriangle);
    ProcessVideo<HY16Img> engine;
    ASSERT_TRUE(engine.allocate(p));
    expectRefused(engine, *picture<V216Img>(width, height));
    auto unknown = deinterlacing<I420Img>(static_cast<DeinterlaceType>(3));
    DeinterlaceCAVTImgParams mine;
    unknown.deinterlaceParams = &mine;
    EXPECT_FALSE(ProcessVideo<I420Img>().allocate(unknown));
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

TEST(RateStage, GivesWhatTheBlendingGives) {
    auto p = rates<I420Img>(25, 1, 50, 1);
    ProcessVideo<I420Img> engine;
    ASSERT_TRUE(engine.allocate(p));
    EXPECT_TRUE(engine.hasFrameRateConversion());
    const std::vector<std::vector<int>> weights = {{}, {255, 130, 2}, {130, 2}, {130, 2}};
    std::unique_ptr<I420Img> earlier;
    for (std::size_t i = 0; i < weights.size(); ++i) {
        auto source = picture<I420Img>(width, height, unsigned(i) + 1);
        const auto copy = picture<I420Img>(width, height, unsigned(i) + 1);
        bool ok = false;
        I420Img* out = engine.process(*source, ok);
        EXPECT_TRUE(source->set(0));  // the engine must not look at the caller's picture again
        for (int weight : weights[i]) {
            ASSERT_NE(out, nullptr);
            int alpha = 0, scale = 0;
            engine.lastBlendAlpha(alpha, scale);
            EXPECT_EQ(std::pair(alpha, scale), std::pair(weight, 255));
            I420Img expected;
            ASSERT_TRUE(expected.allocate(width, height, 1));
            ASSERT_TRUE(InterpolateImg::frameInterpolate(expected, *earlier, *copy, unsigned(weight), FieldFrameBoth));
            EXPECT_EQ(bytesOf(*out), bytesOf(expected));
            engine.returnImg(out);
            out = engine.isOutputAvailable(ok);
            EXPECT_TRUE(ok);
        }
        EXPECT_EQ(out, nullptr);
        earlier = picture<I420Img>(width, height, unsigned(i) + 1);
    }
}

TEST(RateStage, RepeatsASmallerPictureOnThePaintedCanvas) {
    auto p = rates<I420Img>(30, 1, 60, 1);
    p.frameRateBlend = 0;
    p.dstWidth = 2 * width, p.dstHeight = 2 * height;
    p.dstCropWidth = width, p.dstCropHeight = height;  // nothing is scaled
    p.backgroundY = 16;
    ProcessVideo<I420Img> engine;
    ASSERT_TRUE(engine.allocate(p));
    const auto src = picture<I420Img>(width, height);
    I420Img expected;
    ASSERT_TRUE(expected.allocate(2 * width, 2 * height, 1) && expected.set(128) && expected.setPlane(0, 16));
    ASSERT_TRUE(src->copy(expected));
    const test::HeapFill anyBytes(190);
    EXPECT_TRUE(outputsFor(engine, *src).empty());
    for (int i = 0; i < 3; ++i)
        for (const Bytes& out : outputsFor(engine, *src)) EXPECT_EQ(out, bytesOf(expected));
}

/// Whether the engine takes pictures again once the heap does, by process() alone, as at rates that go down.
TEST(RateStage, GoesOnAfterAHeapThatFailedToKeepUserData) {
    int failures = 0;
    for (int granted = 0; granted < 60; ++granted) {
        auto p = rates<I420Img>(50, 1, 25, 1);
        p.keepUserData = true;
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

TEST(RateStage, IsBuiltWhenTheNumbersDifferAndChoosesBlendingBySpeed) {
    const auto lastWeights = [](ProcessVideoParams<I420Img> p) {
        ProcessVideo<I420Img> engine;
        EXPECT_TRUE(engine.allocate(p));
        std::vector<int> weights;
        for (unsigned i = 0; i < 3; ++i) {
            const auto source = picture<I420Img>(width, height, i);
            bool ok = false;
            for (I420Img* out = engine.process(*source, ok); out != nullptr; out = engine.isOutputAvailable(ok)) {
                int alpha = 0, scale = 0;
                engine.lastBlendAlpha(alpha, scale);
                weights.push_back(alpha);
                engine.returnImg(out);
            }
        }
        return weights;
    };
    auto same = rates<I420Img>(30, 1, 60, 2);
    EXPECT_EQ(lastWeights(same), (std::vector<int>{255, 0, 0})) << "equal rates do not blend by themselves";
    same.frameRateBlend = 1;
    EXPECT_EQ(lastWeights(same), (std::vector<int>{255, 2, 2}));
    auto up = rates<I420Img>(25, 1, 50, 1);
    EXPECT_EQ(lastWeights(up), (std::vector<int>{255, 130, 2, 130, 2}));
    up.frameRateBlend = 0;
    EXPECT_EQ(lastWeights(up), (std::vector<int>{255, 255, 0, 255, 0}));
    auto huge = rates<I420Img>(25, 1, 0x80000000u, 1);
    EXPECT_FALSE(ProcessVideo<I420Img>().allocate(huge));
    auto none = rates<I420Img>(0, 1, 25, 1);
    EXPECT_FALSE(ProcessVideo<I420Img>().allocate(none));
}

TEST(FilterStage, GivesWhatTheFilterGives) {
    const auto check = []<class Filter>(Filter alone, bool interlaced) {
        auto p = sized<I420Img>(96, 80);
        p.srcProgressive = p.dstProgressive = !interlaced;
        p.mctfEnable = true;
        p.mctfParams.strength = 5;
        ProcessVideo<I420Img> engine;
        ASSERT_TRUE(engine.allocate(p));
        EXPECT_TRUE(engine.hasMCTF());
        EXPECT_EQ(p.mctfParams.width, 96);
        ASSERT_TRUE(alone.allocate(p.mctfParams));
        std::vector<std::unique_ptr<I420Img>> sources;
        for (unsigned i = 0; i < 5; ++i) {
            sources.push_back(picture<I420Img>(96, 80, i + 1));
            const auto source = picture<I420Img>(96, 80, i + 1);
            const auto outputs = outputsFor(engine, *source);
            EXPECT_EQ(bytesOf(*source), bytesOf(*picture<I420Img>(96, 80, i + 1))) << "the caller's picture changed";
            EXPECT_TRUE(source->set(0));  // the engine must not look at it again
            ASSERT_TRUE(alone.pushImg(sources.back().get()));
            ASSERT_EQ(outputs.size(), i == 0 ? 0u : 1u);
            if (i == 0) continue;
            const auto expected = picture<I420Img>(96, 80);
            ASSERT_TRUE(alone.filter(*expected, nullptr));
            EXPECT_EQ(outputs[0], bytesOf(*expected)) << "picture " << i;
        }
    };
    check.operator()<MCTFFastProgressive<I420Img>>({}, false);
    check.operator()<MCTFFastInterlaced<I420Img>>({}, true);
}

TEST(FilterStage, RefusesACanvasItCannotFilterAndPicturesThatDoNotFillIt) {
    auto small = sized<I420Img>(62, 48);
    small.mctfEnable = true;
    EXPECT_FALSE(ProcessVideo<I420Img>().allocate(small));
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
            outputsFor(engine, *src, &items);
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

/// What an interlaced pipeline makes of src, and the same from its fields, each run through a progressive one.
template <class T>
void expectFieldsApart(Img& src, T& planar, int dstWidth, int dstHeight, ResizeInterp interp) {
    auto p = sized<T>(width, height);
    p.srcProgressive = p.dstProgressive = false;
    p.dstWidth = dstWidth, p.dstHeight = dstHeight, p.resizeInterp = interp;
    ProcessVideo<T> whole;
    ASSERT_TRUE(whole.allocate(p));
    const auto out = test::run(whole, src);
    ASSERT_NE(out.img, nullptr);

    auto half = sized<T>(width, height / 2);
    half.dstWidth = dstWidth, half.dstHeight = dstHeight / 2, half.resizeInterp = p.resizeInterp;
    ProcessVideo<T> apart;
    ASSERT_TRUE(apart.allocate(half));
    for (bool top : {true, false}) {
        T field;
        Img expected;
        top ? planar.getTopFieldShadow(field) : planar.getBottomFieldShadow(field);
        top ? out->getTopFieldShadow(expected) : out->getBottomFieldShadow(expected);
        const auto made = test::run(apart, field);
        ASSERT_NE(made.img, nullptr);
        EXPECT_EQ(bytesOf(*made), bytesOf(expected)) << "top " << top << " method " << interp;
    }
}

TEST(Interlaced, APipelineIsTheWeaveOfTheFieldPipelines) {
    const auto uyvy = picture<UYVYImg>(width, height), other = picture<UYVYImg>(width, height, 2);
    YV16Img planar;
    ASSERT_TRUE(planar.allocate(width, height, 1) && ConvertImg::UYVYToYV16(planar, *uyvy));
    I420Img planar420;
    ASSERT_TRUE(planar420.allocate(width, height, 1) && ConvertImg::UYVYToI420(planar420, *other, true));
    for (const auto& [w, h] : {std::pair(width, height), std::pair(48, 32), std::pair(80, 64), std::pair(48, 64)})
        for (ResizeInterp interp :
             {ResizeInterpNone, ResizeInterpLinear, ResizeInterpLanczos, ResizeInterpHannFilter}) {
            expectFieldsApart<YV16Img>(*uyvy, planar, w, h, interp);
            expectFieldsApart<I420Img>(*other, planar420, w, h, interp);
        }
}

}  // namespace
}  // namespace Orvel
