#pragma once
#include <tbb/global_control.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "orvel/img/img.h"

namespace Orvel::test {

/// Random bytes in every row of every plane; padding is left alone.
inline void fillRandom(Img& img, unsigned seed) {
    std::mt19937 rng(seed);
    for (int p = 0; p < img.numPlanes(); ++p)
        for (int y = 0; y < img.getHeight(p); ++y) {
            std::uint8_t* row = img.getPixels(p) + std::ptrdiff_t{y} * img.getStep(p);
            for (int i = 0; i < img.getWidth(p) * img.getBpp(p); ++i) row[i] = static_cast<std::uint8_t>(rng() >> 8);
        }
}

/// The bytes of the pixels, plane after plane, without padding.
inline std::vector<std::uint8_t> bytesOf(const Img& img) {
    std::vector<std::uint8_t> bytes;
    for (int p = 0; p < img.numPlanes(); ++p)
        for (int y = 0; y < img.getHeight(p); ++y) {
            const std::uint8_t* row = img.getPixels(p) + std::ptrdiff_t{y} * img.getStep(p);
            bytes.insert(bytes.end(), row, row + img.getWidth(p) * img.getBpp(p));
        }
    return bytes;
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
