#include "orvel/pipeline/process_video.h"

#include <gtest/gtest.h>

#include <memory>

#include "orvel/convert/convert_img.h"
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
    bool ok = true;
    EXPECT_EQ(engine.process(*picture<I420Img>(64, 31), ok), nullptr);
    EXPECT_FALSE(ok);
    Img empty;
    ok = true;
    EXPECT_EQ(engine.process(empty, ok), nullptr);
    EXPECT_FALSE(ok);
    EXPECT_EQ(engine.process(*picture<BGRImg>(64, 32), ok), nullptr);
    EXPECT_EQ(engine.process(*picture<YV16Img>(64, 32), ok), nullptr);
    I420Img* foreign = nullptr;
    const auto mine = picture<I420Img>(64, 32);
    foreign = mine.get();
    EXPECT_FALSE(engine.returnImg(foreign));
    EXPECT_EQ(foreign, mine.get());
}

TEST(ProcessVideo, ConvertsAndCropsEverySourceFormat) {
    const auto check = []<class T, class Src>(T expected, const Src& src, bool progressive, auto convert) {
        auto p = sized<T>(48, 24);
        p.srcProgressive = p.dstProgressive = progressive;
        p.cropX = 4, p.cropY = 8, p.cropWidth = 32, p.cropHeight = 12;
        ProcessVideo<T> engine;
        ASSERT_TRUE(engine.allocate(p));
        EXPECT_TRUE(engine.hasCropping());
        auto& source = const_cast<Src&>(src);
        const auto out = run<T>(engine, source);
        Src region;
        source.getShadowRoi(region, {4, 8}, {32, 12});
        ASSERT_TRUE(expected.allocate(32, 12, T::getClassBpp()) && convert(expected, region));
        ASSERT_NE(out.img, nullptr);
        EXPECT_EQ(bytesOf(*out), bytesOf(expected));
        // A view of another class is as good.
        const std::unique_ptr<Img> plain(new Img);
        ASSERT_TRUE(source.shadowCopy(*plain));
        EXPECT_EQ(bytesOf(*run<T>(engine, *plain)), bytesOf(expected));
    };
    const auto uyvy = picture<UYVYImg>(48, 24);
    const auto yuyv = picture<YUYVImg>(48, 24);
    for (bool progressive : {true, false}) {
        check.operator()<I420Img, UYVYImg>(
            {}, *uyvy, progressive, [&](auto& d, auto& s) { return ConvertImg::UYVYToI420(d, s, !progressive); });
        check.operator()<YV16Img, UYVYImg>({}, *uyvy, progressive,
                                           [](auto& d, auto& s) { return ConvertImg::UYVYToYV16(d, s); });
        check.operator()<YV16Img, YUYVImg>({}, *yuyv, progressive,
                                           [](auto& d, auto& s) { return ConvertImg::YUYVToYV16(d, s); });
    }
    check.operator()<I420Img, YUYVImg>({}, *yuyv, true, [](auto& d, auto& s) { return ConvertImg::YUYVToI420(d, s); });
    check.operator()<HY16Img, V216Img>({}, *picture<V216Img>(48, 24), true,
                                       [](auto& d, auto& s) { return ConvertImg::V216ToHY16(d, s); });
    check.operator()<HY16Img, HY16Img>({}, *picture<HY16Img>(48, 24), true, [](auto& d, auto& s) { return s.copy(d); });
    check.operator()<I420Img, I420Img>({}, *picture<I420Img>(48, 24), true, [](auto& d, auto& s) { return s.copy(d); });
}

TEST(ProcessVideo, InterlacedYUYVHasNoWayTo420) {
    auto p = sized<I420Img>(48, 24);
    p.srcProgressive = p.dstProgressive = false;
    ProcessVideo<I420Img> engine;
    ASSERT_TRUE(engine.allocate(p));
    EXPECT_EQ(run(engine, *picture<YUYVImg>(48, 24)).img, nullptr);
}

/// What the resizer makes of src inside a canvas of the background colour.
template <class T>
std::vector<std::uint8_t> onCanvas(Img& src, const ProcessVideoParams<T>& p) {
    T canvas;
    EXPECT_TRUE(canvas.allocate(p.dstWidth, p.dstHeight, T::getClassBpp()));
    const int shift = p.is16Bit ? 8 : 0;
    EXPECT_TRUE(canvas.setPlane(0, p.backgroundY << shift) && canvas.setPlane(1, p.backgroundU << shift) &&
                canvas.setPlane(2, p.backgroundV << shift));
    Img view;
    canvas.getShadowRoi(view, {p.dstCropX, p.dstCropY}, {p.dstCropWidth, p.dstCropHeight});
    ResizeImg resizer;
    EXPECT_TRUE(resizer.allocate(view, src, p.resizeInterp, ResizeSmoothNone) && resizer.resize(view, src));
    return bytesOf(canvas);
}

