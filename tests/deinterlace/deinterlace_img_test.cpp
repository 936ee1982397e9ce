// The protocol that all deinterlacers share: factories, queues, planes left out, user data, refusals.
#include "orvel/deinterlace/deinterlace_img.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <memory>
#include <vector>

#include "orvel/deinterlace/deinterlace_blend_img.h"
#include "orvel/deinterlace/deinterlace_cavt_img.h"
#include "orvel/deinterlace/deinterlace_triangle_img.h"
#include "orvel/img/all_formats.h"
#include "tests/support/pictures.h"

namespace Orvel {
namespace {

using test::bytesOf;
using test::picture;
using test::userDataOf;

constexpr int width = 22, height = 12;
constexpr DeinterlaceType types[] = {DeinterlaceTypeTriangle, DeinterlaceTypeCAVT, DeinterlaceTypeBlend};

/// An allocated deinterlacer; adjust(params) may change the record first.
template <class Params = DeinterlaceImgParams, class Adjust>
std::unique_ptr<DeinterlaceImg> allocated(DeinterlaceType type, const Adjust& adjust) {
    std::unique_ptr<DeinterlaceImgParams> params(DeinterlaceImgParams::newAlloc(type));
    params->width = width;
    params->height = height;
    adjust(dynamic_cast<Params&>(*params));
    std::unique_ptr<DeinterlaceImg> deinterlacer(DeinterlaceImg::newAlloc(type));
    EXPECT_TRUE(deinterlacer->allocate(params.get()));
    EXPECT_EQ(deinterlacer->getDeinterlaceType(), type);
    return deinterlacer;
}

std::unique_ptr<DeinterlaceImg> allocated(DeinterlaceType type) {
    return allocated(type, [](DeinterlaceImgParams&) {});
}

/// Pictures of different content, as many as asked for.
std::vector<std::unique_ptr<I420Img>> pictures(int count) {
    std::vector<std::unique_ptr<I420Img>> made;
    for (int i = 0; i < count; ++i) made.push_back(picture<I420Img>(width, height, unsigned(i) + 1));
    return made;
}

/// Fills the queue with the first pictures.
template <class Pictures>
void fillQueue(DeinterlaceImg& deinterlacer, const Pictures& sources) {
    for (int i = 0; i < deinterlacer.requiredFrames(); ++i) ASSERT_TRUE(deinterlacer.pushImg(*sources[std::size_t(i)]));
    ASSERT_EQ(deinterlacer.bufferedFrames(), deinterlacer.requiredFrames());
}

TEST(DeinterlaceImg, FactoriesKnowThreeTypes) {
    const int required[] = {1, 1, 3};
    for (int i = 0; i < 3; ++i) {
        DeinterlaceImg* made = DeinterlaceImg::newAlloc(types[i]);
        ASSERT_NE(made, nullptr);
        EXPECT_EQ(made->getDeinterlaceType(), DeinterlaceTypeNone);
        EXPECT_EQ(made->requiredFrames(), required[i]);
        EXPECT_EQ(made->bufferedFrames(), 0);
        EXPECT_EQ(made->popImg(), nullptr);
        DeinterlaceImg::deleteDealloc(made);
        EXPECT_EQ(made, nullptr);
        DeinterlaceImg::deleteDealloc(made);
    }
    for (int unknown : {-1, 0, 3, 8}) {
        EXPECT_EQ(DeinterlaceImg::newAlloc(static_cast<DeinterlaceType>(unknown)), nullptr);
        EXPECT_EQ(DeinterlaceImgParams::newAlloc(static_cast<DeinterlaceType>(unknown)), nullptr);
    }
}

TEST(DeinterlaceImg, DeletingAnAllocatedOneFreesAllOfIt) {
    for (DeinterlaceType type : types) {
        DeinterlaceImg* made = allocated(type).release();
        DeinterlaceImg::deleteDealloc(made);  // the address sanitizer would see what is left
        EXPECT_EQ(made, nullptr);
    }
}

TEST(DeinterlaceImg, ARefusedRecordChangesNothing) {
    const auto refused = [](DeinterlaceType type, auto&& record) {
        record.width = 5, record.height = 5;
        const auto deinterlacer = allocated(type);
        EXPECT_FALSE(deinterlacer->allocate(&record));
        const auto sources = pictures(3);
        fillQueue(*deinterlacer, sources);
        EXPECT_TRUE(deinterlacer->deinterlace(*pictures(1)[0], nullptr));
    };
    refused(DeinterlaceTypeTriangle, DeinterlaceCAVTImgParams());
    refused(DeinterlaceTypeCAVT, DeinterlaceImgParams());
    refused(DeinterlaceTypeBlend, DeinterlaceTriangleImgParams());
    for (int threshold : {-1, 256})
        for (int which : {0, 1}) {
            DeinterlaceBlendImgParams record;
            record.blendThresh[which] = threshold;
            refused(DeinterlaceTypeBlend, record);
        }
    for (double weight : {-0.01, 1.5, std::numeric_limits<double>::quiet_NaN()})
        for (int which : {0, 1}) {
            DeinterlaceBlendImgParams record;
            record.blendConstants[which] = weight;
            refused(DeinterlaceTypeBlend, record);
        }
    for (DeinterlaceType type : types) EXPECT_FALSE(allocated(type)->allocate(nullptr));
}

TEST(DeinterlaceImg, QueuesOnlyWhatFits) {
    Img empty;
    for (DeinterlaceType type : types) {
        const auto deinterlacer = allocated(type);
        EXPECT_FALSE(deinterlacer->pushImg(empty));
        EXPECT_FALSE(deinterlacer->pushImg(*picture<I420Img>(width, height + 1)));
        EXPECT_FALSE(deinterlacer->pushImg(*picture<I420Img>(width + 1, height)));
        EXPECT_FALSE(deinterlacer->pushImg(*picture<UYVYImg>(width, height))) << "two channels";
        const auto deep = picture<HY16Img>(width, height);
        EXPECT_EQ(deinterlacer->pushImg(*deep), type == DeinterlaceTypeTriangle);
        EXPECT_EQ(deinterlacer->popImg(), type == DeinterlaceTypeTriangle ? deep.get() : nullptr);
        const auto sources = pictures(4);
        fillQueue(*deinterlacer, sources);
        EXPECT_FALSE(deinterlacer->pushImg(*sources[3])) << "the queue is full";
        for (int i = 0; i < deinterlacer->requiredFrames(); ++i)
            EXPECT_EQ(deinterlacer->popImg(), sources[std::size_t(i)].get()) << "oldest first";
        EXPECT_EQ(deinterlacer->popImg(), nullptr);
    }
}

TEST(DeinterlaceImg, EachPushIntoAFullRhythmReleasesTheOldest) {
    for (DeinterlaceType type : types) {
        const auto deinterlacer = allocated(type);
        const auto sources = pictures(6);
        const auto out = picture<I420Img>(width, height);
        const int required = deinterlacer->requiredFrames();
        for (int i = 0; i < 6; ++i) {
            ASSERT_TRUE(deinterlacer->pushImg(*sources[std::size_t(i)]));
            EXPECT_EQ(deinterlacer->bufferedFrames(), std::min(i + 1, required));
            if (deinterlacer->bufferedFrames() < required) continue;
            Img* released = nullptr;
            ASSERT_TRUE(deinterlacer->deinterlace(*out, &released));
            EXPECT_EQ(released, sources[std::size_t(i + 1 - required)].get());
        }
        deinterlacer->deallocate();
        EXPECT_EQ(deinterlacer->bufferedFrames(), 0);
    }
}

TEST(DeinterlaceImg, ARefusedOutputKeepsTheQueue) {
    for (DeinterlaceType type : types) {
        const auto deinterlacer = allocated(type);
        const auto sources = pictures(3);
        Img* released = sources[0].get();
        EXPECT_FALSE(deinterlacer->deinterlace(*pictures(1)[0], &released)) << "nothing is queued";
        EXPECT_EQ(released, nullptr);
        fillQueue(*deinterlacer, sources);
        const auto small = picture<I420Img>(width, height - 2);
        EXPECT_FALSE(deinterlacer->deinterlace(*small, &released));
        Img lumaOnly;
        ASSERT_TRUE(lumaOnly.allocate(width, height, 1));
        EXPECT_FALSE(deinterlacer->deinterlace(lumaOnly, &released)) << "nowhere to put the chroma";
        EXPECT_FALSE(deinterlacer->deinterlace(*picture<HY16Img>(width, height), &released)) << "another depth";
        EXPECT_EQ(released, nullptr);
        EXPECT_EQ(deinterlacer->popImg(), sources[0].get());
    }
}

TEST(DeinterlaceImg, LargerPlanesOfTheOutputKeepWhatLiesBehindThePicture) {
    for (DeinterlaceType type : types) {
        const auto sources = pictures(3);
        const auto result = [&](Img& to) {
            const auto deinterlacer = allocated(type);
            fillQueue(*deinterlacer, sources);
            return deinterlacer->deinterlace(to, nullptr);
        };
        const auto out = picture<I420Img>(width, height), larger = picture<I420Img>(2 * width, 2 * height);
        Img mixed;  // the luma of the one, the chroma planes of the other
        ASSERT_TRUE(out->shadowCopyPlane(mixed, 0) && larger->shadowCopyPlane(mixed, 1) &&
                    larger->shadowCopyPlane(mixed, 2));
        ASSERT_TRUE(result(mixed) && result(*out));
        const auto expected = picture<I420Img>(2 * width, 2 * height);
        for (int p : {1, 2}) {
            ASSERT_TRUE(out->copyPlane(*expected, p, p));
            EXPECT_EQ(bytesOf(*larger, p), bytesOf(*expected, p)) << "type " << type;
        }
    }
}

TEST(DeinterlaceImg, PlanesThatAreNotEnabledAreCopiedOrLeft) {
    for (DeinterlaceType type : types)
        for (int mode : {1, 0, 2}) {
            const auto deinterlacer = allocated(type, [&](DeinterlaceImgParams& p) {
                p.planeEnable[1] = p.planeEnable[2] = 0;
                p.nonDeinterlacedMode = mode;
            });
            const auto sources = pictures(3);
            fillQueue(*deinterlacer, sources);
            const auto out = picture<I420Img>(width, height, 77), before = picture<I420Img>(width, height, 77);
            ASSERT_TRUE(deinterlacer->deinterlace(*out, nullptr));
            // What is made of three pictures shows the middle one.
            const auto& shown = mode == 1 ? sources[deinterlacer->requiredFrames() == 3] : before;
            for (int plane : {1, 2}) EXPECT_EQ(bytesOf(*out, plane), bytesOf(*shown, plane)) << "mode " << mode;
            EXPECT_NE(bytesOf(*out, 0), bytesOf(*before, 0));
        }
}

TEST(DeinterlaceImg, UserDataGoesToTheOutputInOrder) {
    std::array<int, 6> marks;
    for (DeinterlaceType type : types)
        for (bool keep : {true, false}) {
            const auto deinterlacer = allocated(type, [&](DeinterlaceImgParams& p) { p.keepUserData = keep; });
            const auto sources = pictures(3);
            for (std::size_t i = 0; i < marks.size(); ++i) ASSERT_TRUE(sources[i / 2]->addUserData(&marks[i]));
            fillQueue(*deinterlacer, sources);
            const auto out = picture<I420Img>(width, height);
            ASSERT_TRUE(deinterlacer->deinterlace(*out, nullptr));
            std::vector<void*> expected;
            for (std::size_t i = 0; keep && i < (type == DeinterlaceTypeBlend ? 4 : 2); ++i)
                expected.push_back(&marks[i]);
            EXPECT_EQ(userDataOf(*out), expected);
        }
}

TEST(DeinterlaceImg, DoubleRateGivesBothFieldsOfAPicture) {
    const auto deinterlacer = allocated<DeinterlaceBlendImgParams>(
        DeinterlaceTypeBlend, [](DeinterlaceBlendImgParams& p) { p.doubleRate = true; });
    const auto sources = pictures(4);
    fillQueue(*deinterlacer, sources);
    const auto out = picture<I420Img>(width, height);
    Img* released = nullptr;
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(deinterlacer->deinterlace(*out, &released));
        EXPECT_EQ(released, nullptr);
        EXPECT_FALSE(deinterlacer->pushImg(*sources[3])) << "the second field is still to come";
        if (i == 0) {  // a picture taken out in between begins a new pair
            EXPECT_EQ(deinterlacer->popImg(), sources[0].get());
            ASSERT_TRUE(deinterlacer->pushImg(*sources[3]));
            continue;
        }
        ASSERT_TRUE(deinterlacer->deinterlace(*out, &released));
        EXPECT_EQ(released, sources[std::size_t(i)].get());
        ASSERT_TRUE(deinterlacer->pushImg(*sources[std::size_t(i - 1)]));
    }
}

}  // namespace
}  // namespace Orvel
