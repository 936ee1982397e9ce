#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

#include "orvel/img/hy16_img.h"
#include "orvel/img/i420_img.h"
#include "orvel/img/img.h"
#include "orvel/img/plane_access.h"
#include "orvel/img/uyvy_img.h"
#include "orvel/img/yuyv_img.h"
#include "orvel/img/yv16_img.h"
#include "orvel/watermark/time_code_value.h"
#include "tests/support/pictures.h"

namespace Orvel::test {

/// Luma size of a T whose chroma planes have so many samples.
template <class T>
tagSIZE lumaFor(tagSIZE chroma) {
    return {2 * chroma.cx, std::is_same_v<T, I420Img> ? 2 * chroma.cy : chroma.cy};
}

/// A picture of one level in all planes.
template <class T>
std::unique_ptr<T> flatPicture(tagSIZE luma, int level) {
    auto img = std::make_unique<T>();
    EXPECT_TRUE(img->allocate(luma.cx, luma.cy, T::getClassBpp()) && img->set(level));
    return img;
}

template <class T>
std::unique_ptr<T> copyOf(const T& img) {
    auto copied = std::make_unique<T>();
    EXPECT_TRUE(img.replicate(*copied, Img::rowAlignment) && img.copy(*copied));
    return copied;
}

/// A picture that is a window in a larger one, which tells who leaves the window.
template <class T>
struct Window {
    T around, img;
    /// @param level  of everything around the window; below 0: random.
    Window(tagSIZE luma, int level) {
        constexpr int margin = 6;
        EXPECT_TRUE(around.allocate(luma.cx + 2 * margin, luma.cy + 2 * margin, T::getClassBpp()));
        if (level < 0)
            fillRandom(around);
        else
            EXPECT_TRUE(around.set(level));
        around.getShadowRoi(img, {margin, margin}, luma);
    }
};

/// Pictures that none of the marks for pictures of any type takes.
inline std::vector<std::unique_ptr<Img>> unmarkablePictures() {
    std::vector<std::unique_ptr<Img>> all;
    for (tagSIZE size : {tagSIZE{63, 32}, {64, 31}}) {
        all.push_back(picture<I420Img>(size.cx, size.cy));
        all.push_back(picture<UYVYImg>(size.cx, size.cy));
    }
    all.push_back(picture<YV16Img>(64, 32));
    all.push_back(picture<HY16Img>(64, 32));
    for (std::uint32_t format : {YUYVImg::getClassFormat(), UYVYImg::getClassFormat()}) {
        all.push_back(picture<YUYVImg>(64, 32));
        all.back()->setFormat(format);
    }
    all.push_back(flatPicture<I420Img>({64, 32}, 16));
    all.back()->setFormat(YV16Img::getClassFormat());
    for (int i = 0; i < 3; ++i) all.push_back(std::make_unique<I420Img>());  // the last one stays empty
    const auto deep = all.end() - 3, lumaAlone = all.end() - 2;
    EXPECT_TRUE((*deep)->allocate(64, 32, 2) && (*deep)->set(16));
    EXPECT_TRUE((*lumaAlone)->allocatePlane(0, 64, 32, 4, 1) && (*lumaAlone)->set(16));
    return all;
}

inline std::uint8_t& sampleAt(const Img& img, int plane, int x, int y) {
    return planeView<std::uint8_t>(img, plane).row(y)[x];
}

}  // namespace Orvel::test
