#include "orvel/watermark/spit_watermark.h"

#include <cstddef>

#include "orvel/img/i420_img.h"
#include "orvel/img/uyvy_img.h"
#include "orvel/primitives/fill.h"
#include "orvel/primitives/plane_view.h"
#include "orvel/watermark/marked_picture.h"

namespace Orvel {
namespace {

constexpr unsigned char bitLevel(unsigned int bit) noexcept {
    return bit != 0 ? 255 : 0;
}

}  // namespace

auto SpitWatermark::blockOf(int bit, int planeWidth, int planeHeight) noexcept -> Block {
    const int width = planeWidth / DEFAULT_H_REGION, height = planeHeight / DEFAULT_V_REGION;
    return {bit % DEFAULT_H_REGION * width, bit / DEFAULT_H_REGION * height, width, height};
}

bool SpitWatermark::write(Img& img, unsigned int value) {
    if (I420Img* const planar = markable<I420Img>(img, 2)) {
        _writeI420(*planar, value);
        return true;
    }
    if (UYVYImg* const packed = markable<UYVYImg>(img, 1)) {
        _writeUYVY(*packed, value);
        return true;
    }
    return false;
}

bool SpitWatermark::read(Img& img, unsigned int& value) {
    unsigned int bits = 0;
    I420Img* const planar = markable<I420Img>(img, 2);
    UYVYImg* const packed = markable<UYVYImg>(img, 1);
    const bool done = planar != nullptr ? _readI420(*planar, bits) : packed != nullptr && _readUYVY(*packed, bits);
    value = done ? bits : 0;
    return done;
}

void SpitWatermark::_writeI420(I420Img& img, unsigned int value) {
    const int pitch = img.getWidth(1);
    for (int bit = 0; bit < MAX_BIT_EMBEDDED; ++bit) {
        const Block block = blockOf(bit, img.getWidth(1), img.getHeight(1));
        unsigned char* const start = img.getPixels(1) + std::ptrdiff_t{block.y} * pitch + block.x;
        _setBlock(value >> bit & 1, start, block.width, block.height, pitch);
    }
}

bool SpitWatermark::_readI420(I420Img& img, unsigned int& value) {
    const int pitch = img.getWidth(1);
    for (int bit = 0; bit < MAX_BIT_EMBEDDED; ++bit) {
        const Block block = blockOf(bit, img.getWidth(1), img.getHeight(1));
        unsigned char* const start = img.getPixels(1) + std::ptrdiff_t{block.y} * pitch + block.x;
        unsigned char one = 0;
        if (!_getBitFromBlock(one, start, block.width, block.height, pitch)) return false;
        value |= unsigned{one} << bit;
    }
    return true;
}

void SpitWatermark::_setBlock(unsigned int value, unsigned char* start, int width, int height, int pitch) {
    // A block without samples is refused by the fill, and needs none.
    static_cast<void>(primitives::set(primitives::ViewU8{start, pitch, width, height}, bitLevel(value)));
}

bool SpitWatermark::_getBitFromBlock(unsigned char& bit, unsigned char* start, int width, int height, int pitch) {
    double mean = 0;
    const double area = double(width) * height;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) mean += start[std::ptrdiff_t{y} * pitch + x] / area;
    return bitOfMean(bit, mean);
}

void SpitWatermark::_writeUYVY(UYVYImg& img, unsigned int value) {
    for (int bit = 0; bit < MAX_BIT_EMBEDDED; ++bit) {
        const Block block = blockOf(bit, img.getWidth(0), img.getHeight(0));
        for (int y = block.y; y < block.y + block.height; ++y)
            for (int x = block.x; x < block.x + block.width; x += 2)
                *img.getPixel(0, y, x) = bitLevel(value >> bit & 1);
    }
}

bool SpitWatermark::_readUYVY(UYVYImg& img, unsigned int& value) {
    for (int bit = 0; bit < MAX_BIT_EMBEDDED; ++bit) {
        const Block block = blockOf(bit, img.getWidth(0), img.getHeight(0));
        // The divisor counts every pixel though only every other one carries: white blocks have a mean of 127.5.
        const double area = double(block.width) * block.height;
        double mean = 0;
        for (int y = block.y; y < block.y + block.height; ++y)
            for (int x = block.x; x < block.x + block.width; x += 2) mean += *img.getPixel(0, y, x) / area;
        unsigned char one = 0;
        if (!bitOfMean(one, mean)) return false;
        value |= unsigned{one} << bit;
    }
    return true;
}

bool SpitWatermark::bitOfMean(unsigned char& bit, double mean) noexcept {
    bit = mean >= ONE_REGION_MIN && mean <= ONE_REGION_MAX ? 1 : 0;
    return bit != 0 || (mean >= ZERO_REGION_MIN && mean <= ZERO_REGION_MAX);
}

}  // namespace Orvel
