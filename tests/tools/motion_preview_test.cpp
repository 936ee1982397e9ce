// Arrows along the motion, and how preview draws them.
#include "tests/tools/moving_clip.h"
#include "tests/tools/run_support.h"
#include "tools/motion_arrows.h"

namespace OrvelTool {
namespace {

using test::greyFrame;
using test::pan;
using test::sceneLuma;
using ::testing::HasSubstr;

/// The rows of a picture through which arrows pass between its first and second frame.
std::vector<std::string> arrowRows(const std::string& clip, int width, int height, bool fields) {
    ClipInfo info;
    info.format = findFormatByName("i420");
    info.width = width;
    info.height = height;
    MotionArrows arrows(info, fields);
    test::Frames before(clip, "i420", width, height), after(clip, "i420", width, height);
    Orvel::Img* first = before.next();
    after.next();
    arrows.find(*first, *after.next());
    std::vector<std::string> rows;
    for (int y = 0; y < height; ++y) {
        rows.emplace_back();
        for (int x = 0; x < width; ++x) rows.back() += arrows.at(x, y) ? '#' : '.';
    }
    return rows;
}

TEST(MotionArrowsTest, LeadFromEachBlockToItsMatch) {
    const auto rows = arrowRows(pan(2, 96, 64, 6, 0), 96, 64, false);
    std::string shafts;  // six pixels to the left of each centre, from x = 22 on; the block at the edge has no match
    while (shafts.size() < 56) shafts += "#######.";
    for (std::size_t y = 12; y < 60; ++y) {
        const std::size_t line = y % 8;  // of the block
        if (line == 4) {
            EXPECT_EQ(rows[y].substr(22, 56), shafts) << y;
        } else if (line < 3 || line > 5) {  // beside the heads
            EXPECT_EQ(rows[y].find('#', 22), std::string::npos) << y;
        }
    }
}

TEST(MotionArrowsTest, EachFieldHasItsOwn) {
    std::string clip;
    for (int k = 0; k < 2; ++k)
        clip += greyFrame(96, 64, [&](int x, int y) { return sceneLuma(y % 2, x - (y % 2) * 6 * k, y / 2); });
    const auto rows = arrowRows(clip, 96, 64, true);
    for (std::size_t y = 0; y < rows.size(); ++y) {
        const std::size_t line = y / 2 % 8;  // of a block of the field
        const bool crossed = y % 2 == 1 && line >= 3 && line <= 5;
        EXPECT_EQ(rows[y].find('#', 22) != std::string::npos, crossed) << y << " " << rows[y];
    }
}

class MotionPreviewTest : public test::ProgramTest {
protected:
    std::string sheet(const std::string& arguments) {
        const auto outcome = run("preview " + arguments);
        EXPECT_EQ(outcome.exit, 0) << arguments << "\n" << outcome.err;
        return outcome.out;
    }
};

TEST_F(MotionPreviewTest, ArrowsShowWhereSomethingMovedSinceTheFrameBefore) {
    write("still_96x64_.yuv", pan(1, 96, 64, 0, 0) + pan(1, 96, 64, 0, 0));
    write("pan_96x64_.yuv", pan(3, 96, 64, 6, 0));
    EXPECT_EQ(sheet("still_96x64_.yuv - --motion"), sheet("still_96x64_.yuv -"));
    EXPECT_EQ(sheet("pan_96x64_.yuv - --motion --frames 1"), sheet("pan_96x64_.yuv - --frames 1"));
    const std::string plain = sheet("pan_96x64_.yuv - --frames 2 --every 2");
    const std::string arrows = sheet("pan_96x64_.yuv - --frames 2 --every 2 --motion");
    EXPECT_NE(arrows, plain);
    EXPECT_NE(sheet("pan_96x64_.yuv - --frames 2 --every 2 --motion --tile-width 48"),
              sheet("pan_96x64_.yuv - --frames 2 --every 2 --tile-width 48"));
    // The frame before counts also when it is not shown: twice the move would make other arrows.
    const std::string frame = pan(1, 96, 64, 0, 0);
    write("skip_96x64_.yuv", frame + pan(3, 96, 64, 6, 0).substr(2 * frame.size()));
    EXPECT_NE(sheet("skip_96x64_.yuv - --motion"), arrows);
}

TEST_F(MotionPreviewTest, InterlacedClipsAreSearchedByFieldsWhenTheyAreShown) {
    write("a_96x64_.yuv", pan(2, 96, 64, 6, 0));
    const auto woven = run("preview a_96x64_.yuv - --motion --field-order tff");
    EXPECT_THAT(woven.err, HasSubstr("note: --motion: a_96x64_.yuv holds two fields a frame, searched as one"));
    const auto fields = run("preview a_96x64_.yuv - --motion --field-order tff --fields");
    EXPECT_EQ(fields.err, "");
    EXPECT_NE(fields.out, sheet("a_96x64_.yuv - --field-order tff --fields"));
}

TEST_F(MotionPreviewTest, PicturesWithoutABlockAreRefused) {
    write("a_16x14_.yuv", std::string(2 * 16 * 21, 'x'));
    EXPECT_THAT(failure(4, "preview a_16x14_.yuv o.png --motion --fields"), HasSubstr("fits into 16x7; use"));
    sheet("a_16x14_.yuv - --motion");
}

}  // namespace
}  // namespace OrvelTool
