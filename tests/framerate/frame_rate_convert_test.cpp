#include "orvel/framerate/frame_rate_convert.h"

#include <gmock/gmock.h>

#include <limits>

#include "orvel/img/hy16_img.h"
#include "orvel/img/i420_img.h"
#include "tests/framerate/converter_support.h"
#include "tests/support/pictures.h"
#include "tests/support/test_heap.h"

namespace Orvel {
namespace {

using test::bytesOf;
using test::fillRandom;
using test::Frame;
using test::rates;
using test::userDataOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Made {
    int weight, value;
    bool operator==(const Made&) const = default;
    friend void PrintTo(const Made& m, std::ostream* os) { *os << "weight " << m.weight << " value " << m.value; }
};

/// Pushes a frame and makes all outputs that are due; the frames that left go to released.
std::vector<Made> push(FrameRateConvert& converter, Img& frame, std::vector<Img*>* released = nullptr) {
    std::vector<Made> made;
    EXPECT_TRUE(converter.pushImg(frame));
    Img* back = nullptr;
    const auto note = [&] {
        if (back != nullptr && released != nullptr) released->push_back(back);
    };
    while (converter.isConverterReady(&back)) {
        Frame out;
        EXPECT_TRUE(converter.rateConvert(out, FieldFrameBoth, &back));
        made.push_back({converter.lastBlendAlpha(), out.value()});
        note();
    }
    note();
    return made;
}

std::vector<Img*> drain(FrameRateConvert& converter) {
    std::vector<Img*> frames;
    while (converter.bufferedFrames() > 0) frames.push_back(converter.popImg());
    return frames;
}

TEST(FrameRateConvertTest, MakesTheKnownOutputsOfShortSequences) {
    Frame a(0), b(255), c(51), d(204);
    FrameRateConvert converter;
    std::vector<Img*> released;
    ASSERT_TRUE(converter.allocate(rates(25, 1, 50, 1)));
    EXPECT_THAT(push(converter, a), IsEmpty());
    EXPECT_THAT(push(converter, b, &released), ElementsAre(Made{255, 0}, Made{130, 125}, Made{2, 253}));
    EXPECT_THAT(released, IsEmpty()) << "the first frame is still queued";
    EXPECT_THAT(push(converter, c, &released), ElementsAre(Made{130, 155}, Made{2, 53}));
    EXPECT_THAT(released, ElementsAre(&a));

    released.clear();
    ASSERT_TRUE(converter.allocate(rates(50, 1, 25, 1)));
    EXPECT_THAT(push(converter, a, &released), IsEmpty());
    EXPECT_THAT(push(converter, b, &released), ElementsAre(Made{255, 0}));
    EXPECT_THAT(push(converter, c, &released), ElementsAre(Made{5, 55}));
    EXPECT_THAT(push(converter, d, &released), IsEmpty());
    EXPECT_THAT(released, ElementsAre(&a, &b)) << "also the push without output releases the oldest frame";
}

TEST(FrameRateConvertTest, RefusesRatesThatAreNotPositive) {
    FrameRateConvert converter;
    std::int32_t FrameRateConvertParams::*const fields[] = {
        &FrameRateConvertParams::srcRateNum, &FrameRateConvertParams::srcRateDen, &FrameRateConvertParams::dstRateNum,
        &FrameRateConvertParams::dstRateDen};
    for (const auto field : fields)
        for (const std::int32_t value : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
            FrameRateConvertParams p = rates(25, 1, 50, 1);
            Frame frame;
            ASSERT_TRUE(converter.allocate(p) && converter.pushImg(frame));
            p.*field = value;
            EXPECT_FALSE(converter.allocate(p)) << value;
            EXPECT_EQ(converter.bufferedFrames(), 0);
        }
}

TEST(FrameRateConvertTest, RefusesWhatIsNotDueAndChangesNothing) {
    FrameRateConvert converter;
    Frame a(10), b(20), out(99);
    Img* released = &a;
    ASSERT_TRUE(converter.allocate(rates(25, 1, 50, 1)));
    EXPECT_EQ(converter.requiredFrames(), 3);
    EXPECT_FALSE(converter.rateConvert(out, FieldFrameBoth, &released)) << "nothing queued";
    EXPECT_EQ(released, nullptr);
    ASSERT_TRUE(converter.pushImg(a));
    EXPECT_EQ(converter.bufferedFrames(), 2);
    EXPECT_FALSE(converter.rateConvert(out, FieldFrameBoth, &released)) << "one frame short";
    ASSERT_TRUE(converter.pushImg(b));
    EXPECT_FALSE(converter.pushImg(a)) << "full";
    EXPECT_FALSE(converter.rateConvert(out, FieldFrameBoth, nullptr));
    EXPECT_FALSE(converter.isConverterReady(nullptr));
    EXPECT_EQ(converter.bufferedFrames(), 3);
    EXPECT_EQ(out.value(), 99);
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(converter.rateConvert(out, FieldFrameBoth, &released)) << i;
    EXPECT_FALSE(converter.rateConvert(out, FieldFrameBoth, &released)) << "the time of the next output is to come";
}

TEST(FrameRateConvertTest, ARefusedOutputCanBeMadeAgain) {
    FrameRateConvert converter;
    Frame a(0, 8, 6), b(255, 8, 6), out(7, 8, 6);
    char first = 0, second = 0;
    ASSERT_TRUE(a.addUserData(&first) && b.addUserData(&second));
    ASSERT_TRUE(converter.allocate(rates(25, 1, 50, 1, true, true)));
    ASSERT_TRUE(converter.pushImg(a) && converter.pushImg(b));
    Img* released = nullptr;
    Frame small(7, 8, 5);
    for (const int weight : {255, 130, 2}) {
        for (const FieldFrameSelect sel : {FieldFrameBoth, FieldFrameTop, FieldFrameBottom}) {
            Img empty;
            EXPECT_FALSE(converter.rateConvert(empty, sel, &released)) << weight;
            // Half the lines of a repeated frame fit into the three lines of a top field.
            const bool fits = weight == 255 && sel == FieldFrameTop;
            EXPECT_TRUE(fits || !converter.rateConvert(small, sel, &released)) << weight << " sel " << sel;
            EXPECT_THAT(userDataOf(small), IsEmpty());
        }
        ASSERT_TRUE(converter.rateConvert(out, FieldFrameBoth, &released));
        EXPECT_EQ(converter.lastBlendAlpha(), weight);
    }
    EXPECT_THAT(userDataOf(out), ElementsAre(&first, &second)) << "what three outputs in one picture gathered";
    EXPECT_EQ(converter.extractUserData(), nullptr);
}

/// What repeating a frame in out leaves there: the lines of sel, floor(height / 2) of them for one field.
template <class T>
std::vector<std::uint8_t> withLines(const T& out, const T& frame, FieldFrameSelect sel) {
    std::vector<std::uint8_t> bytes;
    for (int p = 0; p < out.numPlanes(); ++p)
        for (int y = 0; y < out.getHeight(p); ++y) {
            const int height = out.getHeight(p), parity = sel == FieldFrameTop ? 0 : 1;
            const bool copied = sel == FieldFrameBoth || (y % 2 == parity && y / 2 < height / 2);
            const std::uint8_t* row = (copied ? frame : out).getPixel(p, y, 0);
            bytes.insert(bytes.end(), row, row + out.getWidth(p) * out.getBpp(p));
        }
    return bytes;
}

template <class T>
void repeatsTheSelectedLines(int width, int height) {
    for (const bool newer : {false, true})
        for (const FieldFrameSelect sel : {FieldFrameTop, FieldFrameBottom, FieldFrameBoth}) {
            T a, b, out;
            for (T* img : {&a, &b, &out}) ASSERT_TRUE(img->allocate(width, height, T::getClassBpp()));
            fillRandom(a, 1), fillRandom(b, 2), fillRandom(out, 3);
            FrameRateConvert converter;
            Img* released = nullptr;
            ASSERT_TRUE(converter.allocate(rates(1, 1, 1, 1, false)));
            ASSERT_TRUE(converter.pushImg(a) && converter.pushImg(b));
            if (newer) {
                T scratch;
                ASSERT_TRUE(scratch.allocate(width, height, T::getClassBpp()));
                ASSERT_TRUE(converter.rateConvert(scratch, FieldFrameBoth, &released));
            }
            const auto expected = withLines(out, newer ? b : a, sel);
            ASSERT_TRUE(converter.rateConvert(out, sel, &released));
            EXPECT_EQ(converter.lastBlendAlpha(), newer ? 0 : 255);
            EXPECT_EQ(bytesOf(out), expected) << width << " x " << height << " sel " << sel << " newer " << newer;
        }
}

TEST(FrameRateConvertTest, RepeatsFieldsAndFrames) {
    repeatsTheSelectedLines<I420Img>(16, 12);
    repeatsTheSelectedLines<I420Img>(7, 9);
    repeatsTheSelectedLines<I420Img>(3, 1);
    repeatsTheSelectedLines<HY16Img>(10, 7);
}

TEST(FrameRateConvertTest, AnUnknownSelectionRepeatsNothingAndMixesAllLines) {
    FrameRateConvert converter;
    Frame a(0, 4, 4), b(255, 4, 4), out(99, 4, 4);
    Img* released = nullptr;
    const auto none = static_cast<FieldFrameSelect>(0);
    ASSERT_TRUE(converter.allocate(rates(25, 1, 50, 1)));
    ASSERT_TRUE(converter.pushImg(a) && converter.pushImg(b));
    ASSERT_TRUE(converter.rateConvert(out, none, &released));
    EXPECT_EQ(bytesOf(out), std::vector<std::uint8_t>(16, 99));
    ASSERT_TRUE(converter.rateConvert(out, none, &released));
    EXPECT_EQ(bytesOf(out), std::vector<std::uint8_t>(16, 125));
    ASSERT_TRUE(converter.allocate(rates(25, 1, 50, 1, false)));
    ASSERT_TRUE(converter.pushImg(a) && converter.pushImg(b));
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(converter.rateConvert(out, none, &released));
    EXPECT_EQ(converter.lastBlendAlpha(), 0);
    EXPECT_EQ(bytesOf(out), std::vector<std::uint8_t>(16, 125));
}

TEST(FrameRateConvertTest, EmptyingHandsEveryFrameBackOnce) {
    Frame a(0), b(255), c(51);
    FrameRateConvert converter;
    ASSERT_TRUE(converter.allocate(rates(25, 1, 50, 1)));
    EXPECT_EQ(converter.popImg(), nullptr) << "nothing there, and no frame's second place either";
    ASSERT_TRUE(converter.pushImg(a));
    EXPECT_THAT(drain(converter), ElementsAre(nullptr, &a));

    ASSERT_TRUE(converter.allocate(rates(25, 1, 50, 1)));
    ASSERT_TRUE(converter.pushImg(a) && converter.pushImg(b));
    EXPECT_THAT(drain(converter), ElementsAre(nullptr, &a, &b));
    EXPECT_EQ(converter.popImg(), nullptr);

    // The converter goes on: three frames fill it, and the outputs that were due still are.
    std::vector<Img*> released;
    EXPECT_THAT(push(converter, a), IsEmpty());
    EXPECT_THAT(push(converter, b), IsEmpty());
    EXPECT_EQ(converter.bufferedFrames(), 2);
    EXPECT_THAT(push(converter, c, &released).size(), 9u) << "200 / 25 + 1";
    EXPECT_THAT(released, ElementsAre(&a));
    EXPECT_THAT(drain(converter), ElementsAre(&b, &c));

    // After a new start the first frame takes two places again.
    ASSERT_TRUE(converter.allocate(rates(25, 1, 50, 1)));
    EXPECT_EQ(converter.lastBlendAlpha(), 0);
    EXPECT_THAT(push(converter, c), IsEmpty());
    EXPECT_THAT(push(converter, a).size(), 3u);
    EXPECT_THAT(drain(converter), ElementsAre(&c, &a));
    converter.deallocate();
    converter.deallocate();
    EXPECT_EQ(converter.popImg(), nullptr);
}

TEST(FrameRateConvertTest, UserDataStaysOnTheFramesUnlessAsked) {
    char item = 0;
    Frame a, b, out;
    ASSERT_TRUE(a.addUserData(&item));
    FrameRateConvert converter;
    Img* released = nullptr;
    ASSERT_TRUE(converter.allocate(rates(25, 1, 50, 1)));
    ASSERT_TRUE(converter.pushImg(a) && converter.pushImg(b));
    ASSERT_TRUE(converter.rateConvert(out, FieldFrameBoth, &released));
    drain(converter);
    EXPECT_THAT(userDataOf(a), ElementsAre(&item));
    EXPECT_THAT(userDataOf(out), IsEmpty());
    EXPECT_EQ(converter.extractUserData(), nullptr);
}

TEST(FrameRateConvertTest, UserDataOfAnEmptiedQueueIsKept) {
    char items[4] = {};
    Frame a, b, c, d;
    FrameRateConvert converter;
    ASSERT_TRUE(converter.allocate(rates(50, 1, 25, 1, true, true)));
    ASSERT_TRUE(a.addUserData(&items[0]) && a.addUserData(nullptr) && a.addUserData(&items[1]));
    ASSERT_TRUE(b.addUserData(&items[2]) && b.addUserData(&items[3]));
    ASSERT_TRUE(converter.pushImg(a) && converter.pushImg(b));
    drain(converter);
    for (char& item : items) EXPECT_EQ(converter.extractUserData(), &item);
    EXPECT_EQ(converter.extractUserData(), nullptr);

    // The oldest of three frames in a queue that has filled up anew was never one of a pair.
    ASSERT_TRUE(a.addUserData(&items[0]) && c.addUserData(&items[2]) && d.addUserData(&items[3]));
    ASSERT_TRUE(converter.pushImg(a) && converter.pushImg(c) && converter.pushImg(d));
    Frame first, second;
    Img* released = nullptr;
    ASSERT_TRUE(converter.rateConvert(first, FieldFrameBoth, &released));
    ASSERT_TRUE(converter.rateConvert(second, FieldFrameBoth, &released));
    EXPECT_THAT(userDataOf(first), ElementsAre(&items[0], &items[2]));
    EXPECT_THAT(userDataOf(second), ElementsAre(&items[3]));
}

TEST(FrameRateConvertTest, AFrameThatMakesNoOutputLeavesItsUserDataHere) {
    char items[3] = {};
    Frame a, b, c;
    FrameRateConvert converter;
    ASSERT_TRUE(converter.allocate(rates(200, 1, 25, 1, true, true)));
    push(converter, a), push(converter, b);
    drain(converter);
    ASSERT_TRUE(a.addUserData(&items[0]) && b.addUserData(&items[1]) && c.addUserData(&items[2]));
    std::vector<Img*> released;
    push(converter, a), push(converter, b), push(converter, c, &released);
    ASSERT_THAT(released, ElementsAre(&a));
    EXPECT_THAT(userDataOf(a), IsEmpty());
    EXPECT_EQ(converter.extractUserData(), &items[0]);
    EXPECT_TRUE(converter.allocate(rates(200, 1, 25, 1, true, true)));
    EXPECT_EQ(converter.extractUserData(), nullptr) << "a new start forgets those of the frame that is now the oldest";
}

}  // namespace
}  // namespace Orvel
