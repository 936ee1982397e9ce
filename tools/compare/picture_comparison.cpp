#include "tools/compare/picture_comparison.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "orvel/img/all_formats.h"

namespace OrvelTool {
namespace {

using namespace Orvel;

struct Layout {
    std::uint32_t format;
    std::size_t count;
    Component components[4];
};

constexpr Layout layouts[] = {
    {I420Img::getClassFormat(), 3, {{'y', 0, 0, 1}, {'u', 1, 0, 1}, {'v', 2, 0, 1}}},
    {YV16Img::getClassFormat(), 3, {{'y', 0, 0, 1}, {'u', 2, 0, 1}, {'v', 1, 0, 1}}},
    {HY16Img::getClassFormat(), 3, {{'y', 0, 0, 2}, {'u', 1, 0, 2}, {'v', 2, 0, 2}}},
    {UYVYImg::getClassFormat(), 3, {{'y', 0, 1, 2}, {'u', 0, 0, 4}, {'v', 0, 2, 4}}},
    {YUYVImg::getClassFormat(), 3, {{'y', 0, 0, 2}, {'u', 0, 1, 4}, {'v', 0, 3, 4}}},
    {V216Img::getClassFormat(), 3, {{'y', 0, 2, 4}, {'u', 0, 0, 8}, {'v', 0, 4, 8}}},
    {BGRImg::getClassFormat(), 4, {{'b', 0, 0, 4}, {'g', 0, 1, 4}, {'r', 0, 2, 4}, {'a', 0, 3, 4}}},
};

std::span<const Component> componentsOf(const FormatInfo& format) {
    for (const Layout& layout : layouts)
        if (layout.format == format.code) return {layout.components, layout.count};
    return {};
}

}  // namespace

PictureComparison::PictureComparison(const FormatInfo& format)
    : components_(componentsOf(format)),
      wide_(format.classBpp == 2 * format.channels),
      squares_(components_.size()),
      samples_(components_.size()) {}

void PictureComparison::add(const Img& a, const Img& b) {
    for (std::size_t component = 0; component < components_.size(); ++component) {
        const int plane = components_[component].plane, rowBytes = a.getWidth(plane) * a.getBpp(plane);
        if (rowBytes == 0) continue;  // chroma of a picture one pixel wide
        for (int y = 0; y < a.getHeight(plane); ++y) {
            const RowPair rows{a.getPixel(plane, y, 0), b.getPixel(plane, y, 0), rowBytes};
            if (wide_)
                addRow<std::uint16_t>(component, y, rows);
            else
                addRow<std::uint8_t>(component, y, rows);
        }
    }
    ++frames_;
}

template <class Sample>
void PictureComparison::addRow(std::size_t component, int y, const RowPair& rows) {
    const auto [name, plane, firstByte, step] = components_[component];
    const int count = (rows.bytes - firstByte + step - 1) / step;
    samples_[component] += count;
    if (std::memcmp(rows.a, rows.b, static_cast<std::size_t>(rows.bytes)) == 0) return;
    std::uint64_t squares = 0;
    for (int x = 0; x < count; ++x) {
        const std::ptrdiff_t at = firstByte + std::ptrdiff_t{x} * step;
        const std::int64_t a = *reinterpret_cast<const Sample*>(rows.a + at);
        const std::int64_t b = *reinterpret_cast<const Sample*>(rows.b + at);
        if (a == b) continue;
        if (!first_) first_ = Difference{frames_, name, x, y, static_cast<int>(a), static_cast<int>(b)};
        squares += static_cast<std::uint64_t>((a - b) * (a - b));
    }
    squares_[component] += static_cast<double>(squares);
}

double PictureComparison::psnr(std::size_t component) const {
    if (squares_[component] == 0) return std::numeric_limits<double>::infinity();
    const double peak = wide_ ? 65535 : 255;
    return 10 * std::log10(peak * peak * static_cast<double>(samples_[component]) / squares_[component]);
}

}  // namespace OrvelTool
