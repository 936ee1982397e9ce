#include "orvel/primitives/block_statistics.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/primitives/block_model.h"
#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using Plane = test::GuardedPlane<std::uint8_t>;
using Values = std::vector<std::int32_t>;
using test::BlockModel;
using ::testing::ElementsAre;

class BlockStatisticsTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(BlockStatisticsTest);

/// Pictures that drive the sums to their ends and through their middle.
void fillKind(Plane& plane, int kind, std::mt19937& rng) {
    for (int y = 0; y < plane.height(); ++y)
        for (int x = 0; x < plane.width(); ++x) {
            const int noise = int(rng() % 7), step = (x / 8 + y / 8) % 2 * 40;
            const int values[] = {int(rng() % 256), (x + y) % 2 * 255, x % 2 * 255, y % 8 < 4 ? 0 : 255,
                                  60 + step + noise};
            plane.at(x, y) = std::uint8_t(values[kind]);
        }
}
constexpr int kinds = 5;

TEST_P(BlockStatisticsTest, MeasuresOfOneRowOfBlocks) {
    std::mt19937 rng(41);
    for (int blocks : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 40})
        for (int kind = 0; kind < kinds; ++kind) {
            Plane row(blocks * 8 + kind, 8, 3, 61 + kind);
            fillKind(row, kind, rng);
            Values activity(std::size_t(blocks), -1), structure(std::size_t(blocks), -1);
            ASSERT_EQ(blockActivity(row.view(), activity), Status::ok);
            ASSERT_EQ(blockFineStructure(row.view(), structure), Status::ok);
            for (int i = 0; i < blocks; ++i) {
                const BlockModel model{row.view(), 8, 0, i};
                ASSERT_EQ(activity[std::size_t(i)], model.activity()) << "block " << i << " of " << blocks;
                ASSERT_EQ(structure[std::size_t(i)], model.fineStructure()) << "block " << i << " of " << blocks;
            }
        }
}

TEST_P(BlockStatisticsTest, EdgeStepsOfEveryBlockOfAGrid) {
    std::mt19937 rng(42);
    for (int side : {4, 8})
        for (int cols : {1, 2, 3, 4, 5, 8, 17, 64, 65, 130})
            for (int rows : {1, 2, 3}) {
                const int kind = int(rng() % kinds);
                Plane grid(cols * side, rows * side, cols % 4, 61 + rows);
                fillKind(grid, kind, rng);
                for (int row = 0; row < rows; ++row) {
                    const int first = row % 2 * (cols / 3);
                    Values steps(std::size_t(cols - first - row / 2 * (cols / 2)), -1);
                    ASSERT_EQ(blockEdgeSteps(grid.view(), side, row, first, steps), Status::ok);
                    for (int col = first; col < first + int(steps.size()); ++col)
                        ASSERT_EQ(steps[std::size_t(col - first)],
                                  (BlockModel{grid.view(), side, row, col}.edgeStep(rows, cols)))
                            << "side " << side << " block " << row << ", " << col << " of " << rows << " x " << cols;
                }
            }
}

TEST_P(BlockStatisticsTest, KnownPictures) {
    Plane ramp(16, 16), flat(16, 16), chroma(8, 8);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            const bool corner = x >= 8 && y >= 8;
            ramp.at(x, y) = std::uint8_t(100 + 3 * x + 2 * y + ((x + y) % 3 == 0 ? 7 : 0) + (corner ? 12 : 0));
            flat.at(x, y) = corner ? 66 : 60;
        }
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) chroma.at(x, y) = x >= 4 && y >= 4 ? 66 : 60;

    Values values(2);
    const auto activity = [&](int row) {
        EXPECT_EQ(blockActivity(ramp.view().band(8 * row, 8 * row + 8), values), Status::ok);
        return values;
    };
    EXPECT_THAT(activity(0), ElementsAre(463, 468));
    EXPECT_THAT(activity(1), ElementsAre(468, 469));
    for (int row = 0; row < 2; ++row) {
        ASSERT_EQ(blockFineStructure(ramp.view().band(8 * row, 8 * row + 8), values), Status::ok);
        for (int structure : values) EXPECT_EQ((structure * 123 + 128) >> 8, 484);
    }
    const auto steps = [&](Plane& plane, int side, int row) {
        EXPECT_EQ(blockEdgeSteps(plane.view(), side, row, 0, values), Status::ok);
        return values;
    };
    EXPECT_THAT(steps(ramp, 8, 0), ElementsAre(-49, 13));
    EXPECT_THAT(steps(ramp, 8, 1), ElementsAre(17, 17));
    EXPECT_THAT(steps(flat, 8, 0), ElementsAre(0, 48));
    EXPECT_THAT(steps(flat, 8, 1), ElementsAre(48, 48));
    EXPECT_THAT(steps(chroma, 4, 0), ElementsAre(0, 24));
    EXPECT_THAT(steps(chroma, 4, 1), ElementsAre(24, 24));
}

TEST(BlockStatistics, Refusals) {
    Plane plane(20, 16);
    plane.fill(1);
    const auto eight = plane.view().band(0, 8);
    Values two(2), three(3), none;
    EXPECT_EQ(blockActivity({}, two), Status::nullPointer);
    EXPECT_EQ(blockActivity(eight, none), Status::nullPointer);
    EXPECT_EQ(blockActivity(plane.view(), two), Status::badSize);
    EXPECT_EQ(blockFineStructure(eight, three), Status::badSize);
    EXPECT_EQ(blockEdgeSteps(plane.view(), 8, 0, 0, two), Status::badSize) << "20 columns are not whole blocks";
    const auto grid = plane.view().topLeft(16, 16);
    EXPECT_EQ(blockEdgeSteps(grid, 16, 0, 0, two), Status::badSize);
    EXPECT_EQ(blockEdgeSteps(grid, 8, 0, 0, three), Status::badArgument);
    EXPECT_EQ(blockEdgeSteps(grid, 8, 0, 1, two), Status::badArgument);
    EXPECT_EQ(blockEdgeSteps(grid, 8, 0, -1, two), Status::badArgument);
    EXPECT_EQ(blockEdgeSteps(grid, 8, 2, 0, two), Status::badArgument);
    EXPECT_EQ(blockEdgeSteps(grid, 8, -1, 0, two), Status::badArgument);
}

}  // namespace
}  // namespace Orvel::primitives
