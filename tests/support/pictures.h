#pragma once
#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "orvel/img/img.h"

namespace Orvel::test {

/// Random bytes in every row of every plane; padding is left alone.
inline void fillRandom(Img& img, unsigned seed = 1) {
    std::mt19937 rng(seed);
    for (int p = 0; p < img.numPlanes(); ++p)
        for (int y = 0; y < img.getHeight(p); ++y) {
            std::uint8_t* row = img.getPixels(p) + std::ptrdiff_t{y} * img.getStep(p);
            for (int i = 0; i < img.getWidth(p) * img.getBpp(p); ++i) row[i] = static_cast<std::uint8_t>(rng() >> 8);
        }
}

/// A picture of random bytes.
template <class T>
std::unique_ptr<T> picture(int width, int height, unsigned seed = 1) {
    auto img = std::make_unique<T>();
    EXPECT_TRUE(img->allocate(width, height, T::getClassBpp()));
    fillRandom(*img, seed);
    return img;
}

/// The bytes of a plane's pixels, without padding.
inline std::vector<std::uint8_t> bytesOf(const Img& img, int plane) {
    std::vector<std::uint8_t> bytes;
    for (int y = 0; y < img.getHeight(plane); ++y) {
        const std::uint8_t* row = img.getPixels(plane) + std::ptrdiff_t{y} * img.getStep(plane);
        bytes.insert(bytes.end(), row, row + img.getWidth(plane) * img.getBpp(plane));
    }
    return bytes;
}

/// The same of all planes, one after the other.
inline std::vector<std::uint8_t> bytesOf(const Img& img) {
    std::vector<std::uint8_t> bytes;
    for (int p = 0; p < img.numPlanes(); ++p) {
        const auto plane = bytesOf(img, p);
        bytes.insert(bytes.end(), plane.begin(), plane.end());
    }
    return bytes;
}

/// The user data of a picture, in order; each item once.
inline std::vector<void*> userDataOf(const Img& img) {
    std::vector<void*> items;
    for (void* at = img.getUserData(nullptr); at != nullptr; at = img.getUserData(at)) items.push_back(at);
    return items;
}

/// Runs body with at most 1, 2 and 4 threads.
template <class Body>
void withThreadCounts(const Body& body) {
    for (std::size_t threads : {1u, 2u, 4u}) {
        const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
        body(threads);
    }
}

}  // namespace Orvel::test
