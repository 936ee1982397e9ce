#include "tools/process/frame_ledger.h"

#include <gmock/gmock.h>

#include "orvel/img/i420_img.h"
#include "tests/tools/tool_support.h"

namespace OrvelTool {
namespace {

using Orvel::I420Img;
using Orvel::Img;
using ::testing::HasSubstr;

TEST(FrameLedger, TellsWhatBecameOfEachPicture) {
    FrameLedger ledger;
    I420Img source[4], out[3];
    for (auto& picture : source) ledger.read(picture);
    Img::moveUserData(out[0], source[0]);
    Img::moveUserData(out[0], source[1]);  // one output for two pictures
    ledger.written(out[0]);
    ledger.written(out[1]);  // of no picture
    Img::moveUserData(out[2], source[2]);
    ledger.discarded(out[2]);
    EXPECT_THAT(test::errorOf(ExitCode::refused, [&] { ledger.close(); }), HasSubstr("1 of 4 pictures were lost"));
    ledger.held(source[3].getUserData(nullptr));
    ledger.close();
    EXPECT_EQ(ledger.text(), "4 read, 1 added, 2 written, 2 dropped, 1 held back");
    EXPECT_EQ(out[0].getUserData(nullptr), nullptr);
}

TEST(FrameLedger, NoPictureComesOutTwice) {
    FrameLedger ledger;
    I420Img source, copy;
    ledger.read(source);
    ASSERT_TRUE(copy.addUserData(source.getUserData(nullptr)));
    ledger.written(source);
    EXPECT_THAT(test::errorOf(ExitCode::refused, [&] { ledger.written(copy); }), HasSubstr("picture 0 came out twice"));
}

}  // namespace
}  // namespace OrvelTool
