#include "orvel/resize/resize_img_tbb.h"

#include <tbb/blocked_range.h>

#include <stdexcept>

#include "orvel/img/parallel_rows.h"

namespace Orvel {
namespace {

/// Scales the planes of a range, each with its own resizer.
class ResizePlanesTbb {
public:
    ResizePlanesTbb(std::array<ResizeImg, Img::maxPlanes>& resizers, Img& dst, Img& src)
        : resizers_(resizers), dst_(dst), src_(src) {}

    void operator()(const tbb::blocked_range<int>& planes) const {
        for (int p = planes.begin(); p < planes.end(); ++p) {
            ResizeImg& resizer = resizers_[static_cast<std::size_t>(p)];
            checkSizes(resizer, p);
            if (!resizer.resizePlane(dst_, p, src_, p)) throw std::runtime_error("resizePlane failed");
        }
    }

private:
    void checkSizes(const ResizeImg& resizer, int plane) const {
        tagSIZE dst, src;
        if (!resizer.getMaxDstSize(dst) || !resizer.getMaxSrcSize(src)) return;  // without a buffer any size will do
        if (dst_.getWidth(plane) != dst.cx) throw std::runtime_error("resizePlane - incorrect dst width");
        if (dst_.getHeight(plane) != dst.cy) throw std::runtime_error("resizePlane - incorrect dst height");
        if (src_.getWidth(plane) != src.cx) throw std::runtime_error("resizePlane - incorrect src width");
        if (src_.getHeight(plane) != src.cy) throw std::runtime_error("resizePlane - incorrect src height");
    }

    std::array<ResizeImg, Img::maxPlanes>& resizers_;
    Img &dst_, &src_;
};

}  // namespace

ResizeImgTbb::ResizeImgTbb() noexcept = default;

ResizeImgTbb::~ResizeImgTbb() {
    deallocate();
}

bool ResizeImgTbb::allocate(Img& dst, Img& src, ResizeInterp interp, ResizeSmooth smooth) {
    if (dst.numPlanes() != src.numPlanes()) return false;
    deallocate();
    for (int p = 0; p < src.numPlanes(); ++p) {
        ResizeImg& resizer = resizers_[static_cast<std::size_t>(p)];
        const bool ready = interp == ResizeInterpSuperSampling
                               ? resizer.allocateSuperSampling(dst, src, interp, p)
                               : resizer.allocate(tagSIZE{dst.getWidth(p), dst.getHeight(p)},
                                                  tagSIZE{src.getWidth(p), src.getHeight(p)}, interp, smooth);
        if (!ready) {
            deallocate();
            return false;
        }
    }
    planes_ = src.numPlanes();
    return true;
}

void ResizeImgTbb::deallocate() {
    for (ResizeImg& resizer : resizers_) resizer.deallocate();
    planes_ = 0;
}

bool ResizeImgTbb::resize(Img& dst, Img& src) {
    if (src.numPlanes() != planes_ || dst.numPlanes() != planes_) return false;
    forEachBand(0, planes_, ResizePlanesTbb(resizers_, dst, src), tbb::simple_partitioner());  // a task for each plane
    return true;
}

}  // namespace Orvel
