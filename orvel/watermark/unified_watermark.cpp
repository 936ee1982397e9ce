#include "orvel/watermark/unified_watermark.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <functional>

#include "orvel/img/bgr_img.h"
#include "orvel/img/i420_img.h"
#include "orvel/img/plane_access.h"
#include "orvel/img/yv16_img.h"
#include "orvel/primitives/fill.h"
#include "orvel/primitives/histogram.h"

namespace Orvel {
namespace {

using primitives::ConstViewU8;
using primitives::Status;
using primitives::ViewU8;

constexpr int columns = 7, rows = 6;  // cells of the grid
constexpr int darkLevel = 17, brightLevel = 239, keyLevel = 128;
constexpr int darkBelow = 50, brightFrom = 200;  // what a reader takes for dark and bright

/// An 8-bit plane; empty for any other.
template <class Sample>
primitives::PlaneView<Sample> chroma(const Img& img, int plane) noexcept {
    const auto view = planeView<Sample>(img, plane);
    return view.valid() && img.getBpp(plane) == 1 ? view : primitives::PlaneView<Sample>{};
}

bool isLargeEnough(ConstViewU8 plane) noexcept {
    constexpr int smallestSide = UnifiedWatermark<I420Img>::smallestSide;
    return plane.valid() && plane.width >= smallestSide && plane.height >= smallestSide;
}

bool isExtreme(int sample) noexcept {
    return sample < darkBelow || sample >= brightFrom;
}
bool isNearLevel(int sample) noexcept {
    constexpr int tolerance = 24;
    return std::abs(sample - darkLevel) <= tolerance || std::abs(sample - brightLevel) <= tolerance;
}

/// Samples from an edge of the picture to its centre line.
struct ScanLine {
    const std::uint8_t* edge;
    std::ptrdiff_t stride;  ///< to the next sample towards the centre
    int length;             ///< with the sample on the centre line
    int candidates;         ///< samples at which the grid may begin
};

/// The first candidate near a level of the grid from which on more than 60 % of the samples up to the centre line are
/// dark or bright. If there is none, the last candidate near a level: the scans of other lines outvote it. -1 when no
/// candidate is.
int firstGridSample(const ScanLine& line) {
    const auto sample = [&](int i) { return line.edge[i * line.stride]; };
    int extremes = 0;
    for (int i = 0; i < line.length; ++i) extremes += isExtreme(sample(i));
    int found = -1;
    for (int i = 0; i < line.candidates; ++i) {
        if (isNearLevel(sample(i))) {
            found = i;
            if (extremes > 0.6 * (line.length - i)) break;
        }
        extremes -= isExtreme(sample(i));
    }
    return found;
}

constexpr std::size_t scanCount = 9;

/// The median of the scans that found something, the smaller of two middle ones; -1 when none did.
int medianBorder(std::array<int, scanCount> borders) {
    std::sort(borders.begin(), borders.end(), std::greater<>());
    const auto found = std::count_if(borders.begin(), borders.end(), [](int border) { return border != -1; });
    return borders[static_cast<std::size_t>(found) / 2];
}

}  // namespace

template <class T>
auto UnifiedWatermark<T>::gridBetween(int left, int top, int right, int bottom) noexcept -> Grid {
    const int width = right - left + 1, height = bottom - top + 1;
    return {width, height, left, top, right, bottom, width / columns, height / rows};
}

template <class T>
auto UnifiedWatermark<T>::gridFor(int planeWidth, int planeHeight) noexcept -> Grid {
    const int left = planeWidth >> 3, top = planeHeight >> 3;
    const int right = (7 * planeWidth) >> 3, bottom = (3 * planeHeight) >> 2;
    return gridBetween(left, top, right - (right - left) % columns - 1, bottom - (bottom - top) % rows - 1);
}

/// Where the cell of a bit begins. The size of a grid that was found need not be a multiple of its cells.
template <class T>
tagPOINT UnifiedWatermark<T>::cellOf(int bit) const noexcept {
    const int cell = bit + 1;  // behind the key
    const float columnWidth = static_cast<float>(grid_.width) / columns;
    const float rowHeight = static_cast<float>(grid_.height) / rows;
    return {grid_.left + static_cast<int>(static_cast<float>(cell % columns) * columnWidth),
            grid_.top + static_cast<int>(static_cast<float>(cell / columns) * rowHeight)};
}

template <class T>
bool UnifiedWatermark<T>::fill(T& img, tagPOINT at, tagSIZE size, int level) {
    for (int plane : {1, 2}) {
        const ViewU8 block = chroma<std::uint8_t>(img, plane).rect(at.x, at.y, size.cx, size.cy);
        if (primitives::set(block, static_cast<std::uint8_t>(level)) != Status::ok) return false;
    }
    return true;
}

template <class T>
bool UnifiedWatermark<T>::encode(T& img, TimeCodeValue tc, tagSIZE* size) {
    const auto plane = chroma<const std::uint8_t>(img, 1);
    if (!isLargeEnough(plane) || !sameSize(plane, chroma<const std::uint8_t>(img, 2))) return false;
    bits_.fill(0);
    grid_ = gridFor(plane.width, plane.height);
    const tagPOINT lastCell{grid_.right - grid_.cellWidth + 1, grid_.bottom - grid_.cellHeight + 1};
    if (!encodeKeyPattern(img, {grid_.left, grid_.top}) || !encodeWatermarkBits(img, tc) ||
        !encodeKeyPattern(img, lastCell))
        return false;
    if (size != nullptr) *size = {2 * (grid_.right - grid_.left) / 3, 2 * (plane.height - grid_.bottom) / 3};
    return true;
}

template <class T>
bool UnifiedWatermark<T>::encodeKeyPattern(T& img, tagPOINT at) {
    const tagSIZE cell{grid_.cellWidth, grid_.cellHeight}, quarter{cell.cx / 2, cell.cy / 2};
    return fill(img, at, cell, keyLevel) && fill(img, at, quarter, darkLevel);
}

template <class T>
bool UnifiedWatermark<T>::encodeWatermarkBits(T& img, TimeCodeValue tc) {
    TimeCodeValue::getBitsFromTimeCode(tc, bits_.data());
    for (int bit = 0; bit < TimeCodeValue::bitCount; ++bit)
        if (!encodeWatermarkBit(img, cellOf(bit), bits_[static_cast<std::size_t>(bit)])) return false;
    return true;
}

template <class T>
bool UnifiedWatermark<T>::encodeWatermarkBit(T& img, tagPOINT at, char bit) {
    return fill(img, at, {grid_.cellWidth, grid_.cellHeight}, bit == '1' ? brightLevel : darkLevel);
}

template <class T>
bool UnifiedWatermark<T>::encodeReadable(T& img, BGRImg& readable) {
    if (grid_.width == 0) return false;
    if (!hasPixels(readable, 0)) return true;
    constexpr int pixelBytes = BGRImg::getClassBpp();
    const auto pixels = planeView<const std::uint8_t>(readable, 0);
    const ViewU8 strip =
        chroma<std::uint8_t>(img, 2).rect(grid_.left, grid_.bottom + 1, readable.getWidth(0), readable.getHeight(0));
    if (readable.getBpp(0) != pixelBytes || !pixels.valid() || !strip.valid()) return false;
    for (int y = 0; y < strip.height; ++y) {
        const std::uint8_t* from = pixels.row(y);
        std::uint8_t* to = strip.row(y);
        for (int x = 0; x < strip.width; ++x) to[x] = from[x * pixelBytes];
    }
    return true;
}

template <class T>
bool UnifiedWatermark<T>::decode(T& img, TimeCodeValue& tc) {
    bits_.fill(0);
    if (!isLargeEnough(chroma<const std::uint8_t>(img, 1))) return false;
    const Grid before = grid_;
    if (!decodeKeyPattern(img) || !decodeWatermarkBits(img)) {
        grid_ = before;
        return false;
    }
    TimeCodeValue::getTimeCodeFromBits(tc, bits_.data());
    return true;
}

template <class T>
bool UnifiedWatermark<T>::decodeKeyPattern(T& img) {
    const auto plane = chroma<const std::uint8_t>(img, 1);
    const int stepX = plane.width / 10, stepY = plane.height / 10;
    std::array<int, scanCount> lefts, rights, tops, bottoms;
    for (std::size_t i = 0; i < scanCount; ++i) {
        const int x = (static_cast<int>(i) + 1) * stepX, y = (static_cast<int>(i) + 1) * stepY;
        lefts[i] = findWatermarkBorder(img, {0, y});
        rights[i] = findWatermarkBorder(img, {plane.width - 1, y});
        tops[i] = findWatermarkBorder(img, {x, 0});
        bottoms[i] = findWatermarkBorder(img, {x, plane.height - 1});
    }
    const int left = medianBorder(lefts), right = medianBorder(rights);
    const int top = medianBorder(tops), bottom = medianBorder(bottoms);
    if (left == -1 || right == -1 || top == -1 || bottom == -1) return false;
    grid_ = gridBetween(left, top, right, bottom);
    // The last key is looked for one sample up and left of where it is written: inside it when the border came out one
    // sample too far.
    return validateKeyPattern(img, {left, top}) &&
           validateKeyPattern(img, {right - grid_.cellWidth, bottom - grid_.cellHeight});
}

/// Where the grid begins on the row or column that starts at the edge point from; -1 when nothing looks like it.
template <class T>
int UnifiedWatermark<T>::findWatermarkBorder(T& img, tagPOINT from) const {
    const auto plane = chroma<const std::uint8_t>(img, 1);
    const int lastX = plane.width - 1, lastY = plane.height - 1, midX = plane.width / 2, midY = plane.height / 2;
    if (from.x < 0 || from.x > lastX || from.y < 0 || from.y > lastY) return -1;
    const std::uint8_t* edge = plane.row(from.y) + from.x;
    const auto back = [](int last, int offset) { return offset < 0 ? -1 : last - offset; };
    if (from.x == 0 && from.y > 0) return firstGridSample({edge, 1, midX + 1, midX});
    if (from.x == lastX) return back(lastX, firstGridSample({edge, -1, lastX - midX + 1, lastX - midX + 1}));
    if (from.y == 0 && from.x > 0) return firstGridSample({edge, plane.step, midY + 1, midY});
    if (from.y == lastY) return back(lastY, firstGridSample({edge, -plane.step, lastY - midY + 1, lastY - midY + 1}));
    return -1;
}

template <class T>
bool UnifiedWatermark<T>::validateKeyPattern(T& img, tagPOINT at) const {
    constexpr std::int32_t levels[] = {0, 100, 156, brightFrom, 256};
    std::int32_t counts[4];
    const auto cell = chroma<const std::uint8_t>(img, 1).rect(at.x, at.y, grid_.cellWidth, grid_.cellHeight);
    if (primitives::histogramRange(cell, levels, counts) != Status::ok) return false;
    const std::int32_t grey = counts[1], bright = counts[3];
    return grey + bright >= 0.4 * cell.width * cell.height && grey >= 0.1 * cell.width * cell.height;
}

template <class T>
bool UnifiedWatermark<T>::decodeWatermarkBits(T& img) {
    for (int bit = 0; bit < TimeCodeValue::bitCount; ++bit)
        if (!decodeWatermarkBit(img, cellOf(bit), bits_[static_cast<std::size_t>(bit)])) return false;
    return true;
}

template <class T>
bool UnifiedWatermark<T>::decodeWatermarkBit(T& img, const tagPOINT& at, char& bit) const {
    constexpr std::int32_t levels[] = {0, darkBelow, brightFrom, 256};
    std::int32_t counts[3];
    const auto cell = chroma<const std::uint8_t>(img, 1).rect(at.x, at.y, grid_.cellWidth, grid_.cellHeight);
    if (primitives::histogramRange(cell, levels, counts) != Status::ok) return false;
    const std::int32_t dark = counts[0], bright = counts[2];
    bit = bright > dark && bright > 0.3 * (cell.width * cell.height) ? 1 : 0;
    return true;
}

template class UnifiedWatermark<I420Img>;
template class UnifiedWatermark<YV16Img>;

}  // namespace Orvel
