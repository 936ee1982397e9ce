#include "orvel/img/all_formats.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <tuple>
#include <typeinfo>
#include <vector>

namespace Orvel {
namespace {

struct PlaneSize {
    int width, height, step;
};
struct Format {
    std::uint32_t code;
    int bpp, channels;
    std::vector<PlaneSize> of721x481, of720x3;  ///< none: refused
    std::function<std::unique_ptr<Img>()> make;
    std::uint32_t classCode;  ///< what the class says
    int classBpp;
};

template <class T>
Format format(std::uint32_t code, int bpp, int channels, std::vector<PlaneSize> of721x481,
              std::vector<PlaneSize> of720x3) {
    return {code,
            bpp,
            channels,
            of721x481,
            of720x3,
            [] { return std::make_unique<T>(); },
            T::getClassFormat(),
            T::getClassBpp()};
}

const Format allFormats[] = {
    format<I420Img>(0x30323449, 1, 1, {{721, 481, 724}, {360, 241, 360}, {360, 241, 360}},
                    {{720, 3, 720}, {360, 2, 360}, {360, 2, 360}}),
    format<YV16Img>(0x36315659, 1, 1, {{721, 481, 724}, {360, 481, 360}, {360, 481, 360}},
                    {{720, 3, 720}, {360, 3, 360}, {360, 3, 360}}),
    format<HY16Img>(0x36315948, 2, 1, {}, {{720, 3, 1440}, {360, 3, 720}, {360, 3, 720}}),
    format<UYVYImg>(0x59565955, 2, 2, {{721, 481, 1444}}, {{720, 3, 1440}}),
    format<YUYVImg>(0x56595559, 2, 2, {{721, 481, 1444}}, {{720, 3, 1440}}),
    format<V216Img>(0x36313256, 4, 2, {}, {{720, 3, 2880}}),
    format<BGRImg>(0, 4, 3, {{721, 481, 2884}}, {{720, 3, 2880}}),
};

void expectPlanes(const Img& img, const Format& f, const std::vector<PlaneSize>& planes) {
    ASSERT_EQ(img.numPlanes(), int(planes.size()));
    for (int p = 0; p < img.numPlanes(); ++p) {
        const PlaneSize& size = planes[std::size_t(p)];
        int channels = 0;
        EXPECT_TRUE(img.getInterleavedChannels(p, channels));
        EXPECT_EQ(std::tuple(img.getWidth(p), img.getHeight(p), img.getStep(p), img.getBpp(p), channels),
                  std::tuple(size.width, size.height, size.step, f.bpp, f.channels))
            << p;
    }
}

TEST(FormatTest, EachHasItsPlanesChannelsAndCode) {
    for (const Format& f : allFormats) {
        SCOPED_TRACE(f.code);
        EXPECT_TRUE(f.classCode == f.code && f.classBpp == f.bpp);
        const auto img = f.make();
        EXPECT_EQ(img->getFormat(), f.code);
        ASSERT_TRUE(img->allocate(720, 3, f.bpp));
        expectPlanes(*img, f, f.of720x3);
        const bool refused = f.of721x481.empty();
        EXPECT_EQ(img->allocate(721, 481, f.bpp), !refused);
        expectPlanes(*img, f, refused ? f.of720x3 : f.of721x481);
        EXPECT_EQ(img->getFormat(), f.code);
        img->deallocate(-1);
        EXPECT_EQ(img->getFormat(), Img::noFormat);
        const std::unique_ptr<Img> fresh(img->replicateType());
        ASSERT_NE(fresh, nullptr);
        const Img &made = *fresh, &same = *img;
        EXPECT_TRUE(typeid(made) == typeid(same) && made.getFormat() == f.code && made.numPlanes() == 0);
    }
}

TEST(FormatTest, AFailedAllocationLeavesNoPlanes) {
    for (const Format& f : allFormats)
        for (const auto& [width, height] : {std::pair{1 << 20, 1 << 20}, {-2, 4}, {4, -2}}) {
            SCOPED_TRACE(f.code);
            const bool planar = f.of720x3.size() == 3, packed8Bit = !planar && f.code != V216Img::getClassFormat();
            const auto img = f.make();
            ASSERT_TRUE(img->allocate(8, 8, f.bpp));
            EXPECT_FALSE(img->allocate(width, height, f.bpp)) << width << " x " << height;
            EXPECT_TRUE(img->numPlanes() == 0 && img->getPixels(0) == nullptr && img->getPixels(2) == nullptr);
            EXPECT_EQ(img->getFormat(), planar ? Img::noFormat : f.code);
            ASSERT_TRUE(img->allocate(8, 8, f.bpp));
            EXPECT_EQ(img->getFormat(), f.code);
            img->deallocate(-1);
            EXPECT_FALSE(img->allocate(width, height, f.bpp));
            EXPECT_EQ(img->getFormat(), packed8Bit ? f.code : Img::noFormat);
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
