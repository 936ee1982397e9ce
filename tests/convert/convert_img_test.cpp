#include "orvel/convert/convert_img.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "tests/convert/chroma_model.h"
#include "tests/support/pictures.h"

namespace Orvel {
namespace {

using test::bytesOf;
using test::ChromaModel;
using test::fillRandom;
using test::Samples;

enum class Chroma { same, down, downFields, up, upFields };

struct Conversion {
    std::string name;
    Chroma chroma;
    std::function<std::unique_ptr<Img>()> source, target;
    std::function<bool(Img&, const Img&)> convert;
};

template <class Dst, class Src, class F>
Conversion conversion(const char* name, Chroma chroma, F convert) {
    return {name, chroma, [] { return std::make_unique<Src>(); }, [] { return std::make_unique<Dst>(); },
            [convert](Img& d, const Img& s) { return convert(static_cast<Dst&>(d), static_cast<const Src&>(s)); }};
}

const std::vector<Conversion>& conversions() {
    using C = ConvertImg;
    const auto field = [](auto f) { return [f](auto& d, const auto& s) { return f(d, s, true); }; };
    const auto frame = [](auto f) { return [f](auto& d, const auto& s) { return f(d, s, false); }; };
    static const std::vector<Conversion> all{
        conversion<I420Img, UYVYImg>("UYVYToI420", Chroma::down, frame(C::UYVYToI420)),
        conversion<I420Img, UYVYImg>("UYVYToI420 interlaced", Chroma::downFields, field(C::UYVYToI420)),
        conversion<YV16Img, UYVYImg>("UYVYToYV16", Chroma::same, C::UYVYToYV16),
        conversion<YUYVImg, UYVYImg>("UYVYToYUYV", Chroma::same, C::UYVYToYUYV),
        conversion<UYVYImg, YUYVImg>("YUYVToUYVY", Chroma::same, C::YUYVToUYVY),
        conversion<I420Img, YUYVImg>("YUYVToI420", Chroma::down, C::YUYVToI420),
        conversion<YV16Img, YUYVImg>("YUYVToYV16", Chroma::same, C::YUYVToYV16),
        conversion<UYVYImg, I420Img>("I420ToUYVY", Chroma::up, frame(C::I420ToUYVY)),
        conversion<UYVYImg, I420Img>("I420ToUYVY interlaced", Chroma::upFields, field(C::I420ToUYVY)),
        conversion<YUYVImg, I420Img>("I420ToYUYV", Chroma::up, C::I420ToYUYV),
        conversion<YV16Img, I420Img>("I420ToYV16", Chroma::up, frame(C::I420ToYV16)),
        conversion<YV16Img, I420Img>("I420ToYV16 interlaced", Chroma::upFields, field(C::I420ToYV16)),
        conversion<YUYVImg, YV16Img>("YV16ToYUYV", Chroma::same, C::YV16ToYUYV),
        conversion<UYVYImg, YV16Img>("YV16ToUYVY", Chroma::same, C::YV16ToUYVY),
    };
    return all;
}

/// What the conversion makes of source in a destination that held before.
Samples expected(Chroma chroma, const Samples& source, Samples before) {
    const int pairs = source.h / 2, rows = chroma == Chroma::same ? source.h : 2 * pairs;
    std::copy_n(source.y.begin(), std::size_t(rows) * std::size_t(source.w), before.y.begin());
    const ChromaModel model{source.cw, source.h};
    const bool leftOver = source.h % 4 != 0 && pairs > 0;
    const auto plane = [&](const std::vector<int>& c, std::vector<int>& to) {
        switch (chroma) {
            case Chroma::same:
                to = c;
                break;
            case Chroma::down:
                model.downProgressive(c, to, 0, pairs);
                break;
            case Chroma::up:
                model.upProgressive(c, to, 0, pairs);
                break;
            case Chroma::downFields:
                model.downInterlaced(c, to);
                if (leftOver) model.downProgressive(c, to, pairs - 1, pairs);
                break;
            case Chroma::upFields:
                model.upInterlaced(c, to);
                if (leftOver) model.upProgressive(c, to, pairs - 1, pairs);
                break;
        }
    };
    plane(source.u, before.u);
    plane(source.v, before.v);
    return before;
}

/// Height mod 4 = 1 leaves the last luma line out when fields are kept apart; the pair before it is done twice.
void checkAgainstModel(const Conversion& c, int width, int height) {
    const auto source = c.source(), target = c.target();
    ASSERT_TRUE(source->allocate(
        width, height,
        source->getFormat() == UYVYImg::getClassFormat() || source->getFormat() == YUYVImg::getClassFormat() ? 2 : 1));
    const int bpp =
        target->getFormat() == UYVYImg::getClassFormat() || target->getFormat() == YUYVImg::getClassFormat() ? 2 : 1;
    ASSERT_TRUE(target->allocate(width + 4, height + 3, bpp));
    fillRandom(*source, unsigned(width * 100 + height));
    fillRandom(*target, 5);
    const auto untouched = bytesOf(*target);
    const Samples before = test::read(*target, width, height);
    ASSERT_TRUE(c.convert(*target, *source));
    ASSERT_EQ(test::read(*target, width, height), expected(c.chroma, test::read(*source, width, height), before));

    // Outside the region nothing may have changed: put the old region back and compare everything.
    const auto old = c.target();
    ASSERT_TRUE(old->allocate(width + 4, height + 3, bpp));
    fillRandom(*old, 5);
    for (int p = 0; p < old->numPlanes(); ++p) {
        const int columns = p == 0 ? width : width / 2;
        const int rows = p == 0 || old->getHeight(1) == old->getHeight(0) ? height : (height + 1) / 2;
        for (int row = 0; row < rows; ++row)
            std::memcpy(target->getPixel(p, row, 0), old->getPixel(p, row, 0), std::size_t(columns) * std::size_t(bpp));
    }
    ASSERT_EQ(bytesOf(*target), untouched);
}

TEST(ConvertYuv, EqualsThePlainModelOnOddAndEvenSizes) {
    for (const Conversion& c : conversions())
        for (int width : {2, 3, 16, 31, 64, 65})
            for (int height : {1, 2, 3, 4, 5, 6, 7, 8, 9, 22, 64}) {
                SCOPED_TRACE(c.name + " " + std::to_string(width) + " x " + std::to_string(height));
                checkAgainstModel(c, width, height);
                if (HasFatalFailure()) return;
            }
}

TEST(ConvertYuv, GivesTheSameBytesForAnyNumberOfThreads) {
    test::withThreadCounts([](std::size_t threads) {
        for (const Conversion& c : conversions()) {
            SCOPED_TRACE(c.name + " with " + std::to_string(threads) + " threads");
            checkAgainstModel(c, 722, 190);
            if (HasFatalFailure()) return;
        }
    });
}

TEST(ConvertYuv, WorksBetweenViews) {
    UYVYImg frame;
    I420Img canvas;
    ASSERT_TRUE(frame.allocate(64, 40, 2) && canvas.allocate(80, 64, 1));
    fillRandom(frame, 1);
    UYVYImg crop, field;
    frame.getShadowRoi(crop, {10, 4}, {30, 32});
    crop.getBottomFieldShadow(field);
    I420Img place;
    canvas.getShadowRoi(place, {8, 6}, {30, 16});
    ASSERT_TRUE(ConvertImg::UYVYToI420(place, field, false));
    I420Img alone;
    ASSERT_TRUE(alone.allocate(30, 16, 1) && ConvertImg::UYVYToI420(alone, field, false));
    EXPECT_EQ(bytesOf(place), bytesOf(alone));
    // The crop's first bottom line is line 5 of the frame; luma is the second byte of a pixel.
    EXPECT_EQ(*canvas.getPixel(0, 6, 8), *(frame.getPixel(0, 5, 10) + 1));
}

TEST(ConvertYuv, RefusesADestinationThatIsTooSmall) {
    for (const Conversion& c : conversions())
        for (auto [width, height] : {std::pair{15, 16}, {16, 15}}) {
            const auto source = c.source(), target = c.target();
            ASSERT_TRUE(source->allocate(16, 16, 2) && target->allocate(width, height, 2));
            fillRandom(*target, 3);
            const auto before = bytesOf(*target);
            EXPECT_FALSE(c.convert(*target, *source)) << c.name;
            EXPECT_EQ(bytesOf(*target), before) << c.name;
        }
}

TEST(ConvertYuv, PicturesOfOneColumnAreRefusedExceptByTheWholePictureFieldCall) {
    I420Img narrow;
    UYVYImg packed;
    ASSERT_TRUE(narrow.allocate(1, 4, 1) && packed.allocate(1, 4, 2));
    EXPECT_FALSE(ConvertImg::UYVYToI420(narrow, packed, false));
    EXPECT_FALSE(ConvertImg::I420ToUYVY(packed, narrow, false));
    EXPECT_TRUE(ConvertImg::I420ToUYVY(packed, narrow, true));  // its answer is not looked at
}

TEST(ConvertYuv, BandBodiesNameWhatFailed) {
    UYVYImg source;
    I420Img target;
    ASSERT_TRUE(source.allocate(8, 4, 2) && target.allocate(8, 2, 1));
    const ConvertImg::CUYVYToI420_progressive body(&target, &source);
    body(tbb::blocked_range<int>(0, 1));
    try {
        body(tbb::blocked_range<int>(1, 2));
        FAIL() << "a band outside the destination was accepted";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "ippiCbYCr422ToYCbCr420_8u_C2P3R failed");
    }
}

TEST(ConvertYuv, SwappingTwiceGivesTheSameBytes) {
    UYVYImg first, again;
    YUYVImg swapped;
    ASSERT_TRUE(first.allocate(31, 5, 2) && swapped.allocate(31, 5, 2) && again.allocate(31, 5, 2));
    fillRandom(first, 9);
    ASSERT_TRUE(ConvertImg::UYVYToYUYV(swapped, first) && ConvertImg::YUYVToUYVY(again, swapped));
    EXPECT_EQ(bytesOf(again), bytesOf(first));
}

}  // namespace
}  // namespace Orvel