template <class T>
void expectScaledOntoCanvas() {
    auto p = sized<T>(64, 48);
    p.dstWidth = 60, p.dstHeight = 40;
    p.dstCropX = 8, p.dstCropY = 6, p.dstCropWidth = 40, p.dstCropHeight = 30;
    p.backgroundY = 30, p.backgroundU = 90, p.backgroundV = 200;
    ProcessVideo<T> engine;
    ASSERT_TRUE(engine.allocate(p));
    EXPECT_TRUE(engine.hasResizing() && engine.hasDstCropping() && !engine.hasCropping());
    for (unsigned frame = 0; frame < 3; ++frame) {  // the second and third picture are recycled
        const auto src = picture<T>(64, 48, frame);
        const auto out = run(engine, *src);
        ASSERT_NE(out.img, nullptr);
        EXPECT_EQ(bytesOf(*out), onCanvas<T>(*src, p));
    }
}

TEST(ProcessVideo, ScalesOntoACanvasThatKeepsItsBorder) {
    expectScaledOntoCanvas<I420Img>();
    expectScaledOntoCanvas<YV16Img>();
    expectScaledOntoCanvas<HY16Img>();
}

TEST(ProcessVideo, InterlacedPicturesAreScaledFieldByField) {
    for (ResizeInterp method : {ResizeInterpNone, ResizeInterpLanczos}) {
        auto p = sized<I420Img>(64, 50);
        p.srcProgressive = p.dstProgressive = false;
        p.dstWidth = 48, p.dstHeight = 42, p.resizeInterp = method;
        ProcessVideo<I420Img> engine;
        ASSERT_TRUE(engine.allocate(p));
        const auto src = picture<I420Img>(64, 50);
        const auto out = run(engine, *src);
        ASSERT_NE(out.img, nullptr);
        for (bool top : {true, false}) {
            I420Img from, to, field;
            top ? src->getTopFieldShadow(from) : src->getBottomFieldShadow(from);
            top ? out->getTopFieldShadow(field) : out->getBottomFieldShadow(field);
            ASSERT_TRUE(field.replicate(to, 4));
            ResizeImg resizer;
            ASSERT_TRUE(resizer.allocate(to, from, p.resizeInterp, ResizeSmoothNone) && resizer.resize(to, from));
            EXPECT_EQ(bytesOf(field), bytesOf(to)) << (top ? "top" : "bottom") << " field, method " << p.resizeInterp;
        }
    }
}

TEST(ProcessVideo, APlacedPictureThatIsNotScaledPassesThroughAtCropSize) {
    auto p = sized<I420Img>(64, 48);
    p.dstWidth = 80, p.dstHeight = 60;
    p.dstCropX = 8, p.dstCropY = 6, p.dstCropWidth = 64, p.dstCropHeight = 48;
    ProcessVideo<I420Img> engine;
    ASSERT_TRUE(engine.allocate(p));
    EXPECT_FALSE(engine.hasResizing());
    const auto out = run(engine, *picture<I420Img>(64, 48));
    ASSERT_NE(out.img, nullptr);
    EXPECT_EQ(out->getWidth(0), 64);
}

TEST(ProcessVideo, SuperSamplingAndTheFiltersAreFor8BitsOnly) {
    for (ResizeInterp method :
         {ResizeInterpNone, ResizeInterpSuperSampling, ResizeInterpLanczosFilter, ResizeInterpHannFilter}) {
        auto deep = sized<HY16Img>(64, 48);
        deep.dstWidth = 32, deep.dstHeight = 24, deep.resizeInterp = method;
        ProcessVideo<HY16Img> engine16;
        EXPECT_FALSE(engine16.allocate(deep)) << method;
        auto p = sized<YV16Img>(64, 48);
        p.dstWidth = 32, p.dstHeight = 24, p.resizeInterp = method;
        ProcessVideo<YV16Img> engine8;
        EXPECT_TRUE(engine8.allocate(p)) << method;
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
    auto refused = sized<I420Img>(64, 48);
    refused.cropX = 65;
    EXPECT_FALSE(engine.allocate(refused));
    auto negative = sized<I420Img>(64, 48);
    negative.cropHeight = -8;
    EXPECT_FALSE(ProcessVideo<I420Img>().allocate(negative));
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
