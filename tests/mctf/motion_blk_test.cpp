#include "orvel/mctf/motion_estimate_blk.h"

#include <gtest/gtest.h>

#include "tests/mctf/motion_model.h"
#include "tests/mctf/motion_pictures.h"

namespace Orvel {
namespace {

using test::LumaPicture;

bool operator==(tagPOINT a, tagPOINT b) {
    return a.x == b.x && a.y == b.y;
}

struct Searcher : MotionEstimateBlk<I420Img> {
    using MotionEstimateBlk::blkSearchSPel;
    using MotionEstimateBlk::doSubPelRefinement;
    using MotionEstimateBlk::evaluateMVPredictors;
    using MotionEstimateBlk::getBestMVRefined;
    using MotionEstimateBlk::getNeighborPreds;
    using MotionEstimateBlk::scaleMVstoQP;
};

/// A searcher over a grid of 5 x 4 blocks.
class MotionBlkTest : public ::testing::Test {
protected:
    void SetUp() override {
        params.width = 40, params.height = 32, params.blkCols = 5, params.blkRows = 4;
        ASSERT_TRUE(data.allocate(20));
        ASSERT_TRUE(searcher.init(&params, &data));
    }
    using List = std::vector<std::pair<int, int>>;
    List predictors(int blk) {
        MVPredictors list;
        list.append({9, 9});  // what was in the list goes
        searcher.getNeighborPreds(list, blk);
        List points;
        for (const tagPOINT& p : list.points()) points.emplace_back(p.x, p.y);
        return points;
    }
    void setVector(int blk, int x, int y) {
        MEBlockData b;
        b.mvx = x, b.mvy = y;
        data.setBlockData(b, blk);
    }

