#include "orvel/analysis/hierarchical_img.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <utility>

#include "orvel/img/parallel_rows.h"
#include "orvel/img/plane_access.h"
#include "orvel/img/require.h"
#include "orvel/primitives/halve_gauss.h"

namespace Orvel {
namespace {

using primitives::ConstViewU8;
using primitives::ViewU8;

constexpr int halfUp(int side) {
    return side / 2 + side % 2;
}
constexpr int evenUp(int side) {
    return side + side % 2;
}

bool hasByteSamples(const Img& img, int plane) {
    int channels = 0;
    if (!img.getInterleavedChannels(plane, channels)) return false;
    const int bytes = img.getBpp(plane);
    return channels == 1 ? bytes == 1 : channels == 3 && (bytes == 3 || bytes == 4);
}

bool canBeReduced(const Img& img) {
    if (!hasPixels(img, 0)) return false;
    for (int p = 0; p < img.numPlanes(); ++p)
        if (!hasByteSamples(img, p)) return false;
    return true;
}

/// The rows that a plane is reduced to, in bands of whole groups, because every band begins by filtering rows of its
/// neighbour. dst may have more columns; they repeat the last one.
class CHalveGaussU8 {
public:
    CHalveGaussU8(ViewU8 dst, ConstViewU8 src, int pixelBytes)
        : src_(src),
          rows_(dst.topLeft(dst.width, halfUp(src.height))),
          made_(rows_.topLeft(halfUp(src.width / pixelBytes) * pixelBytes, rows_.height)),
          pixelBytes_(pixelBytes) {}

    bool fits() const { return made_.valid(); }
    int groups() const { return (made_.height + rowsPerGroup - 1) / rowsPerGroup; }

    void operator()(const tbb::blocked_range<int>& range) const {
        const int first = range.begin() * rowsPerGroup, last = std::min(range.end() * rowsPerGroup, made_.height);
        require(primitives::halveGaussRows(src_, made_, pixelBytes_, first, last), "halveGaussRows failed");
        const auto pixel = static_cast<std::size_t>(pixelBytes_);
        for (int y = first; y < last; ++y)
            for (std::uint8_t* to = rows_.row(y) + made_.width; to < rows_.row(y) + rows_.width; to += pixel)
                std::memcpy(to, to - pixel, pixel);
    }

private:
    static constexpr int rowsPerGroup = 16;
    ConstViewU8 src_;
    ViewU8 rows_, made_;
    int pixelBytes_;
};

/// Reduces a plane into the top left of another one, whose further columns and rows repeat the last ones.
bool reducePlane(ViewU8 dst, ConstViewU8 src, int pixelBytes) {
    if (!src.valid()) return false;
    const CHalveGaussU8 halve(dst, src, pixelBytes);
    if (!halve.fits() || !parallelRows(halve.groups(), halve)) return false;
    for (int y = halfUp(src.height); y < dst.height; ++y)
        std::memcpy(dst.row(y), dst.row(y - 1), static_cast<std::size_t>(dst.width));
    return true;
}

}  // namespace

HierarchicalImg::HierarchicalImg() noexcept = default;
HierarchicalImg::~HierarchicalImg() = default;

void HierarchicalImg::deallocate() noexcept {
    levels_.reset();
}

bool HierarchicalImg::allocate(Img& base, int levels) {
    auto previous = std::move(levels_);
    levels_ = std::make_unique<Levels>();
    if (!appendView(base)) {
        deallocate();
        return false;
    }
    previous.reset();  // not before the view holds on to the pixels: base may be one of these levels
    return allocateLevels(std::max(levels, 1) - 1);
}

bool HierarchicalImg::appendView(const Img& base) noexcept {
    try {
        if (!canBeReduced(base)) return false;
        std::unique_ptr<Img> view(base.replicateType());
        if (!view || !base.shadowCopy(*view)) return false;
        levels_->push_back(std::move(view));
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

bool HierarchicalImg::allocateLevels(int n) {
    bool appended = levels_ != nullptr && n <= maxLevels - static_cast<int>(numLevels());
    for (int i = 0; appended && i < n; ++i) appended = appendLevel();
    if (!appended) deallocate();
    return appended;
}

bool HierarchicalImg::appendLevel() noexcept {
    try {
        const Img& last = *levels_->back();
        std::unique_ptr<Img> level(last.replicateType());
        const int width = evenUp(halfUp(last.getWidth(0))), height = halfUp(last.getHeight(0));
        if (!level || !level->allocate(width, height, last.getBpp(0))) return false;
        levels_->push_back(std::move(level));
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

bool HierarchicalImg::generate() {
    for (unsigned k = 1; k < numLevels(); ++k)
        if (!makeLevel(*getImage(k), *getImage(k - 1))) return false;
    return true;
}

bool HierarchicalImg::makeLevel(Img& dst, const Img& src) noexcept {
    for (int p = 0; p < src.numPlanes(); ++p)
        if (!reducePlane(planeView<std::uint8_t>(dst, p), planeView<const std::uint8_t>(src, p), src.getBpp(p)))
            return false;
    return true;
}

Img* HierarchicalImg::getImage(unsigned level) const noexcept {
    return level < numLevels() ? (*levels_)[level].get() : nullptr;
}

unsigned HierarchicalImg::numLevels() const noexcept {
    return levels_ ? static_cast<unsigned>(levels_->size()) : 0;
}

}  // namespace Orvel
