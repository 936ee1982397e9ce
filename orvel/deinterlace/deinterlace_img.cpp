#include "orvel/deinterlace/deinterlace_img.h"

#include <algorithm>
#include <new>

#include "orvel/deinterlace/deinterlace_blend_img.h"
#include "orvel/deinterlace/deinterlace_cavt_img.h"
#include "orvel/deinterlace/deinterlace_triangle_img.h"
#include "orvel/img/img_kernels.h"
#include "orvel/img/parallel_rows.h"
#include "orvel/img/plane_access.h"

namespace Orvel {

DeinterlaceImg::~DeinterlaceImg() = default;

DeinterlaceImg* DeinterlaceImg::newAlloc(DeinterlaceType type) {
    switch (type) {
        case DeinterlaceTypeTriangle:
            return new (std::nothrow) DeinterlaceTriangleImg;
        case DeinterlaceTypeCAVT:
            return new (std::nothrow) DeinterlaceCAVTImg;
        case DeinterlaceTypeBlend:
            return new (std::nothrow) DeinterlaceBlendImg;
        default:
            return nullptr;
    }
}

void DeinterlaceImg::deleteDealloc(DeinterlaceImg*& deinterlacer) {
    delete deinterlacer;
    deinterlacer = nullptr;
}

bool DeinterlaceImg::allocate(DeinterlaceImgParams* p) {
    if (p == nullptr) return false;
    width_ = p->width;
    height_ = p->height;
    std::copy_n(p->planeEnable, Img::maxPlanes, planeEnable_);
    nonDeinterlacedMode_ = p->nonDeinterlacedMode;
    keepUserData_ = p->keepUserData;
    return true;
}

void DeinterlaceImg::deallocate() {
    heldFrame_ = nullptr;
}

bool DeinterlaceImg::pushImg(Img& img) {
    if (heldFrame_ != nullptr || !accepts(img, 1)) return false;
    heldFrame_ = &img;
    return true;
}

Img* DeinterlaceImg::popImg() {
    Img* const oldest = heldFrame_;
    heldFrame_ = nullptr;
    return oldest;
}

int DeinterlaceImg::requiredFrames() const {
    return 1;
}

int DeinterlaceImg::bufferedFrames() const {
    return heldFrame_ != nullptr ? 1 : 0;
}

bool DeinterlaceImg::accepts(const Img& img, int maxBytesPerSample) const {
    for (int p = 0; p < img.numPlanes(); ++p)
        if (!isSingleChannel(img, p) || img.getBpp(p) > maxBytesPerSample) return false;
    return img.numPlanes() > 0 && hasAllocatedSize(img);
}

bool DeinterlaceImg::hasAllocatedSize(const Img& img) const {
    return img.getWidth(0) == width_ && img.getHeight(0) == height_;
}

bool DeinterlaceImg::validateDeinterlace(Img& out) const {
    return bufferedFrames() <= requiredFrames() && hasAllocatedSize(out);
}

bool DeinterlaceImg::nonDeinterlacedPlane(Img* src, Img* out, int plane) const {
    if (planeEnable_[plane] != 0) return false;
    if (nonDeinterlacedMode_ == 1 && hasPixels(*src, plane))
        forEachBand(0, src->getHeight(plane), Img::CCopyU8(out, src, plane));
    return true;
}

void DeinterlaceImg::release(Img** released) {
    Img* const oldest = popImg();
    if (released != nullptr) *released = oldest;
}

}  // namespace Orvel
