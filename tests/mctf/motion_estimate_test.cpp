#include "orvel/mctf/motion_estimate_img.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/mctf/motion_model.h"
#include "tests/mctf/motion_pictures.h"
#include "tests/support/every_target.h"

namespace Orvel {
namespace {

using Estimator = MotionEstimateImg<I420Img>;
using test::LumaPicture;
using test::MotionModel;
using test::Scene;

MotionEstimateImgParams paramsFor(int width, int height, bool subPel, int threads) {
    MotionEstimateImgParams params;
    params.width = width;
    params.height = height;
    params.subPel = subPel;
    params.poolThreads = threads;
    return params;
}

/// "" when the data holds the model's result, else the first difference in words.
std::string fault(const MEData& data, const MotionModel& model) {
    const auto& expected = model.result();
    if (data.numBlocks() != int(expected.size())) return "other number of blocks";
    for (int i = 0; i < data.numBlocks(); ++i) {
        const MEBlockData b = data.getBlockData(i);
        const MotionModel::Block& e = expected[std::size_t(i)];
        if (b.sad != e.sad || b.mvx != e.mv.x || b.mvy != e.mv.y || b.aux1 != 0 || b.aux2 != 0)
            return "block " + std::to_string(i) + ": " + std::to_string(b.sad) + " at " + std::to_string(b.mvx) + ", " +
                   std::to_string(b.mvy) + " for " + std::to_string(e.sad) + " at " + std::to_string(e.mv.x) + ", " +
                   std::to_string(e.mv.y);
    }
    return {};
}

/// Estimates with the given numbers of threads and compares each result with the model's.
void expectModel(I420Img& cur, I420Img& ref, bool subPel, const std::vector<int>& threadCounts, int turns,
                 const std::string& what) {
    const auto from = planeView<const std::uint8_t>(cur, 0), to = planeView<const std::uint8_t>(ref, 0);
    const MotionModel model(from, to, subPel);
    for (const int threads : threadCounts) {
        Estimator estimator;
        auto params = paramsFor(from.width, from.height, subPel, threads);
        ASSERT_TRUE(estimator.allocate(params));
        for (int turn = 0; turn < turns; ++turn) {
            ASSERT_TRUE(estimator.process(&cur, &ref));
            ASSERT_EQ(fault(*estimator.getMEData(), model), "")
                << what << ", " << from.width << " x " << from.height << ", half samples " << subPel << ", " << threads
                << " threads";
        }
    }
}

class MotionEstimateTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(MotionEstimateTest);

TEST_P(MotionEstimateTest, EveryBlockIsThatOfThePlainSearch) {
    for (const Scene& scene : test::scenes())
        for (const bool subPel : {false, true}) {
            LumaPicture cur(100, 76, scene.cur), ref(100, 76, scene.ref, 30);
            expectModel(cur.img(), ref.img(), subPel, {1, 3}, 1, scene.name);
        }
}

TEST_P(MotionEstimateTest, CameraPicturesAndTheirFields) {
    LumaPicture cur(352, 288, test::walkway(1)), ref(352, 288, test::walkway(0));
    expectModel(cur.img(), ref.img(), true, {2}, 1, "walkway");
    I420Img curField, refField;
    cur.img().getTopFieldShadow(curField);
    ref.img().getBottomFieldShadow(refField);
    expectModel(curField, refField, true, {2}, 1, "fields");
}

TEST(MotionEstimate, FollowsTheSequentialOrderHoweverFewColumnsOrManyThreads) {
    const std::vector<Scene> all = test::scenes();
    for (const int width : {8, 15, 16, 20, 24, 31, 32, 40, 47})
        for (const Scene& scene : all) {
            if (scene.name == "flat" || scene.name == "equal") continue;  // no vectors to hand on
            LumaPicture cur(width, 100, scene.cur), ref(width, 100, scene.ref);
            expectModel(cur.img(), ref.img(), width % 8 == 0, {1, 2, 3, 4, 0}, 4, scene.name);
        }
}

TEST(MotionEstimate, PicturesSmallerThanABlockHaveNoBlocks) {
    for (const auto& [width, height] : {std::pair{7, 100}, {100, 7}, {1, 1}, {8, 8}, {9, 15}}) {
        LumaPicture cur(width, height, test::scenes()[5].cur), ref(width, height, test::scenes()[5].ref);
        expectModel(cur.img(), ref.img(), true, {2}, 2, "small");
    }
}

TEST(MotionEstimate, SeveralEstimatorsWorkAtOnce) {
    const Scene scene = test::scenes()[5];
    LumaPicture cur(72, 136, scene.cur), ref(72, 136, scene.ref);
    const MotionModel model(cur.luma(), ref.luma(), true);
    std::vector<std::string> faults(4, "not run");
    std::vector<std::thread> users;
    for (std::size_t user = 0; user < faults.size(); ++user)
        users.emplace_back([&, user] {
            Estimator estimator;
            auto params = paramsFor(72, 136, true, user < 2 ? 0 : int(user));  // two share the one-a-core threads
            if (!estimator.allocate(params)) return;
            for (int turn = 0; turn < 30; ++turn) {
                estimator.process(&cur.img(), &ref.img());
                faults[user] = fault(*estimator.getMEData(), model);
                if (!faults[user].empty()) return;
            }
        });
    for (std::thread& user : users) user.join();
    for (const std::string& f : faults) EXPECT_EQ(f, "");
}

TEST(MotionEstimate, EqualPicturesStandStillAndABlockThatMovesIsFollowed) {
    LumaPicture ref(64, 64, [](int x, int y) { return test::texture(x, y); });
    LumaPicture cur(64, 64, [](int x, int y) { return test::texture(x + 3, y - 2); });
    Estimator estimator;
    auto params = paramsFor(64, 64, true, 1);
    ASSERT_TRUE(estimator.allocate(params));
    EXPECT_EQ(params.blkCols * 100 + params.blkRows, 808);
    ASSERT_TRUE(estimator.process(&ref.img(), &ref.img()));
    for (int i = 0; i < 64; ++i) {
        const MEBlockData b = estimator.getMEData()->getBlockData(i);
        ASSERT_TRUE(b.sad == 0 && b.mvx == 0 && b.mvy == 0) << i;
    }
    ASSERT_TRUE(estimator.process(&cur.img(), &ref.img()));
    for (int row = 1; row < 7; ++row)  // inside, where the match is in the picture
        for (int col = 1; col < 7; ++col) {
            const MEBlockData b = estimator.getMEData()->getBlockData(8 * row + col);
            EXPECT_TRUE(b.sad == 0 && b.mvx == 12 && b.mvy == -8)
                << row << ", " << col << ": " << b.mvx << ", " << b.mvy;
        }
}

TEST(MotionEstimate, RefusesWhatDoesNotFitAndStaysAsItWas) {
    const Scene scene = test::scenes()[3];
    LumaPicture cur(40, 40, scene.cur), ref(40, 40, scene.ref), wide(48, 40, scene.cur), low(40, 39, scene.cur);
    I420Img empty;
    LumaPicture bytes(80, 40, scene.cur);
    I420Img sixteen;
    ASSERT_TRUE(sixteen.setExternalMemory(0, bytes.img().getPixels(0), 40, 40, 2, 87));

    Estimator estimator;
    EXPECT_FALSE(estimator.process(&cur.img(), &ref.img())) << "not allocated";
    EXPECT_EQ(estimator.getMEData(), nullptr);
    auto params = paramsFor(40, 40, true, 2);
    ASSERT_TRUE(estimator.allocate(params));
    ASSERT_TRUE(estimator.process(&cur.img(), &ref.img()));
    const MotionModel model(cur.luma(), ref.luma(), true);
    for (I420Img* bad : {static_cast<I420Img*>(nullptr), &wide.img(), &low.img(), &empty, &sixteen}) {
        EXPECT_FALSE(estimator.process(bad, &ref.img()));
        EXPECT_FALSE(estimator.process(&cur.img(), bad));
        EXPECT_EQ(fault(*estimator.getMEData(), model), "");
    }
    for (auto [width, height] : {std::pair{0, 40}, {40, 0}, {-8, 40}}) {
        auto bad = paramsFor(width, height, true, 1);
        EXPECT_FALSE(Estimator::validateParams(bad));
        EXPECT_FALSE(estimator.allocate(bad));
        EXPECT_EQ(estimator.getMEData(), nullptr);
    }
    estimator.deallocate();
    estimator.deallocate();
    EXPECT_FALSE(estimator.process(&cur.img(), &ref.img()));
}

}  // namespace
}  // namespace Orvel
