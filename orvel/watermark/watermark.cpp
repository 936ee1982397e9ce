#include "orvel/watermark/watermark.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>

#include "orvel/img/i420_img.h"
#include "orvel/img/plane_access.h"
#include "orvel/img/uyvy_img.h"
#include "orvel/watermark/marked_picture.h"

namespace Orvel {
namespace {

constexpr int markedLines = 6;
constexpr int linesWithMarkedChroma = 8;  // of a packed picture
constexpr int leftPixels = 32, rightPixels = 20;
constexpr int groupColumns[] = {20, 24, 28};  // the code's bits, the highest first
constexpr int groupWidth = 4;
constexpr int black = 16, white = 235, chromaLevel = 100;

/// Chroma levels that a mark may have after processing, and those of its first sample, which chooses between them.
struct ChromaBand {
    int low, high;
    bool chosenBy(int sample) const noexcept { return sample > low && sample < high; }
    bool holds(int sample) const noexcept { return sample >= low && sample <= high; }
};
constexpr ChromaBand chromaBands[] = {{84, 120}, {136, 172}};

/// Level of one group's bit: 0 or 1; -1 when undecided.
int groupBit(const std::uint8_t* row, int column) noexcept {
    const int mean = (row[column + 1] + row[column + 2]) >> 1;
    return mean > 142 ? 1 : mean < 110 ? 0 : -1;
}

}  // namespace

int Watermark::valueToGraycode(int value) noexcept {
    return value ^ (value >> 1);
}

int Watermark::graycodeToValue(int code) noexcept {
    for (int shift = 16; shift > 0; shift /= 2) code ^= code >> shift;
    return code;
}

/// Calls body(first column, width, level) for every run of luma that the mark writes on a line.
template <class Body>
void Watermark::forEachLumaRun(int line, int width, const Body& body) {
    const int code = valueToGraycode(line);
    body(0, 14, black);
    body(14, 6, white);
    body(groupColumns[0], groupWidth, code & 4 ? white : black);
    body(groupColumns[1], groupWidth, code & 2 ? white : black);
    body(groupColumns[2], groupWidth, code & 1 ? white : black);
    body(width - rightPixels, 6, white);
    body(width - 14, 14, black);
}

bool Watermark::write(Img& img) {
    if (UYVYImg* const packed = markable<UYVYImg>(img, 1)) {
        writeUYVY(*packed);
        return true;
    }
    if (I420Img* const planar = markable<I420Img>(img, 3)) {
        writeI420(*planar);
        return true;
    }
    return false;
}

void Watermark::writeI420(I420Img& img) {
    const auto luma = planeView<std::uint8_t>(img, 0);
    for (int line = 0; line < markedLines; ++line)
        forEachLumaRun(line, luma.width, [row = luma.row(line)](int column, int width, int level) {
            std::fill_n(row + column, width, static_cast<std::uint8_t>(level));
        });
    for (int plane : {1, 2}) {
        const auto chroma = planeView<std::uint8_t>(img, plane);
        for (int line = 0; line < markedLines / 2; ++line) {
            std::fill_n(chroma.row(line), leftPixels / 2, std::uint8_t{chromaLevel});
            std::fill_n(chroma.row(line) + chroma.width - rightPixels / 2, rightPixels / 2, std::uint8_t{chromaLevel});
        }
    }
}

void Watermark::writeUYVY(UYVYImg& img) {
    const int width = img.getWidth(0);
    const auto bytes = planeView<std::uint8_t>(img, 0);
    const auto setBytes = [&](int line, int first, int count, int offset, int level) {
        for (int x = first; x < first + count; ++x) bytes.row(line)[2 * x + offset] = static_cast<std::uint8_t>(level);
    };
    for (int line = 0; line < markedLines; ++line)
        forEachLumaRun(line, width, [&](int column, int count, int level) { setBytes(line, column, count, 1, level); });
    for (int line = 0; line < linesWithMarkedChroma; ++line) {
        setBytes(line, 0, leftPixels, 0, chromaLevel);
        setBytes(line, width - rightPixels, rightPixels, 0, chromaLevel);
    }
}

/// The number that the luma of a line carries; -1 when a bit is undecided.
int Watermark::lumaNumber(const I420Img& img, int line) noexcept {
    const std::uint8_t* const row = planeView<const std::uint8_t>(img, 0).row(line);
    int code = 0;
    for (const int column : groupColumns) {
        const int bit = groupBit(row, column);
        if (bit < 0) return -1;
        code = 2 * code + bit;
    }
    return graycodeToValue(code);
}

bool Watermark::read(Img& img, int& line) {
    I420Img* const planar = markable<I420Img>(img, 3);
    return planar != nullptr && readI420(*planar, line);
}

bool Watermark::readI420(I420Img& img, int& line) {
    const auto u = planeView<const std::uint8_t>(img, 1), v = planeView<const std::uint8_t>(img, 2);
    if (line < 0 || line >= std::min({u.height, v.height, img.getHeight(0)})) return false;
    const std::uint8_t *const rowU = u.row(line), *const rowV = v.row(line);
    const auto band = std::find_if(std::begin(chromaBands), std::end(chromaBands),
                                   [&](const ChromaBand& one) { return one.chosenBy(rowU[0]); });
    if (band == std::end(chromaBands)) return false;
    const auto holds = [&](std::uint8_t sample) { return band->holds(sample); };
    if (!std::all_of(rowU + 1, rowU + 4, holds) || !std::all_of(rowV, rowV + 4, holds)) return false;
    const int number = lumaNumber(img, line);
    if (number < 0) return false;
    line = number;
    return true;
}

bool Watermark::searchWatermark(I420Img& img, bool allowField) {
    if (markable<I420Img>(img, 1) == nullptr) return false;
    std::array<bool, markedLines> matches;
    for (int line = 0; line < markedLines; ++line)
        matches[static_cast<std::size_t>(line)] = lumaNumber(img, line) == line;
    const auto all = [&](std::initializer_list<std::size_t> lines) {
        return std::all_of(lines.begin(), lines.end(), [&](std::size_t line) { return matches[line]; });
    };
    if (all({0, 1, 2, 3}) || all({2, 3, 4, 5})) return true;
    return allowField && (all({1, 3, 5}) || all({0, 2, 4}));
}

}  // namespace Orvel
