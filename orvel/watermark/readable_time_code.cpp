#include "orvel/watermark/readable_time_code.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "orvel/img/bgr_img.h"
#include "orvel/img/plane_access.h"
#include "orvel/primitives/fill.h"
#include "orvel/watermark/time_code_text.h"

namespace Orvel {
namespace {

using Pixels = primitives::PlaneView<std::uint32_t>;
using primitives::Status;

constexpr int glyphRows = 7, gap = 1, digitDots = 4, separatorDots = 1;
constexpr int textDots = 8 * digitDots + 3 * separatorDots + 10 * gap;

/// A row of dots is a number, its last dot the lowest bit.
struct Glyph {
    int width;
    std::array<std::uint8_t, glyphRows> rows;
};

constexpr Glyph digits[10] = {
    {digitDots, {0b0110, 0b1001, 0b1001, 0b1001, 0b1001, 0b1001, 0b0110}},
    {digitDots, {0b0010, 0b0110, 0b1010, 0b0010, 0b0010, 0b0010, 0b0111}},
    {digitDots, {0b0110, 0b1001, 0b0001, 0b0010, 0b0100, 0b1000, 0b1111}},
    {digitDots, {0b1110, 0b0001, 0b0001, 0b0110, 0b0001, 0b0001, 0b1110}},
    {digitDots, {0b0001, 0b0011, 0b0101, 0b1001, 0b1111, 0b0001, 0b0001}},
    {digitDots, {0b1111, 0b1000, 0b1110, 0b0001, 0b0001, 0b1001, 0b0110}},
    {digitDots, {0b0110, 0b1000, 0b1000, 0b1110, 0b1001, 0b1001, 0b0110}},
    {digitDots, {0b1111, 0b0001, 0b0001, 0b0010, 0b0010, 0b0100, 0b0100}},
    {digitDots, {0b0110, 0b1001, 0b1001, 0b0110, 0b1001, 0b1001, 0b0110}},
    {digitDots, {0b0110, 0b1001, 0b1001, 0b0111, 0b0001, 0b0001, 0b0110}},
};

constexpr Glyph separator(char c) noexcept {
    switch (c) {
        case ':':
            return {separatorDots, {0, 0, 1, 0, 1, 0, 0}};
        case ';':
            return {separatorDots, {0, 0, 1, 0, 1, 1, 0}};
        case '.':
            return {separatorDots, {0, 0, 0, 0, 0, 0, 1}};
        default:
            return {separatorDots, {0, 0, 0, 0, 0, 1, 1}};
    }
}

constexpr Glyph glyphOf(char c) noexcept {
    return c >= '0' && c <= '9' ? digits[c - '0'] : separator(c);
}

constexpr std::uint32_t pixelOf(int level) noexcept {
    const auto sample = static_cast<std::uint8_t>(level);
    return std::bit_cast<std::uint32_t>(std::array<std::uint8_t, 4>{sample, sample, sample, 255});
}

void drawGlyph(const Glyph& glyph, Pixels area, tagSIZE dot) {
    for (int row = 0; row < glyphRows; ++row)
        for (int column = 0; column < glyph.width; ++column) {
            if ((glyph.rows[static_cast<std::size_t>(row)] >> (glyph.width - 1 - column) & 1) == 0) continue;
            const Pixels pixels = area.rect(column * dot.cx, row * dot.cy, dot.cx, dot.cy);
            static_cast<void>(primitives::set(pixels, pixelOf(readableTextLevel)));  // the text fits the image
        }
}

tagSIZE largestDot(tagSIZE image) noexcept {
    const int width = image.cx / textDots, height = image.cy / glyphRows;
    return {std::min(width, 2 * height), std::min(height, 2 * width)};
}

}  // namespace

bool renderReadable(const TimeCodeValue& value, FieldFrameSelect select, tagSIZE size, BGRImg& readable) {
    const bool twoDigits = std::max({value.hours, value.minutes, value.seconds, value.frames}) <= 99;
    if (!twoDigits || size.cx < textDots || size.cy < glyphRows) return false;
    if (!readable.allocate(size.cx, size.cy, BGRImg::getClassBpp())) return false;
    const auto image = planeView<std::uint32_t>(readable, 0);
    if (primitives::set(image, pixelOf(readableGroundLevel)) != Status::ok) return false;

    const tagSIZE dot = largestDot(size);
    int x = (size.cx - textDots * dot.cx) / 2;
    const int y = (size.cy - glyphRows * dot.cy) / 2;
    for (const char c : timeCodeText(value, select)) {
        const Glyph glyph = glyphOf(c);
        drawGlyph(glyph, image.rect(x, y, glyph.width * dot.cx, glyphRows * dot.cy), dot);
        x += (glyph.width + gap) * dot.cx;
    }
    return true;
}

}  // namespace Orvel
