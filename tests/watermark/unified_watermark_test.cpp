#include "orvel/watermark/unified_watermark.h"

#include <gtest/gtest.h>

#include <functional>

#include "orvel/img/bgr_img.h"
#include "orvel/img/yv16_img.h"
#include "orvel/watermark/unified_watermark_interlace.h"
#include "tests/support/test_heap.h"
#include "tests/watermark/marks_support.h"

namespace Orvel {
namespace {

using namespace test;

bool operator==(tagSIZE a, tagSIZE b) {
    return a.cx == b.cx && a.cy == b.cy;
}

struct Layout {
    int left, top, right, bottom;
    Layout(int w, int h) : left(w / 8), top(h / 8) {
        right = 7 * w / 8, bottom = 3 * h / 4;
        right -= (right - left) % 7 + 1, bottom -= (bottom - top) % 6 + 1;
    }
    tagSIZE readable(int h) const { return {2 * (right - left) / 3, 2 * (h - bottom) / 3}; }
};

/// Sample by sample: which cell is this, and what stands in it? set(x, y, level) is called for all of the grid.
void stampPlainly(int w, int h, const TimeCodeValue& tc, const std::function<void(int, int, int)>& set) {
    const Layout grid(w, h);
    const int cellWidth = (grid.right - grid.left + 1) / 7, cellHeight = (grid.bottom - grid.top + 1) / 6;
    char bits[40];
    TimeCodeValue::getBitsFromTimeCode(tc, bits);
    for (int y = grid.top; y <= grid.bottom; ++y)
        for (int x = grid.left; x <= grid.right; ++x) {
            const int inX = (x - grid.left) % cellWidth, inY = (y - grid.top) % cellHeight;
            const int cell = (y - grid.top) / cellHeight * 7 + (x - grid.left) / cellWidth;
            const bool key = cell == 0 || cell == 41, corner = inX < cellWidth / 2 && inY < cellHeight / 2;
            set(x, y, key ? (corner ? 17 : 128) : bits[cell - 1] == '1' ? 239 : 17);
        }
}

constexpr TimeCodeValue someTimeCode{21, 47, 36, 18, true, true, true};

template <class T>
class UnifiedWatermarks : public ::testing::Test {};
using Formats = ::testing::Types<I420Img, YV16Img>;
TYPED_TEST_SUITE(UnifiedWatermarks, Formats);

/// Writes grids with encode(img, size) and compares every byte in and around the picture.
template <class T, class Encode>
void expectGrids(tagSIZE chroma, int fields, const Encode& encode) {
    Window<T> window(lumaFor<T>(chroma), -1);
    const auto expected = copyOf(window.around);
    T inside;
    expected->getShadowRoi(inside, {6, 6}, lumaFor<T>(chroma));
    for (int field = 0; field < fields; ++field) {
        TimeCodeValue tc = someTimeCode;
        if (fields == 2) tc.topField = field == 0, tc.bottomField = field == 1;
        stampPlainly(chroma.cx, (chroma.cy + fields - 1 - field) / fields, tc, [&](int x, int y, int level) {
            for (int plane : {1, 2}) sampleAt(inside, plane, x, fields * y + field) = std::uint8_t(level);
        });
    }
    tagSIZE size;
    ASSERT_TRUE(encode(window.img, &size));
    EXPECT_TRUE(bytesOf(window.around) == bytesOf(*expected)) << chroma.cx << " x " << chroma.cy;
    const int rows = chroma.cy / fields;
    EXPECT_TRUE(size == Layout(chroma.cx, rows).readable(rows)) << size.cx << " x " << size.cy;
    EXPECT_TRUE(encode(window.img, nullptr));
}

TYPED_TEST(UnifiedWatermarks, WriteTheirGridsAndNothingElse) {
    for (tagSIZE chroma : {tagSIZE{96, 96}, {97, 103}, {128, 99}, {131, 211}, {360, 288}})
        expectGrids<TypeParam>(chroma, 1, [](TypeParam& img, tagSIZE* size) {
            return UnifiedWatermark<TypeParam>().encode(img, someTimeCode, size);
        });
    for (tagSIZE chroma : {tagSIZE{96, 192}, {97, 193}, {360, 576}})
        expectGrids<TypeParam>(chroma, 2, [](TypeParam& img, tagSIZE* size) {
            return UnifiedWatermarkInterlace<TypeParam>().encode(img, someTimeCode, size);
        });
}

TEST(UnifiedWatermark, StandsWhereItAlwaysDid) {
    const auto img = flatPicture<I420Img>({1920, 1080}, 128);
    tagSIZE size;
    UnifiedWatermark<I420Img> mark;
    ASSERT_TRUE(mark.encode(*img, {23, 59, 59, 29}, &size));
    EXPECT_TRUE(size == (tagSIZE{475, 92}));
    for (int plane : {1, 2}) {
        EXPECT_EQ(sampleAt(*img, plane, 120, 67), 17);
        EXPECT_EQ(sampleAt(*img, plane, 120 + 50, 67 + 27), 17);
        EXPECT_EQ(sampleAt(*img, plane, 120 + 51, 67 + 28), 128);
        EXPECT_EQ(sampleAt(*img, plane, 120 + 102, 67), 239);   // hours 20 and something
        EXPECT_EQ(sampleAt(*img, plane, 833 - 102, 402), 239);  // the last constant
        EXPECT_EQ(sampleAt(*img, plane, 833 - 101, 402 - 55), 17);
        EXPECT_EQ(sampleAt(*img, plane, 834, 402), 128);
    }
}

// ---- the readable image

/// A readable image of random bytes.
std::unique_ptr<BGRImg> strip(tagSIZE size) {
    return picture<BGRImg>(size.cx, size.cy, 9);
}

void pastePlainly(Img& img, int x0, int y0, const BGRImg& readable, int rowsApart) {
    for (int y = 0; y < readable.getHeight(0); ++y)
        for (int x = 0; x < readable.getWidth(0); ++x)
            sampleAt(img, 2, x0 + x, y0 + rowsApart * y) = *readable.getPixel(0, y, x);
}

TYPED_TEST(UnifiedWatermarks, PasteTheBlueOfAReadableImageBelowTheGrid) {
    const tagSIZE chroma{131, 211};
    Window<TypeParam> window(lumaFor<TypeParam>(chroma), -1);
    UnifiedWatermark<TypeParam> mark;
    tagSIZE size;
    const auto tooEarly = strip({4, 4});
    EXPECT_FALSE(mark.encodeReadable(window.img, *tooEarly));
    ASSERT_TRUE(mark.encode(window.img, someTimeCode, &size));
    const auto expected = copyOf(window.around);
    TypeParam inside;
    expected->getShadowRoi(inside, {6, 6}, lumaFor<TypeParam>(chroma));
    const Layout grid(chroma.cx, chroma.cy);
    const int roomX = chroma.cx - grid.left, roomY = chroma.cy - grid.bottom - 1;
    for (tagSIZE fitting : {size, tagSIZE{roomX, roomY}, tagSIZE{0, 0}}) {
        const auto readable = strip(fitting);
        pastePlainly(inside, grid.left, grid.bottom + 1, *readable, 1);
        EXPECT_TRUE(mark.encodeReadable(window.img, *readable));
        EXPECT_TRUE(bytesOf(window.around) == bytesOf(*expected)) << fitting.cx << " x " << fitting.cy;
    }
    BGRImg empty;
    EXPECT_TRUE(mark.encodeReadable(window.img, empty));
    const auto wide = strip({roomX + 1, 1}), high = strip({1, roomY + 1});
    EXPECT_FALSE(mark.encodeReadable(window.img, *wide));
    EXPECT_FALSE(mark.encodeReadable(window.img, *high));
    TypeParam none;
    const auto fitting = strip(size);
    EXPECT_FALSE(mark.encodeReadable(none, *fitting));
    EXPECT_TRUE(bytesOf(window.around) == bytesOf(*expected));
}

TYPED_TEST(UnifiedWatermarks, PasteAReadableImageIntoTheChosenField) {
    const tagSIZE chroma{131, 211};  // the top field has one row more, and its grid would end elsewhere
    Window<TypeParam> window(lumaFor<TypeParam>(chroma), -1);
    UnifiedWatermarkInterlace<TypeParam> mark;
    tagSIZE size;
    ASSERT_TRUE(mark.encode(window.img, someTimeCode, &size));
    const Layout bottomGrid(chroma.cx, chroma.cy / 2);
    const auto readable = strip(size);
    for (FieldFrameSelect select : {FieldFrameTop, FieldFrameBottom}) {
        const auto expected = copyOf(window.around);
        TypeParam inside;
        expected->getShadowRoi(inside, {6, 6}, lumaFor<TypeParam>(chroma));
        pastePlainly(inside, bottomGrid.left, 2 * (bottomGrid.bottom + 1) + (select == FieldFrameTop ? 0 : 1),
                     *readable, 2);
        EXPECT_TRUE(mark.encodeReadable(window.img, select, *readable));
        EXPECT_TRUE(bytesOf(window.around) == bytesOf(*expected)) << select;
        for (int other : {-1, 0, 3}) EXPECT_FALSE(mark.encodeReadable(window.img, FieldFrameSelect(other), *readable));
        EXPECT_TRUE(bytesOf(window.around) == bytesOf(*expected));
    }
}

// ---- refusals

/// Planes of these sizes and bytes per sample in a picture of random bytes.
template <class T>
std::unique_ptr<T> planes(const std::vector<tagSIZE>& sizes, int bpp = 1) {
    auto img = std::make_unique<T>();
    for (std::size_t p = 0; p < sizes.size(); ++p)
        EXPECT_TRUE(img->allocatePlane(int(p), sizes[p].cx, sizes[p].cy, 4, bpp));
    fillRandom(*img);
    return img;
}

TYPED_TEST(UnifiedWatermarks, RefuseOtherPicturesAndLeaveThemAlone) {
    const tagSIZE luma{400, 400}, good{200, 200};
    const std::unique_ptr<TypeParam> pictures[] = {
        std::make_unique<TypeParam>(),
        planes<TypeParam>({luma}),
        planes<TypeParam>({luma, {95, 200}, {95, 200}}),
        planes<TypeParam>({luma, {200, 95}, {200, 95}}),
        planes<TypeParam>({luma, good, good}, 2),
    };
    const std::unique_ptr<TypeParam> onlyUnwritable[] = {
        planes<TypeParam>({luma, good}),
        planes<TypeParam>({luma, good, {200, 180}}),
    };
    const auto refuses = [&](TypeParam& img) {
        const auto before = bytesOf(img);
        tagSIZE size{7, 8};
        UnifiedWatermark<TypeParam> mark;
        UnifiedWatermarkInterlace<TypeParam> fieldMark;
        EXPECT_FALSE(mark.encode(img, someTimeCode, &size));
        EXPECT_FALSE(fieldMark.encode(img, someTimeCode, &size));
        EXPECT_TRUE(size == (tagSIZE{7, 8}));
        EXPECT_TRUE(bytesOf(img) == before);
    };
    for (const auto& img : onlyUnwritable) refuses(*img);
    for (const auto& img : pictures) {
        refuses(*img);
        TimeCodeValue value{1, 2, 3, 4}, values[2] = {value, value};
        EXPECT_FALSE(UnifiedWatermark<TypeParam>().decode(*img, value));
        EXPECT_FALSE(UnifiedWatermarkInterlace<TypeParam>().decode(*img, values));
        EXPECT_TRUE(value == values[0] && value == values[1] && value == (TimeCodeValue{1, 2, 3, 4}));
    }
}

TYPED_TEST(UnifiedWatermarks, AFieldThatIsTooSmallLeavesTheOtherAsItIs) {
    const auto img = flatPicture<TypeParam>(lumaFor<TypeParam>({96, 191}), 128);  // a top field of 96 rows, 95 below
    ASSERT_EQ(img->getHeight(1), 191);
    UnifiedWatermarkInterlace<TypeParam> mark;
    EXPECT_FALSE(mark.encode(*img, someTimeCode, nullptr));
    TimeCodeValue values[2] = {{}, {1, 2, 3, 4}}, top = someTimeCode;
    EXPECT_FALSE(mark.decode(*img, values));
    top.bottomField = false;
    EXPECT_EQ(values[0], top);
    EXPECT_EQ(values[1], (TimeCodeValue{1, 2, 3, 4}));
    EXPECT_FALSE(mark.decode(*img, nullptr));
    EXPECT_FALSE(mark.decode(*img, FieldFrameBottom, values[1]));
    EXPECT_FALSE(mark.decode(*img, FieldFrameBoth, values[1]));
    EXPECT_TRUE(mark.decode(*img, FieldFrameTop, values[1]));
    EXPECT_EQ(values[1], top);
}

TYPED_TEST(UnifiedWatermarks, AnExhaustedHeapIsAFailureThatWritesNothing) {
    const auto img = picture<TypeParam>(400, 800, 3);
    const auto readable = strip({20, 20});
    const auto before = bytesOf(*img);
    UnifiedWatermarkInterlace<TypeParam> mark;
    for (int granted = 0;; ++granted) {
        TimeCodeValue values[2];
        bool encoded = true, read = true, pasted = true;
        const auto starve = [&](const auto& run) {
            const FailingHeap heap(granted);
            return run();
        };
        encoded = starve([&] { return mark.encode(*img, someTimeCode, nullptr); });
        if (encoded) break;
        read = starve([&] { return mark.decode(*img, values); });
        pasted = starve([&] { return mark.encodeReadable(*img, FieldFrameTop, *readable); });
        EXPECT_FALSE(read || pasted) << granted;
        ASSERT_TRUE(bytesOf(*img) == before) << granted;
        ASSERT_LT(granted, 100);
    }
    EXPECT_FALSE(bytesOf(*img) == before);
}

}  // namespace
}  // namespace Orvel
