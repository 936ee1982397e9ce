#include <gtest/gtest.h>

#include "orvel/pipeline/process_video.h"
#include "tests/support/pictures.h"
#include "tests/support/test_heap.h"

namespace Orvel {
namespace {

using test::largeAllocations;

/// Large allocations of ten calls after the pools have grown.
template <class T, class Src>
int steadyStateAllocations(ProcessVideoParams<T> p) {
    ProcessVideo<T> engine;
    EXPECT_TRUE(engine.allocate(p));
    Src src;
    EXPECT_TRUE(src.allocate(p.srcWidth, p.srcHeight, Src::getClassBpp()));
    test::fillRandom(src, 1);
    const auto frame = [&] {
        bool ok = false;
        for (T* out = engine.process(src, ok); out != nullptr; out = engine.isOutputAvailable(ok))
            engine.returnImg(out);
        EXPECT_TRUE(ok);
    };
    for (int i = 0; i < 6; ++i) frame();
    const int before = largeAllocations();
    for (int i = 0; i < 10; ++i) frame();
    return largeAllocations() - before;
}

TEST(SteadyState, NoPictureMemoryIsAllocatedPerFrame) {
    const int first = largeAllocations();
    test::withThreadCounts([](std::size_t threads) {
        SCOPED_TRACE(threads);
        ProcessVideoParams<I420Img> plain;
        plain.srcWidth = 360, plain.srcHeight = 288;
        EXPECT_EQ((steadyStateAllocations<I420Img, I420Img>(plain)), 0);
        auto fields = plain;
        fields.srcProgressive = fields.dstProgressive = false;
        fields.cropX = 16, fields.dstWidth = 320, fields.dstHeight = 242, fields.dstCropY = 2;
        for (ResizeInterp method : {ResizeInterpNone, ResizeInterpCubic, ResizeInterpLanczosFilter}) {
            fields.resizeInterp = method;
            EXPECT_EQ((steadyStateAllocations<I420Img, UYVYImg>(fields)), 0) << "method " << method;
        }
        auto allStages = plain;
        allStages.srcProgressive = false;
        allStages.deinterlaceType = DeinterlaceTypeBlend;
        allStages.dstWidth = 320, allStages.dstFrameRateNum = 50, allStages.mctfEnable = true;
        EXPECT_EQ((steadyStateAllocations<I420Img, UYVYImg>(allStages)), 0);
        ProcessVideoParams<HY16Img> deep;
        deep.srcWidth = 360, deep.srcHeight = 288, deep.dstWidth = 640, deep.dstHeight = 360;
        EXPECT_EQ((steadyStateAllocations<HY16Img, V216Img>(deep)), 0);
    });
    EXPECT_GT(largeAllocations(), first) << "the counter counts nothing";
}

}  // namespace
}  // namespace Orvel
