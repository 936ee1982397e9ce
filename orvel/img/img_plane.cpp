#include "orvel/img/img_plane.h"

namespace Orvel {

ImgPl::ImgPl() : memory_(new AlignedMem) {}

ImgPl::~ImgPl() {
    memory_->deallocate();
}

void ImgPl::initialize() noexcept {
    setGeometry(0, 0, 0, 0);
    channels_ = 1;
}

void ImgPl::release() {
    memory_->deallocate();
    initialize();
}

bool ImgPl::setMemoryInterface(IAlignedMem* m) {
    if (m == nullptr) return false;
    if (m == memory_.get()) return true;
    memory_->deallocate();
    memory_.reset(m);
    return true;
}

bool ImgPl::shadowCopy(ImgPl& to) const {
    IAlignedMem* shadow = memory_->shadowCopy();
    if (shadow == nullptr) {
        to.initialize();
        return false;
    }
    to.setGeometry(width_, height_, step_, bpp_);
    to.channels_ = channels_;
    to.memory_.reset(shadow);
    return true;
}

void ImgPl::setGeometry(int width, int height, int step, int bpp) noexcept {
    width_ = width;
    height_ = height;
    step_ = step;
    bpp_ = bpp;
}

}  // namespace Orvel