    MotionEstimateImgParams params;
    MEData data;
    Searcher searcher;
};

TEST_F(MotionBlkTest, PredictorsAreDistinctAndRoundedDownToWholeSamples) {
    setVector(6, -5, 10);  // left of block 7: (-2, 2)
    setVector(2, 12, -3);  // above: (3, -1)
    setVector(3, 40, 4);   // above right: (10, 1)
    EXPECT_EQ(predictors(7), (List{{0, 0}, {-2, 2}, {3, -1}, {10, 1}, {3, 1}}));
    setVector(3, 13, -4);  // (3, -1), like the one above, and so the median
    EXPECT_EQ(predictors(7), (List{{0, 0}, {-2, 2}, {3, -1}}));
    EXPECT_EQ(predictors(0), (List{{0, 0}})) << "no neighbours";
    setVector(0, 8, 8);
    EXPECT_EQ(predictors(1), (List{{0, 0}, {2, 2}})) << "two of three neighbours missing: their median is zero";
    setVector(4, 8, -8), setVector(8, 16, -16);
    EXPECT_EQ(predictors(9), (List{{0, 0}, {4, -4}, {2, -2}})) << "none above right in the last column";
}

TEST_F(MotionBlkTest, TiesGoToTheShorterVectorThenToTheEarlier) {
    LumaPicture flat(40, 32, [](int, int) { return 60; }), cur(40, 32, [](int, int) { return 64; });
    ASSERT_TRUE(searcher.setImgs(&cur.img(), &flat.img()));
    const auto best = [&](std::vector<tagPOINT> points, MEBlockData from, int blk) {
        MVPredictors list;
        list.init(points.data(), int(points.size()));
        const bool improved = searcher.evaluateMVPredictors(list, from, blk);
        return std::tuple(improved, from.sad, from.mvx, from.mvy);
    };
    MEBlockData none;
    none.sad = MEBlockData::noCost;
    // A first match with the vector (0, 0) is an improvement of the cost alone.
    EXPECT_EQ(best({{0, 0}}, none, 7), std::tuple(true, 256, 0, 0));
    EXPECT_EQ(best({{3, 0}, {1, 1}, {0, 2}, {2, 0}}, none, 7), std::tuple(true, 256, 1, 1));
    EXPECT_EQ(best({{-17, 0}, {0, -9}}, none, 7), std::tuple(false, MEBlockData::noCost, 0, 0)) << "both outside";
    MEBlockData found;
    found.sad = 256, found.mvx = 2, found.mvy = 2;
    EXPECT_EQ(best({{0, 0}, {1, 0}, {1, -1}}, found, 7), std::tuple(false, 256, 2, 2));
    EXPECT_EQ(best({{1, -1}, {-1, 0}, {0, -1}}, found, 7), std::tuple(true, 256, 1, 2));
    found.sad = 255;
    EXPECT_EQ(best({{-2, -2}}, found, 7), std::tuple(false, 255, 2, 2));
}

TEST_F(MotionBlkTest, RefinementStopsAtGoodMatchesAndAfterEightPasses) {
    // Costs fall steadily towards the right: each pass walks two samples.
    LumaPicture ref(40, 32, [](int x, int) { return 3 * x; }), cur(40, 32, [](int x, int) { return 3 * x + 90; });
    ASSERT_TRUE(searcher.setImgs(&cur.img(), &ref.img()));
    MEBlockData best;
    best.sad = 64 * 90;
    searcher.getBestMVRefined(best, 5);
    EXPECT_EQ(best.mvx, 17) << "8 times 2, and 1 of the small diamond";
    best = {};
    best.sad = 255;
    searcher.getBestMVRefined(best, 5);
    EXPECT_EQ(best.mvx, 0);
    searcher.scaleMVstoQP(best);
    best.mvx = 17, best.mvy = -3;
    searcher.scaleMVstoQP(best);
    EXPECT_TRUE(best.mvx == 68 && best.mvy == -12);
}

TEST_F(MotionBlkTest, HalfSamplesEqualThePlainOnesAlsoAroundFractions) {
    const auto scene = test::scenes()[5];
    LumaPicture cur(40, 32, scene.cur), ref(40, 32, scene.ref);
    params.subPel = true;
    ASSERT_TRUE(searcher.setImgs(&cur.img(), &ref.img()));
    const test::MotionModel model(cur.luma(), ref.luma(), true);
    for (int i = 0; i < 20; ++i) searcher.process(i);
    for (int i = 0; i < 20; ++i) {
        const MEBlockData b = data.getBlockData(i);
        const auto& e = model.result()[std::size_t(i)];
        EXPECT_TRUE(b.sad == e.sad && b.mvx == e.mv.x && b.mvy == e.mv.y) << i;
    }
    // A quarter vector and one far outside; the record goes to the data at once, with what it carries along.
    const test::LumaModel luma(ref.luma());
    for (const auto& [vx, vy] : {std::pair{5, -3}, {-400, 17}}) {
        MEBlockData best{MEBlockData::noCost, vx, vy, 11, 12};
        searcher.doSubPelRefinement(best, 8);
        int least = INT_MAX;
        for (int k = 0; k < 9; ++k) {
            const int mx = vx + 2 * (k % 3 - 1), my = vy + 2 * (k / 3 - 1);
            int sum = 0;
            for (int y = 8; y < 16; ++y)
                for (int x = 24; x < 32; ++x)
                    sum += std::abs(cur.luma().row(y)[x] - luma.quarter(x + (mx >> 2), y + (my >> 2), mx & 3, my & 3));
            if (k != 4) least = std::min(least, sum);
        }
        EXPECT_EQ(best.sad, least);
        const MEBlockData stored = data.getBlockData(8);
        EXPECT_TRUE(stored.sad == best.sad && stored.mvx == best.mvx && stored.aux1 == 11 && stored.aux2 == 12);
    }
}

TEST_F(MotionBlkTest, SearchesNothingOutsideItsGrid) {
    LumaPicture cur(40, 32, [](int x, int y) { return x * y; });
    Searcher blank;
    EXPECT_FALSE(blank.init(nullptr, &data));
    EXPECT_FALSE(blank.init(&params, nullptr));
    EXPECT_FALSE(blank.setImgs(&cur.img(), &cur.img()));
    blank.process(0);
    const auto untouched = [&] {
        MEBlockData mark;
        mark.sad = -7;
        for (int i = 0; i < 20; ++i) data.setBlockData(mark, i);
        for (int blk : {-1, 20, INT_MAX, INT_MIN}) searcher.process(blk);
        bool same = true;
        for (int i = 0; i < 20; ++i) same = same && data.getBlockData(i).sad == -7;
        return same;
    };
    searcher.process(3);
    EXPECT_EQ(data.getBlockData(3).sad, 0) << "no pictures yet";
    ASSERT_TRUE(searcher.setImgs(&cur.img(), &cur.img()));
    EXPECT_TRUE(untouched());
    params.blkCols = 6;
    EXPECT_FALSE(searcher.setImgs(&cur.img(), &cur.img())) << "columns beyond the picture";
    params.blkCols = 5;
    MEData few;
    ASSERT_TRUE(few.allocate(19));
    ASSERT_TRUE(searcher.init(&params, &few));
    EXPECT_FALSE(searcher.setImgs(&cur.img(), &cur.img())) << "records missing";
}

TEST(MVPredictors, KeepUpTo64PointsInOrder) {
    std::vector<tagPOINT> points;
    for (int i = 0; i < 70; ++i) points.push_back({i, -i});
    MVPredictors list;
    list.init(points.data(), 70);
    EXPECT_EQ(list.count(), 64);
    EXPECT_TRUE(list.slot(63) == points[63]);
    list.init(points.data() + 5, 2);
    EXPECT_TRUE(list.count() == 2 && list.slot(0) == points[5] && list.slot(2) == tagPOINT{} &&
                list.slot(63) == tagPOINT{});
    list.init(nullptr, 3);
    EXPECT_EQ(list.count(), 0);
    EXPECT_TRUE(MVPredictors::isNew({1, 2}, {1, 3}) && MVPredictors::isNew({1, 2}, {0, 2}));
    EXPECT_FALSE(MVPredictors::isNew({1, 2}, {1, 2}));
    const tagSIZE size{40, 30};
    for (auto [x, y, valid] : {std::tuple{-8, 0, true},
                               {-9, 0, false},
                               {24, 0, true},
                               {25, 0, false},
                               {0, -16, true},
                               {0, -17, false},
                               {0, 6, true},
                               {0, 7, false},
                               {INT_MAX, INT_MAX, false}})
        EXPECT_EQ(MVPredictors::validate({8, 16}, size, {x, y}), valid) << x << ", " << y;
    std::uint8_t a[64] = {3}, b[64] = {};
    int sad = -1;
    EXPECT_TRUE(MVPredictors::evaluate(a, 8, b, 8, sad));
    EXPECT_EQ(sad, 3);
    EXPECT_FALSE(MVPredictors::evaluate(nullptr, 8, b, 8, sad));
}

TEST(MEData, HoldsZeroedRecords) {
    MEData data;
    EXPECT_EQ(data.numBlocks(), 0);
    data.clear();
    EXPECT_FALSE(data.allocate(-1));
    ASSERT_TRUE(data.allocate(3));
    data.setBlockData({1, 2, 3, 4, 5}, 2);
    data.setBlockData({1, 2, 3, 4, 5}, 3);
    const MEBlockData b = data.getBlockData(2);
    EXPECT_TRUE(b.sad == 1 && b.mvx == 2 && b.mvy == 3 && b.aux1 == 4 && b.aux2 == 5);
    EXPECT_EQ(data.getBlockData(3).sad, 0);
    data.clear();
    EXPECT_EQ(data.getBlockData(2).aux2, 0);
    static_assert(sizeof(MEBlockData) == 20);
}

}  // namespace
}  // namespace Orvel
