#include <gtest/gtest.h>

#include <limits>

#include "orvel/mctf/motion_compensate_img.h"
#include "orvel/mctf/motion_overlay.h"
#include "tests/mctf/filter_model.h"
#include "tests/support/pictures.h"

namespace Orvel {
namespace {

void fillVectors(MEData& data, const std::function<MEBlockData(int)>& block) {
    for (int i = 0; i < data.numBlocks(); ++i) data.setBlockData(block(i), i);
}

bool compensate(I420Img& dst, I420Img& ref, MEData& data, bool draw = false) {
    MotionCompensateImg<I420Img> compensator;
    MotionCompensateImgParams params{dst.getWidth(0), dst.getHeight(0)};
    compensator.setParams(params);
    compensator.setRefPic(&ref);
    return compensator.process(&dst, &data, draw);
}

TEST(MotionCompensate, PredictsEveryBlockFromItsVector) {
    std::mt19937 rng(71);
    for (const tagSIZE size : {tagSIZE{64, 32}, {8, 8}, {42, 27}, {46, 39}, {136, 72}, {7, 9}})
        for (int reach : {16, 4 * size.cx + 100}) {
            const auto ref = test::makeScene(0, size.cx, size.cy, 1), dst = test::makeScene(0, size.cx, size.cy, 2);
            MEData data;
            ASSERT_TRUE(data.allocate(size.cx / 8 * (size.cy / 8)));
            fillVectors(data, [&](int) {
                const auto component = [&] { return int(rng() % unsigned(2 * reach + 1)) - reach; };
                return MEBlockData{0, component(), component()};
            });
            const auto expected = test::predictPlainly(*ref, data, size.cx, size.cy);
            test::withThreadCounts([&](std::size_t threads) {
                ASSERT_TRUE(dst->set(99));
                ASSERT_TRUE(compensate(*dst, *ref, data));
                ASSERT_EQ(test::difference(*expected, *dst), "")
                    << size.cx << " x " << size.cy << ", vectors up to " << reach << ", threads " << threads;
            });
        }
}

TEST(MotionCompensate, FieldsOfAPictureNeitherReadNorWriteTheOtherField) {
    for (int height : {54, 55, 56, 57, 58}) {
        const auto ref = test::makeScene(3, 72, height, 1), dst = test::makeScene(0, 72, height, 2);
        I420Img before, refField, dstField;
        ASSERT_TRUE(dst->replicate(before, 4) && dst->copy(before));
        ref->getBottomFieldShadow(refField);
        dst->getBottomFieldShadow(dstField);
        MEData data;
        ASSERT_TRUE(data.allocate(9 * (height / 2 / 8)));
        fillVectors(data, [](int i) { return MEBlockData{0, 3 * i - 40, 50 - 4 * i}; });
        const auto expected = test::predictPlainly(refField, data, 72, height / 2);
        ASSERT_TRUE(compensate(dstField, refField, data));
        ASSERT_EQ(test::difference(*expected, dstField), "") << height;
        I420Img topBefore, top;
        before.getTopFieldShadow(topBefore);
        dst->getTopFieldShadow(top);
        ASSERT_EQ(test::difference(topBefore, top), "") << height;
    }
}

TEST(MotionCompensate, VectorsAnywhereAreTakenFromTheEdge) {
    const auto ref = test::makeScene(3, 64, 32, 1), dst = test::makeScene(0, 64, 32, 2);
    MEData data;
    ASSERT_TRUE(data.allocate(32));
    const int least = std::numeric_limits<int>::min(), most = std::numeric_limits<int>::max() - 3;  // whole samples
    fillVectors(data, [=](int i) { return MEBlockData{0, i % 2 == 0 ? least : most, i % 4 < 2 ? least : most}; });
    ASSERT_TRUE(compensate(*dst, *ref, data, true)) << "arrows included";
    ASSERT_TRUE(compensate(*dst, *ref, data));
    for (int i = 0; i < 32; ++i)
        ASSERT_EQ(test::sampleAt(*dst, 0, 8 * (i % 8) + 3, 8 * (i / 8) + 5),
                  test::sampleAt(*ref, 0, i % 2 == 0 ? 0 : 63, i % 4 < 2 ? 0 : 31));
}

TEST(MotionCompensate, ArrowsShowTheVectorsOnTopOfThePrediction) {
    const auto ref = test::makePicture(96, 96, [](int, int, int) { return 50; }), dst = test::makeScene(0, 96, 96, 2);
    MEData data;
    ASSERT_TRUE(data.allocate(144));
    data.setBlockData({0, 4 * 30, 4 * 20}, 3 * 12 + 2);  // block at (16, 24)
    ASSERT_TRUE(compensate(*dst, *ref, data, true));
    const auto luma = [&](int x, int y) { return int(test::sampleAt(*dst, 0, x, y)); };
    EXPECT_EQ(luma(20, 28), 200) << "centre";
    EXPECT_EQ(luma(50, 48), 200) << "tip";
    EXPECT_EQ(luma(35, 38), 200) << "half way, across blocks that come later";
    int drawn = 0, beside = 0;
    for (int y = 0; y < 96; ++y)
        for (int x = 0; x < 96; ++x) {
            const bool dot = x % 8 == 4 && y % 8 == 4;
            ASSERT_TRUE(luma(x, y) == 200 || luma(x, y) == 50);
            if (luma(x, y) != 200) continue;
            drawn += !dot;
            beside += !dot && std::abs((x - 20) * 20 - (y - 28) * 30) > 36;  // farther than a sample from the shaft
            if (dot) continue;
            EXPECT_TRUE(x >= 20 && x <= 51 && y >= 28 && y <= 50) << x << ", " << y;
        }
    EXPECT_GE(drawn, 28) << "the shaft";
    EXPECT_GE(beside, 4) << "the head has two sides";
    for (int p : {1, 2})
        for (int i = 0; i < 48 * 48; ++i) ASSERT_EQ(test::sampleAt(*dst, p, i % 48, i / 48), 50);
}

TEST(MotionOverlay, DrawsTheSameArrowsOverAnyPicture) {
    const auto ref = test::makeScene(0, 70, 45, 1), predicted = test::makeScene(0, 70, 45, 2),
               drawn = test::makeScene(0, 70, 45, 2);
    MEData data;
    ASSERT_TRUE(data.allocate(8 * 5 + 1));
    std::mt19937 rng(5);
    fillVectors(data, [&](int) { return MEBlockData{0, int(rng() % 161) - 80, int(rng() % 161) - 80}; });
    ASSERT_TRUE(compensate(*predicted, *ref, data, true));
    ASSERT_TRUE(compensate(*drawn, *ref, data));
    ASSERT_NE(test::bytesOf(*drawn), test::bytesOf(*predicted));
    ASSERT_TRUE(drawMotionVectors(*drawn, data));
    EXPECT_EQ(test::bytesOf(*drawn), test::bytesOf(*predicted));
}

TEST(MotionOverlay, DrawsDotsOnlyWhereTheyAreWanted) {
    const auto picture = test::makePicture(16, 8, [](int, int, int) { return 50; });
    MEData data;
    ASSERT_TRUE(data.allocate(2));
    data.setBlockData({0, 3, 3}, 0);   // shorter than a sample
    data.setBlockData({0, 0, -4}, 1);  // a sample up
    const auto luma = [&](int x, int y) { return int(test::sampleAt(*picture, 0, x, y)); };
    ASSERT_TRUE(drawMotionVectors(*picture, data, 99, false));
    EXPECT_EQ(luma(4, 4), 50);
    EXPECT_EQ(luma(12, 4), 99);
    EXPECT_EQ(luma(12, 3), 99);
    ASSERT_TRUE(drawMotionVectors(*picture, data, 99));
    EXPECT_EQ(luma(4, 4), 99);
    MEData few;
    I420Img none;
    ASSERT_TRUE(few.allocate(1));
    const auto before = test::bytesOf(*picture);
    EXPECT_FALSE(drawMotionVectors(*picture, few));
    EXPECT_FALSE(drawMotionVectors(none, data));
    EXPECT_EQ(test::bytesOf(*picture), before);
}

TEST(MotionCompensate, RefusesWhatDoesNotFit) {
    const auto ref = test::makeScene(0, 64, 32, 1), dst = test::makeScene(0, 64, 32, 2),
               other = test::makeScene(0, 64, 40, 3);
    const auto before = test::bytesOf(*dst);
    MEData data, few;
    ASSERT_TRUE(data.allocate(32) && few.allocate(31));
    MotionCompensateImg<I420Img> compensator;
    EXPECT_FALSE(compensator.process(dst.get(), &data, false)) << "nothing is set";
    MotionCompensateImgParams params{64, 32};
    compensator.setParams(params);
    EXPECT_FALSE(compensator.process(dst.get(), &data, false)) << "no reference";
    compensator.setRefPic(other.get());
    EXPECT_FALSE(compensator.process(dst.get(), &data, false)) << "reference of another size";
    compensator.setRefPic(ref.get());
    EXPECT_FALSE(compensator.process(other.get(), &data, false));
    EXPECT_FALSE(compensator.process(nullptr, &data, false));
    EXPECT_FALSE(compensator.process(dst.get(), nullptr, false));
    EXPECT_FALSE(compensator.process(dst.get(), &few, false));
    EXPECT_FALSE(compensator.process(ref.get(), &data, false)) << "onto itself";
    EXPECT_EQ(test::bytesOf(*dst), before);
    EXPECT_TRUE(compensator.process(dst.get(), &data, false));
}

}  // namespace
}  // namespace Orvel
