#include <gtest/gtest.h>

#include "orvel/mctf/motion_estimate_img.h"
#include "tests/mctf/motion_pictures.h"
#include "tests/support/test_heap.h"

namespace Orvel {
namespace {

struct Estimator : MotionEstimateImg<I420Img> {
    using MotionEstimateImg::detectSceneCut;
};

MotionEstimateImgParams cutParams(int width, int height) {
    MotionEstimateImgParams params;
    params.width = width, params.height = height;
    params.sceneCutDetect = true;
    params.poolThreads = 2;
    return params;
}

class SceneCutTest : public ::testing::Test {
protected:
    void SetUp() override {
        auto params = cutParams(32, 16);
        ASSERT_TRUE(estimator.allocate(params));
    }
    /// The verdict on a picture of 8 blocks with this mean cost and what is added to the last block.
    bool isCut(int mean, int extra = 0) {
        for (int i = 0; i < 8; ++i) estimator.getMEData()->setBlockData({mean + (i == 7 ? extra : 0), 0, 0, 0, 0}, i);
        return estimator.detectSceneCut();
    }
    Estimator estimator;
};

TEST_F(SceneCutTest, NeedsMoreThanThreeTimesTheHistory) {
    EXPECT_FALSE(isCut(16320)) << "nothing to compare with";
    EXPECT_FALSE(isCut(16320));
    ASSERT_TRUE(estimator.getMEData() != nullptr);
    SetUp();
    EXPECT_FALSE(isCut(40));
    EXPECT_FALSE(isCut(120)) << "exactly three times";
    EXPECT_FALSE(isCut(240)) << "exactly three times the mean of 40 and 120";
    EXPECT_TRUE(isCut(400, 8)) << "just above three times the mean of 40, 120 and 240";
}

TEST_F(SceneCutTest, NeedsAMeanAboveOneHundred) {
    EXPECT_FALSE(isCut(20));
    EXPECT_FALSE(isCut(100));
    SetUp();
    EXPECT_FALSE(isCut(20));
    EXPECT_TRUE(isCut(100, 1));
}

TEST_F(SceneCutTest, ACutStartsAnEmptyHistory) {
    EXPECT_FALSE(isCut(20));
    EXPECT_TRUE(isCut(200));
    EXPECT_FALSE(isCut(1000)) << "neither the pictures before the cut nor the cut itself count";
    EXPECT_FALSE(isCut(3000));
    EXPECT_TRUE(isCut(6001));
}

TEST_F(SceneCutTest, StillPicturesDoNotCount) {
    EXPECT_FALSE(isCut(10));
    EXPECT_FALSE(isCut(5000)) << "the history was empty";
    SetUp();
    EXPECT_FALSE(isCut(10, 1));
    EXPECT_TRUE(isCut(5000));
}

TEST_F(SceneCutTest, RemembersFivePictures) {
    EXPECT_FALSE(isCut(1000));
    for (int i = 0; i < 4; ++i) EXPECT_FALSE(isCut(50));
    EXPECT_FALSE(isCut(720)) << "exactly three times 240";  // replaces the 1000
    EXPECT_FALSE(isCut(552)) << "exactly three times 184";  // replaces the first 50
    EXPECT_FALSE(isCut(0));
    EXPECT_TRUE(isCut(853, 2)) << "just above three times (720 + 552 + 3 * 50) / 5";
}

TEST_F(SceneCutTest, ProcessGivesTheVerdictAndRefusalsLeaveTheHistory) {
    const auto flat = [](int v) { return test::LumaPicture(32, 16, [v](int, int) { return v; }); };
    auto dark = flat(10), darker = flat(9), bright = flat(200),
         wrong = test::LumaPicture(32, 8, [](int, int) { return 0; });
    EXPECT_FALSE(estimator.process(&dark.img(), &darker.img()));  // 64 a block
    EXPECT_FALSE(estimator.process(&wrong.img(), &darker.img()));
    EXPECT_FALSE(estimator.process(&dark.img(), &dark.img()));
    EXPECT_TRUE(estimator.process(&bright.img(), &dark.img()));
    EXPECT_FALSE(estimator.process(&dark.img(), &bright.img()));
    auto params = cutParams(32, 16);
    ASSERT_TRUE(estimator.allocate(params));
    EXPECT_FALSE(estimator.process(&bright.img(), &dark.img())) << "allocate() forgets";
}

TEST(MotionEstimateMemory, ARefusedAllocationLeavesNothingAndPicturesTakeNone) {
    test::LumaPicture cur(64, 64, [](int x, int y) { return test::texture(x, y + 3); });
    test::LumaPicture ref(64, 64, [](int x, int y) { return test::texture(x, y); });
    auto params = cutParams(64, 64);
    params.subPel = true;
    const auto costs = [&](Estimator& by) {
        by.process(&cur.img(), &ref.img());
        std::int64_t sum = 0;
        for (int i = 0; i < 64; ++i) sum += by.getMEData()->getBlockData(i).sad;
        return sum;
    };
    Estimator whole;
    ASSERT_TRUE(whole.allocate(params));
    const std::int64_t expected = costs(whole);
    ASSERT_GT(expected, 0);

    Estimator estimator;
    int granted = 0, refusals = 0;
    for (bool complete = false; !complete; ++granted) {
        ASSERT_LT(granted, 100);
        bool allocated = false;
        {
            const test::FailingHeap heap(granted);
            allocated = estimator.allocate(params);
        }
        complete = allocated && test::refusedRequests() == 0;
        refusals += !allocated;
        // Only a thread may be missing; who waits then does the work.
        ASSERT_EQ(estimator.getMEData() != nullptr, allocated) << granted;
        if (allocated) {
            ASSERT_EQ(costs(estimator), expected) << granted;
        }
    }
    EXPECT_GE(refusals, 6);
    for (int i = 0; i < 3; ++i) estimator.process(&cur.img(), &ref.img());
    const int before = test::allocations();
    for (int i = 0; i < 5; ++i) estimator.process(&cur.img(), &ref.img());
    EXPECT_EQ(test::allocations(), before);
}

}  // namespace
}  // namespace Orvel
