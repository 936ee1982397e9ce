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

/// The carrying samples of a packed picture's block: the first byte of every other pixel.
template <class Body>
void forEachCarrier(const UYVYImg& img, int x0, int y0, int width, int height, const Body& body) {
    for (int y = y0; y < y0 + height; ++y)
        for (int x = x0; x < x0 + width; x += 2) body(*img.getPixel(0, y, x));
}

/// Calls body(bit, column, row, width, height) for the block of each bit, lowest first, until it answers false.
template <class Body>
bool forEachBlock(int bits, int across, int down, int planeWidth, int planeHeight, const Body& body) {
    const int width = planeWidth / across, height = planeHeight / down;
    for (int bit = 0; bit < bits; ++bit)
        if (!body(bit, bit % across * width, bit / across * height, width, height)) return false;
    return true;
}

}  // namespace

bool SpitWatermark::write(Img& img, unsigned int value) {
    if (I420Img* const planar = markable<I420Img>(img)) {
        _writeI420(*planar, value);
        return true;
    }
    if (UYVYImg* const packed = markable<UYVYImg>(img)) {
        _writeUYVY(*packed, value);
        return true;
    }
    return false;
}

bool SpitWatermark::read(Img& img, unsigned int& value) {
    unsigned int bits = 0;
    I420Img* const planar = markable<I420Img>(img);
    UYVYImg* const packed = markable<UYVYImg>(img);
    const bool done = planar != nullptr ? _readI420(*planar, bits) : packed != nullptr && _readUYVY(*packed, bits);
    value = done ? bits : 0;
    return done;
}

void SpitWatermark::_writeI420(I420Img& img, unsigned int value) {
    const int pitch = img.getWidth(1);
    const auto write = [&](int bit, int x, int y, int width, int height) {
        _setBlock(value >> bit & 1, img.getPixels(1) + std::ptrdiff_t{y} * pitch + x, width, height, pitch);
        return true;
    };
    forEachBlock(MAX_BIT_EMBEDDED, DEFAULT_H_REGION, DEFAULT_V_REGION, img.getWidth(1), img.getHeight(1), write);
}

bool SpitWatermark::_readI420(I420Img& img, unsigned int& value) {
    const int pitch = img.getWidth(1);
    const auto read = [&](int bit, int x, int y, int width, int height) {
        unsigned char one = 0;
        if (!_getBitFromBlock(one, img.getPixels(1) + std::ptrdiff_t{y} * pitch + x, width, height, pitch))
            return false;
        value |= static_cast<unsigned int>(one) << bit;
        return true;
    };
    return forEachBlock(MAX_BIT_EMBEDDED, DEFAULT_H_REGION, DEFAULT_V_REGION, img.getWidth(1), img.getHeight(1), read);
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
    const auto write = [&](int bit, int x, int y, int width, int height) {
        forEachCarrier(img, x, y, width, height, [&](std::uint8_t& sample) { sample = bitLevel(value >> bit & 1); });
        return true;
    };
    forEachBlock(MAX_BIT_EMBEDDED, DEFAULT_H_REGION, DEFAULT_V_REGION, img.getWidth(0), img.getHeight(0), write);
}

bool SpitWatermark::_readUYVY(UYVYImg& img, unsigned int& value) {
    const auto read = [&](int bit, int x, int y, int width, int height) {
        // The divisor counts every pixel though only every other one carries: white blocks have a mean of 127.5.
        const double area = double(width) * height;
        double mean = 0;
        forEachCarrier(img, x, y, width, height, [&](const std::uint8_t& sample) { mean += sample / area; });
        unsigned char one = 0;
        if (!bitOfMean(one, mean)) return false;
        value |= static_cast<unsigned int>(one) << bit;
        return true;
    };
    return forEachBlock(MAX_BIT_EMBEDDED, DEFAULT_H_REGION, DEFAULT_V_REGION, img.getWidth(0), img.getHeight(0), read);
}

bool SpitWatermark::bitOfMean(unsigned char& bit, double mean) noexcept {
    bit = mean >= ONE_REGION_MIN && mean <= ONE_REGION_MAX ? 1 : 0;
    return bit != 0 || (mean >= ZERO_REGION_MIN && mean <= ZERO_REGION_MAX);
}

}  // namespace Orvel
