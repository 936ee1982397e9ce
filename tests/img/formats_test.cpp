#include "orvel/img/all_formats.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace Orvel {
namespace {

struct PlaneSize {
    int width, height, step;
};
struct Expected {
    std::uint32_t code;
    int bpp, channels;
    std::vector<PlaneSize> of721x481, of720x3;  // none: refused
};

template <class T>
Expected expected();
template <>
Expected expected<I420Img>() {
    return {0x30323449,
            1,
            1,
            {{721, 481, 724}, {360, 241, 360}, {360, 241, 360}},
            {{720, 3, 720}, {360, 2, 360}, {360, 2, 360}}};
}
template <>
Expected expected<YV16Img>() {
    return {0x36315659,
            1,
            1,
            {{721, 481, 724}, {360, 481, 360}, {360, 481, 360}},
            {{720, 3, 720}, {360, 3, 360}, {360, 3, 360}}};
}
template <>
Expected expected<HY16Img>() {
    return {0x36315948, 2, 1, {}, {{720, 3, 1440}, {360, 3, 720}, {360, 3, 720}}};
}
template <>
Expected expected<UYVYImg>() {
    return {0x59565955, 2, 2, {{721, 481, 1444}}, {{720, 3, 1440}}};
}
template <>
Expected expected<YUYVImg>() {
    return {0x56595559, 2, 2, {{721, 481, 1444}}, {{720, 3, 1440}}};
}
template <>
Expected expected<V216Img>() {
    return {0x36313256, 4, 2, {}, {{720, 3, 2880}}};
}
template <>
Expected expected<BGRImg>() {
    return {0, 4, 3, {{721, 481, 2884}}, {{720, 3, 2880}}};
}

template <class T>
class FormatTest : public ::testing::Test {};
using AllFormats = ::testing::Types<I420Img, YV16Img, HY16Img, UYVYImg, YUYVImg, V216Img, BGRImg>;
TYPED_TEST_SUITE(FormatTest, AllFormats);

void expectPlanes(const Img& img, const Expected& e, const std::vector<PlaneSize>& planes) {
    ASSERT_EQ(img.numPlanes(), int(planes.size()));
    for (int p = 0; p < img.numPlanes(); ++p) {
        const PlaneSize& size = planes[std::size_t(p)];
        int channels = 0;
        EXPECT_TRUE(img.getInterleavedChannels(p, channels));
        EXPECT_EQ(channels, e.channels);
        EXPECT_EQ(img.getWidth(p), size.width) << p;
        EXPECT_EQ(img.getHeight(p), size.height) << p;
        EXPECT_EQ(img.getStep(p), size.step) << p;
        EXPECT_EQ(img.getBpp(p), e.bpp) << p;
    }
}

TYPED_TEST(FormatTest, HasItsPlanesChannelsAndCode) {
    const Expected e = expected<TypeParam>();
    EXPECT_EQ(TypeParam::getClassFormat(), e.code);
    EXPECT_EQ(TypeParam::getClassBpp(), e.bpp);
    TypeParam img;
    EXPECT_EQ(img.getFormat(), e.code);
    ASSERT_TRUE(img.allocate(720, 3, e.bpp));
    expectPlanes(img, e, e.of720x3);
    const bool refused = e.of721x481.empty();
    EXPECT_EQ(img.allocate(721, 481, e.bpp), !refused);
    expectPlanes(img, e, refused ? e.of720x3 : e.of721x481);
    EXPECT_EQ(img.getFormat(), e.code);
    img.deallocate(-1);
    EXPECT_EQ(img.getFormat(), Img::noFormat);
    const std::unique_ptr<Img> fresh(img.replicateType());
    EXPECT_NE(dynamic_cast<TypeParam*>(fresh.get()), nullptr);
    EXPECT_TRUE(fresh->getFormat() == e.code && fresh->numPlanes() == 0);
}

TYPED_TEST(FormatTest, AFailedAllocationLeavesNoPlanes) {
    constexpr bool planar = findFormat(TypeParam::getClassFormat())->planes == 3;
    constexpr bool packed8Bit = !planar && !std::is_same_v<TypeParam, V216Img>;
    for (const auto& [width, height] : {std::pair{1 << 20, 1 << 20}, {-2, 4}, {4, -2}}) {
        TypeParam img;
        ASSERT_TRUE(img.allocate(8, 8, TypeParam::getClassBpp()));
        EXPECT_FALSE(img.allocate(width, height, TypeParam::getClassBpp())) << width << " x " << height;
        EXPECT_TRUE(img.numPlanes() == 0 && img.getPixels(0) == nullptr && img.getPixels(2) == nullptr);
        EXPECT_EQ(img.getFormat(), planar ? Img::noFormat : TypeParam::getClassFormat());
        ASSERT_TRUE(img.allocate(8, 8, TypeParam::getClassBpp()));
        EXPECT_EQ(img.getFormat(), TypeParam::getClassFormat());
        img.deallocate(-1);
        EXPECT_FALSE(img.allocate(width, height, TypeParam::getClassBpp()));
        EXPECT_EQ(img.getFormat(), packed8Bit ? TypeParam::getClassFormat() : Img::noFormat);
    }
}

TEST(FormatTest, PackedPicturesAreFilledPairByPair) {
    UYVYImg uyvy;
    YUYVImg yuyv;
    V216Img v216;
    ASSERT_TRUE(uyvy.allocate(5, 2, 2) && yuyv.allocate(5, 2, 2) && v216.allocate(4, 2, 4));
    std::memset(uyvy.getPixels(0), 77, 24);
    std::memset(yuyv.getPixels(0), 77, 24);
    EXPECT_TRUE(uyvy.set(235, 128, 127) && yuyv.set(235, 128, 127) && v216.set(0xEB00, 0x8001, 0x7FFE));
    const std::uint8_t u[] = {128, 235, 127, 235, 128, 235, 127, 235, 77, 77, 77, 77};
    const std::uint8_t y[] = {235, 128, 235, 127, 235, 128, 235, 127, 77, 77, 77, 77};
    const std::uint16_t v[] = {0x8001, 0xEB00, 0x7FFE, 0xEB00, 0x8001, 0xEB00, 0x7FFE, 0xEB00};
    for (int row : {0, 1}) {
        EXPECT_EQ(std::memcmp(uyvy.getPixel(0, row, 0), u, sizeof u), 0) << row;
        EXPECT_EQ(std::memcmp(yuyv.getPixel(0, row, 0), y, sizeof y), 0) << row;
        EXPECT_EQ(std::memcmp(v216.getPixel(0, row, 0), v, sizeof v), 0) << row;
    }
    UYVYImg none;
    EXPECT_TRUE(none.set(1, 2, 3) && V216Img().set(1, 2, 3));
    ASSERT_TRUE(none.allocate(1, 3, 2));
    EXPECT_TRUE(none.set(1, 2, 3)) << "no whole pair, nothing to do";

    V216Img view;  // a view of an odd number of pixels ends within a pair
    std::memset(v216.getPixels(0), 0, 32);
    v216.getShadowRoi(view, {0, 0}, {3, 2});
    EXPECT_TRUE(view.set(1, 2, 3));
    const std::uint16_t cut[] = {2, 1, 3, 1, 2, 1, 0, 0};
    EXPECT_EQ(std::memcmp(v216.getPixel(0, 1, 0), cut, sizeof cut), 0);
    std::uint8_t bytes[18] = {};
    V216Img odd;  // at an odd address
    ASSERT_TRUE(odd.setExternalMemory(0, bytes + 1, 4, 1, 4, -1) && odd.set(1, 2, 3));
    EXPECT_TRUE(std::memcmp(bytes + 1, cut, 12) == 0 && bytes[0] == 0 && bytes[17] == 0);
}

}  // namespace
}  // namespace Orvel
