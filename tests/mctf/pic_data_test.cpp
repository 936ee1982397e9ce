#include "orvel/mctf/pic_data.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tbb/blocked_range2d.h>

#include "orvel/img/parallel_rows.h"
#include "orvel/mctf/map_me_data.h"
#include "tests/mctf/filter_model.h"
#include "tests/support/pictures.h"
#include "tests/support/test_heap.h"

namespace Orvel {
namespace {

using ::testing::ElementsAre;

/// Copies the motion into the records of the blocks, tile by tile on all cores.
void mapMotion(PicData& pic, const MEData& data, const tbb::blocked_range2d<int>& blocks) {
    forEachPart(blocks, MapMEData(pic, data));
}

/// All measures and the blend of one picture against the plain model.
void checkPicture(I420Img& cur, I420Img& pred, const MEData& data, int base, float noise) {
    const int width = cur.getWidth(0), height = cur.getHeight(0), cols = width / 8, rows = height / 8;
    const test::PictureModel model(cur, pred, data, base, noise);
    test::withThreadCounts([&](std::size_t threads) {
        SCOPED_TRACE(threads);
        PicData pic;
        ASSERT_TRUE(pic.allocateBlocks(width, height));
        ASSERT_TRUE(cur.shadowCopy(pic));
        mapMotion(pic, data, {0, pic.blkRows(), 0, pic.blkCols()});
        I420Img out;
        ASSERT_TRUE(cur.replicate(out, 4) && out.set(77));
        ASSERT_TRUE(pic.calculatePictureActivity() && pic.calculatePictureBlockiness(pred));
        ASSERT_TRUE(pic.filterPic(out, pred, base, noise));
        for (int i = 0; i < rows * cols; ++i) {
            const BlockData& b = pic.blockRow(i / cols)[std::size_t(i % cols)];
            const auto& m = model.blocks[std::size_t(i)];
            ASSERT_THAT((std::vector<int>{b.activity, b.blockiness, b.lumaReduction, b.chromaReduction, b.noise}),
                        ElementsAre(m.activity, m.blockiness, m.lumaReduction, m.chromaReduction, m.noise))
                << "block " << i;
        }
        ASSERT_EQ(pic.getPictureActivity(), model.activity);
        ASSERT_EQ(pic.getNoiseFigure(), model.noiseFigure);
        ASSERT_EQ(test::difference(*model.out, out), "");
        ASSERT_TRUE(pic.getStrength() == test::strengthModel(base, noise) && pic.getChromaBase() == base);
    });
}

TEST(PicData, MeasuresAndBlendEqualThePlainModel) {
    std::mt19937 rng(81);
    const float noises[] = {0, 200, 300, 400, 600};
    int round = 0;
    for (int kind = 0; kind < test::sceneKinds; ++kind)
        for (const tagSIZE size : {tagSIZE{64, 40}, {8, 8}, {46, 27}, {30, 61}, {1304, 16}}) {
            const int width = size.cx, height = size.cy;
            SCOPED_TRACE(::testing::Message() << "kind " << kind << ", " << width << " x " << height);
            const auto cur = test::makeScene(kind, width, height, 5), pred = test::makeScene(kind, width, height, 6);
            MEData data;
            ASSERT_TRUE(data.allocate(width / 8 * (height / 8)));
            for (int i = 0; i < data.numBlocks(); ++i) data.setBlockData({int(rng() % 3000), 0, 0}, i);
            for (int base : {1 + round % 7, (round + 3) % 8}) checkPicture(*cur, *pred, data, base, noises[round % 5]);
            ++round;
        }
}

TEST(PicData, FieldsAreMeasuredAndBlendedLikePictures) {
    for (int height : {66, 67, 69, 70}) {
        const auto cur = test::makeScene(3, 72, height, 5), pred = test::makeScene(3, 72, height / 2, 6);
        I420Img field;
        cur->getBottomFieldShadow(field);
        MEData data;
        ASSERT_TRUE(data.allocate(9 * (height / 2 / 8)));
        checkPicture(field, *pred, data, 3, 300);
    }
}

TEST(PicData, KnownPictures) {
    const auto ramp = test::makePicture(16, 16, [](int p, int x, int y) {
        return p > 0 ? (x >= 4 && y >= 4 ? 66 : 60)
                     : 100 + 3 * x + 2 * y + ((x + y) % 3 == 0 ? 7 : 0) + (x >= 8 && y >= 8 ? 12 : 0);
    });
    MEData data;
    ASSERT_TRUE(data.allocate(4));
    for (int i = 0; i < 4; ++i) data.setBlockData({100, 0, 0}, i);
    PicData pic;
    ASSERT_TRUE(pic.allocateBlocks(16, 16) && ramp->shadowCopy(pic));
    mapMotion(pic, data, {0, pic.blkRows(), 0, pic.blkCols()});
    ASSERT_TRUE(pic.calculatePictureActivity() && pic.calculatePictureBlockiness(*ramp) && pic.calculatePictureNoise());
    const auto collect = [&](std::int32_t BlockData::*field) {
        std::vector<int> values;
        for (int i = 0; i < 4; ++i) values.push_back(pic.blockRow(i / 2)[std::size_t(i % 2)].*field);
        return values;
    };
    EXPECT_THAT(collect(&BlockData::activity), ElementsAre(463, 468, 468, 469));
    EXPECT_EQ(pic.getPictureActivity(), 463 + 468 + 468 + 469);
    EXPECT_THAT(collect(&BlockData::noise), ElementsAre(64, 64, 64, 64));
    EXPECT_EQ(pic.getNoiseFigure(), 64);
    EXPECT_THAT(collect(&BlockData::blockiness), ElementsAre(-49, 13, 17, 17));
    EXPECT_THAT(collect(&BlockData::lumaReduction), ElementsAre(0, 1, 2, 2));
    EXPECT_THAT(collect(&BlockData::chromaReduction), ElementsAre(0, 5, 5, 5));
    pic.blockRow(0)[0].initialize();
    EXPECT_EQ(pic.blockRow(0)[0].activity + pic.blockRow(0)[0].noise, 0);
}

TEST(PicData, StrengthFollowsBaseAndNoise) {
    struct Case {
        int base;
        float noise;
        int level;
    };
    for (const Case& c : {Case{0, 1000, 0}, {-3, 1000, 0},        {1, 0, 0},      {1, 180, 1},    {1, 376, 2},
                          {1, 576, 3},      {2, 179.9f, 0},       {2, 180, 1},    {2, 274.9f, 1}, {2, 275, 2},
                          {3, 0, 1},        {3, 179.9f, 1},       {3, 180, 2},    {3, 275, 3},    {3, 375, 3},
                          {3, 375.1f, 4},   {3, 575, 4},          {3, 575.1f, 5}, {4, 179, 3},    {4, 180, 4},
                          {5, 600, 7},      {6, 600, 7},          {7, 0, 6},      {7, 200, 7},    {8, 0, 7},
                          {2000, 0, 7},     {2147483647, 1000, 7}})
        EXPECT_EQ(PicData::calculateFilterStrength(c.base, c.noise), c.level) << c.base << " at noise " << c.noise;
}

TEST(PicData, NoiseLooksAtTheBusierBlocksAndRaisesItsThreshold) {
    // Of 256 blocks four are very busy and sixteen have activities from 8 to 23, near the threshold of about 16. Fewer
    // than a tenth exceed it, so it rises in small steps and leaves one block after the other behind.
    const auto cur = test::makePicture(128, 128, [](int p, int x, int y) {
        const int block = y / 8 * 16 + x / 8, place = y % 8 * 8 + x % 8;
        if (p > 0 || block >= 20) return 100;
        if (block < 4) return (x + y) % 2 * 255;
        return 100 + (place * 29 % 64 < block + 4);
    });
    MEData data;
    ASSERT_TRUE(data.allocate(256));
    for (int i = 0; i < 256; ++i) data.setBlockData({i < 4 ? 300 * i : 16320, 0, 0}, i);
    for (int base : {0, 3}) checkPicture(*cur, *cur, data, base, 0);

    const auto flat = test::makeScene(1, 64, 64, 0);
    PicData pic;
    ASSERT_TRUE(pic.allocateBlocks(64, 64) && flat->shadowCopy(pic));
    mapMotion(pic, data, {0, pic.blkRows(), 0, pic.blkCols()});
    ASSERT_TRUE(pic.calculatePictureActivity() && pic.calculatePictureNoise());
    EXPECT_EQ(pic.getNoiseFigure(), 0) << "no block is busier than the threshold";
}

TEST(PicData, MotionIsCopiedWithHalfTheVectorForChroma) {
    PicData pic;
    ASSERT_TRUE(pic.allocateBlocks(24, 16));
    MEData data;
    ASSERT_TRUE(data.allocate(6));
    data.setBlockData({11, -5, 7, 21, 22}, 4);
    mapMotion(pic, data, {-1, 9, -1, 9});
    const BlockData& b = pic.blockRow(1)[1];
    EXPECT_THAT((std::vector<int>{b.mvx, b.mvy, b.mvxU, b.mvyU, b.mvxV, b.mvyV, b.sad, b.aux1, b.aux2}),
                ElementsAre(-5, 7, -3, 3, -3, 3, 11, 21, 22));
    EXPECT_EQ(pic.blockRow(1)[2].sad, 0);
    EXPECT_TRUE(pic.blockRow(2).empty() && pic.blockRow(-1).empty());
}

TEST(PicData, RefusesWhatDoesNotFitAndSurvivesMissingMemory) {
    const auto cur = test::makeScene(3, 64, 32, 1), pred = test::makeScene(3, 64, 32, 2),
               other = test::makeScene(3, 64, 40, 3);
    PicData pic;
    EXPECT_FALSE(pic.allocateBlocks(7, 32));
    EXPECT_FALSE(pic.allocateBlocks(64, 7));
    EXPECT_FALSE(pic.allocateBlocks(2147483647, 2147483647));
    EXPECT_FALSE(pic.calculatePictureActivity() || pic.calculatePictureNoise() || pic.xCalcBlockNoise(0));
    {
        const test::FailingHeap heap(0);
        EXPECT_FALSE(pic.allocateBlocks(64, 32));
    }
    EXPECT_EQ(pic.blkCols(), 0);
    ASSERT_TRUE(pic.allocateBlocks(64, 32));
    EXPECT_FALSE(pic.calculatePictureActivity()) << "no pixels";
    ASSERT_TRUE(other->shadowCopy(pic));
    EXPECT_FALSE(pic.calculatePictureActivity() || pic.filterPic(*cur, *pred, 3, 0)) << "pixels of another size";
    ASSERT_TRUE(cur->shadowCopy(pic));
    EXPECT_FALSE(pic.calculatePictureBlockiness(*other) || pic.xCalcBlockNoise(4) || pic.xCalcBlockNoise(-1));
    const auto before = test::bytesOf(*other);
    EXPECT_FALSE(pic.filterPic(*other, *pred, 3, 0));
    EXPECT_FALSE(pic.filterPic(*pred, *other, 3, 0));
    EXPECT_EQ(test::bytesOf(*other), before);
    pic.deallocateBlocks();
    pic.deallocateBlocks();
    EXPECT_FALSE(pic.calculatePictureBlockiness(*pred));
}

}  // namespace
}  // namespace Orvel
