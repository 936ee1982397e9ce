#include "orvel/pipeline/process_video.h"

#include <gtest/gtest.h>

#include <functional>

#include "tests/pipeline/engine_run.h"
#include "tests/support/test_heap.h"

namespace Orvel {
namespace {

using test::bytesOf;
using test::fillRandom;
using test::picture;
using test::run;
using test::sized;

TEST(ProcessVideo, APictureWithNothingToDoComesBackAsACopyOrAsItself) {
    for (bool copy : {true, false}) {
        auto p = sized<I420Img>(64, 32);
        p.copyUnprocessed = copy;
        p.keepUserData = true;
        ProcessVideo<I420Img> engine;
        ASSERT_TRUE(engine.allocate(p));
        const auto src = picture<I420Img>(64, 32);
        int mark = 0;
        ASSERT_TRUE(src->addUserData(&mark));
        bool ok = false;
        I420Img* out = engine.process(*src, ok);
        ASSERT_TRUE(ok);
        EXPECT_EQ(out == src.get(), !copy);
        EXPECT_EQ(bytesOf(*out), bytesOf(*src));
        EXPECT_EQ(out->getUserData(nullptr), &mark);
        EXPECT_EQ(engine.returnImg(out), copy);
        EXPECT_EQ(out == nullptr, copy);
    }
}

TEST(ProcessVideo, RefusesPicturesOfAnotherSizeOrFormat) {
    auto p = sized<I420Img>(64, 32);
    ProcessVideo<I420Img> engine;
    ASSERT_TRUE(engine.allocate(p));
    std::vector<std::unique_ptr<Img>> others;
    for (const auto& [width, height] : {std::pair{64, 31}, {64, 33}, {62, 32}})
        others.push_back(picture<I420Img>(width, height));
    others.push_back(picture<BGRImg>(64, 32));
    others.push_back(picture<YV16Img>(64, 32));
    others.push_back(std::make_unique<Img>());
    for (const auto& other : others) {
        bool ok = true;
        EXPECT_EQ(engine.process(*other, ok), nullptr) << other->getWidth(0) << " x " << other->getHeight(0);
        EXPECT_FALSE(ok);
    }
    const auto mine = picture<I420Img>(64, 32);
    I420Img* foreign = mine.get();
    EXPECT_FALSE(engine.returnImg(foreign));
    EXPECT_EQ(foreign, mine.get());
}

TEST(ProcessVideo, InterlacedYUYVHasNoWayTo420) {
    auto p = sized<I420Img>(48, 24);
    p.srcProgressive = p.dstProgressive = false;
    ProcessVideo<I420Img> engine;
    ASSERT_TRUE(engine.allocate(p));
    EXPECT_EQ(run(engine, *picture<YUYVImg>(48, 24)).img, nullptr);
}

TEST(ProcessVideo, RefusesParametersThatNoStageTakes) {
    using P = ProcessVideoParams<I420Img>;
    DeinterlaceCAVTImgParams record;
    const std::pair<const char*, std::function<void(P&)>> faults[] = {
        {"refused by validation", [](P& p) { p.cropX = 65; }},
        {"negative crop", [](P& p) { p.cropHeight = -8; }},
        {"rectangle outside the canvas derived", [](P& p) { p.cropWidth = 32, p.dstCropWidth = 40; }},
        {"rate above 31 bits", [](P& p) { p.dstFrameRateNum = 0x80000000u; }},
        {"no rate", [](P& p) { p.srcFrameRateNum = 0, p.dstFrameRateNum = 25; }},
        {"canvas too small for the filter", [](P& p) { p.dstWidth = 62, p.mctfEnable = true; }},
        {"no such method", [](P& p) { p.dstWidth = 20, p.resizeInterp = static_cast<ResizeInterp>(3); }},
        {"no such deinterlacer",
         [&](P& p) {
             p.srcProgressive = false;
             p.deinterlaceType = static_cast<DeinterlaceType>(3);
             p.deinterlaceParams = &record;
         }},
    };
    for (const auto& [name, fault] : faults) {
        auto p = sized<I420Img>(64, 48);
        fault(p);
        EXPECT_FALSE(ProcessVideo<I420Img>().allocate(p)) << name;
    }
    for (ResizeInterp method :
         {ResizeInterpNone, ResizeInterpSuperSampling, ResizeInterpLanczosFilter, ResizeInterpHannFilter}) {
        auto deep = sized<HY16Img>(64, 48);  // these are for 8 bits
        deep.dstWidth = 32, deep.dstHeight = 24, deep.resizeInterp = method;
        EXPECT_FALSE(ProcessVideo<HY16Img>().allocate(deep)) << method;
        auto p = sized<YV16Img>(64, 48);
        p.dstWidth = 32, p.dstHeight = 24, p.resizeInterp = method;
        EXPECT_TRUE(ProcessVideo<YV16Img>().allocate(p)) << method;
    }
}

TEST(ProcessVideo, UserDataTravelsOnceAndOnlyWhenAsked) {
    for (bool keep : {true, false}) {
        auto p = sized<I420Img>(64, 48);
        p.dstWidth = 32, p.dstHeight = 24, p.keepUserData = keep;
        ProcessVideo<I420Img> engine;
        ASSERT_TRUE(engine.allocate(p));
        int marks[3];
        for (int& mark : marks) {
            const auto src = picture<UYVYImg>(64, 48);
            ASSERT_TRUE(src->addUserData(&mark));
            const auto out = run(engine, *src);
            ASSERT_NE(out.img, nullptr);
            EXPECT_EQ(out->getUserData(nullptr), keep ? &mark : nullptr);
            EXPECT_EQ(out->getUserData(&mark), nullptr) << "something of an earlier frame came along";
        }
        EXPECT_EQ(engine.extractUserData(), nullptr);
    }
}

TEST(ProcessVideo, AnEngineIsAllocatedOnce) {
    auto p = sized<I420Img>(64, 48);
    ProcessVideo<I420Img> engine;
    ASSERT_TRUE(engine.allocate(p));
    bool ok = false;
    I420Img* out = engine.process(*picture<I420Img>(64, 48), ok);
    ASSERT_NE(out, nullptr);
    engine.deallocate();
    engine.deallocate();
    EXPECT_TRUE(engine.returnImg(out)) << "a picture still out is taken back";
    EXPECT_FALSE(engine.allocate(p));
    int alpha = -1, scale = -1;
    engine.lastBlendAlpha(alpha, scale);
    EXPECT_EQ(alpha, 0);
    EXPECT_EQ(scale, 255);
    EXPECT_EQ(engine.isOutputAvailable(ok), nullptr);
    EXPECT_TRUE(ok);
}

TEST(ProcessVideo, AFailedAllocateLeavesTheCallersRecordToTheCaller) {
    auto p = sized<I420Img>(64, 48);
    p.srcProgressive = false;
    p.dstWidth = 20, p.dstCropWidth = 20, p.resizeInterp = static_cast<ResizeInterp>(3);  // no such method
    ProcessVideo<I420Img> engine;
    EXPECT_FALSE(engine.allocate(p));
    EXPECT_EQ(p.deinterlaceParams, nullptr);
    DeinterlaceImgParams* mine = DeinterlaceImgParams::newAlloc(DeinterlaceTypeCAVT);
    p.deinterlaceParams = mine;
    EXPECT_FALSE(engine.allocate(p));
    EXPECT_EQ(p.deinterlaceParams, mine);
    DeinterlaceImgParams::deleteDealloc(mine);
}

TEST(ProcessVideo, AllocatingTwiceWithTheEnginesOwnRecordEndsIt) {
    auto p = sized<I420Img>(64, 48);
    p.srcProgressive = false;
    ProcessVideo<I420Img> engine;
    ASSERT_TRUE(engine.allocate(p));
    ASSERT_NE(p.deinterlaceParams, nullptr);
    EXPECT_FALSE(engine.allocate(p));
    EXPECT_EQ(p.deinterlaceParams, nullptr) << "the engine freed what it owned";
    EXPECT_FALSE(engine.hasDeinterlacing());
}

TEST(ProcessVideo, ASourceWhosePlanesAreTooLargeThrowsAndLosesNothing) {
    auto p = sized<I420Img>(64, 48);
    p.cropWidth = 32;
    ProcessVideo<I420Img> engine;
    ASSERT_TRUE(engine.allocate(p));
    const auto wrong = picture<YV16Img>(64, 48);  // twice the chroma rows that its format code says
    wrong->setFormat(I420Img::getClassFormat());
    bool ok = true;
    EXPECT_THROW(static_cast<void>(engine.process(*wrong, ok)), std::runtime_error);
    EXPECT_NE(run(engine, *picture<I420Img>(64, 48)).img, nullptr);
}

TEST(ProcessVideo, AllocateAndProcessSurviveAHeapThatFails) {
    const auto src = picture<UYVYImg>(64, 48);
    int mark = 0, failures = 0;
    for (const bool interlaced : {false, true})
        for (int granted = 0;; ++granted) {
            auto p = sized<I420Img>(64, 48);
            p.srcProgressive = p.dstProgressive = !interlaced;
            p.cropX = 2, p.dstWidth = 48, p.dstHeight = 40, p.dstCropWidth = 32, p.keepUserData = true;
            ProcessVideo<I420Img> engine;
            ASSERT_TRUE(engine.allocate(p));
            ASSERT_TRUE(src->addUserData(&mark));
            bool ok = true;
            I420Img* out = nullptr;
            {
                const test::FailingHeap heap(granted);
                ASSERT_NO_THROW(out = engine.process(*src, ok)) << granted;
            }
            EXPECT_EQ(ok, out != nullptr);
            // Whatever failed, the next call is as good as the first: nothing unpainted, half copied or lost.
            EXPECT_EQ(src->getUserData(nullptr), ok ? nullptr : &mark) << granted;
            src->delUserData(&mark);
            engine.returnImg(out);
            ProcessVideo<I420Img> fresh;
            ASSERT_TRUE(fresh.allocate(p));
            EXPECT_EQ(bytesOf(*run(engine, *src)), bytesOf(*run(fresh, *src))) << granted;
            if (test::refusedRequests() == 0) break;
            ++failures;
        }
    EXPECT_GT(failures, 20);
}

template <class T, class Src>
std::vector<std::uint8_t> onHeapFilledWith(int value, ProcessVideoParams<T> p) {
    const test::HeapFill fill(value);
    ProcessVideo<T> engine;
    EXPECT_TRUE(engine.allocate(p));
    return bytesOf(*run(engine, *picture<Src>(p.srcWidth, p.srcHeight)));
}

TEST(ProcessVideo, NoByteOfAnOddPictureIsLeftAsTheMemoryCame) {
    const auto check = []<class T, class Src>(T, Src, ProcessVideoParams<T> p) {
        const auto zeros = onHeapFilledWith<T, Src>(0, p), ones = onHeapFilledWith<T, Src>(255, p);
        EXPECT_EQ(zeros, ones) << p.srcWidth << "x" << p.srcHeight << " to " << p.dstWidth << "x" << p.dstHeight;
    };
    auto p = sized<I420Img>(65, 48);
    p.cropWidth = 16, p.cropHeight = 7;
    check(I420Img(), I420Img(), p);
    check(I420Img(), UYVYImg(), p);
    p.cropWidth = 2, p.cropHeight = 1;
    check(I420Img(), I420Img(), p);
    for (const int height : {46, 47}) {  // the chroma rows of a rectangle as high as 47 are rounded to 23
        auto scaled = sized<I420Img>(64, 48);
        scaled.dstHeight = height;
        check(I420Img(), I420Img(), scaled);
        scaled.srcProgressive = scaled.dstProgressive = false;
        check(I420Img(), UYVYImg(), scaled);
    }
    auto wide = sized<YV16Img>(65, 48);
    wide.cropX = 1, wide.cropWidth = 16;
    check(YV16Img(), YV16Img(), wide);
}

TEST(ProcessVideo, AFailedScalingGivesTheUserDataBackToTheSource) {
    auto p = sized<I420Img>(64, 48);
    p.cropWidth = 1, p.cropHeight = 6;  // no chroma column
    p.dstWidth = 32, p.dstHeight = 32, p.resizeInterp = ResizeInterpNearest, p.keepUserData = true;
    ProcessVideo<I420Img> engine;
    ASSERT_TRUE(engine.allocate(p));
    const auto src = picture<I420Img>(64, 48);
    int mark = 0;
    ASSERT_TRUE(src->addUserData(&mark));
    EXPECT_EQ(run(engine, *src).img, nullptr);
    EXPECT_EQ(src->getUserData(nullptr), &mark);
}

TEST(ProcessVideo, TheNumberOfThreadsChangesNoByte) {
    std::vector<std::uint8_t> first;
    test::withThreadCounts([&](std::size_t threads) {
        auto p = sized<I420Img>(720, 576);
        p.srcProgressive = p.dstProgressive = false;
        p.cropX = 8, p.cropWidth = 704;
        p.dstWidth = 640, p.dstHeight = 480, p.dstCropX = 20, p.dstCropWidth = 600;
        ProcessVideo<I420Img> engine;
        ASSERT_TRUE(engine.allocate(p));
        const auto bytes = bytesOf(*run(engine, *picture<UYVYImg>(720, 576)));
        if (first.empty()) first = bytes;
        EXPECT_EQ(bytes, first) << threads << " threads";
    });
}

}  // namespace
}  // namespace Orvel
