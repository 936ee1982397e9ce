#include "orvel/framerate/interpolate_img.h"

#include <algorithm>

#include "orvel/img/parallel_rows.h"
#include "orvel/img/plane_access.h"
#include "orvel/img/require.h"
#include "orvel/img/working_set.h"
#include "orvel/primitives/alpha_comp.h"

namespace Orvel {
namespace {

using primitives::PlaneView;
using primitives::Status;
using primitives::Stores;

int channelsOf(const Img& img, int plane) {
    int channels = 0;
    img.getInterleavedChannels(plane, channels);
    return channels;
}

bool mixable(const Img& img, int plane) {
    const int bpp = img.getBpp(plane), channels = channelsOf(img, plane);
    return bpp <= 4 && channels >= 1 && channels <= bpp && img.getPixels(plane) != nullptr;
}

bool sameGeometry(const Img& a, const Img& b, int plane) {
    return a.getWidth(plane) == b.getWidth(plane) && a.getHeight(plane) == b.getHeight(plane) &&
           a.getBpp(plane) == b.getBpp(plane) && channelsOf(a, plane) == channelsOf(b, plane);
}

bool sameShape(const Img& out, const Img& other) {
    if (out.numPlanes() != other.numPlanes()) return false;
    for (int p = 0; p < out.numPlanes(); ++p)
        if (!sameGeometry(out, other, p) || (hasPixels(other, p) && !mixable(other, p))) return false;
    return true;
}

/// The first samples of the plane's selected lines; empty when no line is selected.
template <class T>
PlaneView<T> lines(const Img& img, int plane, int samples, FieldFrameSelect sel) {
    const auto whole = planeView<T>(img, plane).topLeft(samples, img.getHeight(plane));
    if (sel != FieldFrameTop && sel != FieldFrameBottom) return whole;
    if (whole.height < 2) return {};
    return {whole.row(sel == FieldFrameTop ? 0 : 1), whole.step * 2, whole.width, whole.height / 2};
}

/// Rows that stay together: mixing one takes little longer than starting a band.
constexpr int unit = 64;

/// out = a laid over b with a constant weight, on units [begin, end).
template <class T>
class CAlphaComp {
public:
    CAlphaComp(PlaneView<T> out, PlaneView<const T> a, T weight, PlaneView<const T> b, Stores stores)
        : out_(out), a_(a), b_(b), weight_(weight), stores_(stores) {}

    void operator()(const tbb::blocked_range<int>& units) const {
        const int first = unit * units.begin(), last = std::min(unit * units.end(), out_.height);
        const auto band = [=](auto view) { return view.band(first, last); };
        require(primitives::alphaComp(band(a_), weight_, band(b_), band(out_), stores_), "alphaComp failed");
    }

private:
    PlaneView<T> out_;
    PlaneView<const T> a_, b_;
    T weight_;
    Stores stores_;
};

template <class T>
bool mixPlane(Img& out, const Img& a, const Img& b, int plane, T weight, FieldFrameSelect sel, Stores stores) {
    const int samples = out.getWidth(plane) * channelsOf(out, plane);
    const auto target = lines<T>(out, plane, samples, sel);
    const int units = target.height / unit + (target.height % unit != 0);
    return parallelRows(units, CAlphaComp<T>(target, lines<const T>(a, plane, samples, sel), weight,
                                             lines<const T>(b, plane, samples, sel), stores));
}

}  // namespace

bool InterpolateImg::frameInterpolate(Img& out, const Img& a, const Img& b, unsigned alpha, FieldFrameSelect sel) {
    if (alpha > 256 || out.numPlanes() == 0 || !sameShape(out, out) || !sameShape(out, a) || !sameShape(out, b))
        return false;
    const unsigned weight = std::min(alpha, 255u);
    const Stores stores = storesFor(out, a, b);
    for (int p = 0; p < out.numPlanes(); ++p) {
        if (!hasPixels(out, p)) continue;
        const bool sixteenBits = out.getBpp(p) == 2 && channelsOf(out, p) == 1;
        // 257 times a weight out of 255 is the same part of 65535.
        const bool mixed = sixteenBits ? mixPlane(out, a, b, p, static_cast<std::uint16_t>(weight * 257), sel, stores)
                                       : mixPlane(out, a, b, p, static_cast<std::uint8_t>(weight), sel, stores);
        if (!mixed) return false;
    }
    return true;
}

}  // namespace Orvel
