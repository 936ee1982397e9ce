#include "orvel/mctf/mctf_fast_progressive.h"

#include <exception>

#include "orvel/mctf/block_grid.h"

namespace Orvel {

template <class T>
MCTFFastProgressive<T>::MCTFFastProgressive() = default;
template <class T>
MCTFFastProgressive<T>::~MCTFFastProgressive() {
    MCTFFastProgressive::deallocate();
}

template <class T>
bool MCTFFastProgressive<T>::allocate(MCTFFastParams& params) {
    const bool taken = params.width >= 64 && params.height >= 32 && params.width % 2 == 0;
    if (!taken || !MCTFFast<T>::allocate(params)) {
        deallocate();
        return false;
    }
    MCTFFastParams& own = this->params_;
    MotionCompensateImgParams size{own.width, own.height};
    motionCompensate_.setParams(size);
    if (this->motionEstimate_.allocate(own.me) && prediction_.allocate(own.width, own.height, T::getClassBpp()) &&
        picData_.allocateBlocks(own.width, own.height))
        return true;
    deallocate();
    return false;
}

template <class T>
void MCTFFastProgressive<T>::deallocate() {
    MotionCompensateImgParams none;
    motionCompensate_.setParams(none);
    motionCompensate_.setRefPic(nullptr);
    prediction_.deallocate(-1);
    picData_.deallocate(-1);
    picData_.deallocateBlocks();
    prevNoise_ = 0;
    writeBack_ = 0;
    MCTFFast<T>::deallocate();
}

template <class T>
bool MCTFFastProgressive<T>::pushImg(T* img) {
    if (!this->isAllocated() || this->isFull() || img == nullptr || !fits(*img)) return false;
    this->pushBack(img);
    return true;
}

template <class T>
T* MCTFFastProgressive<T>::popImg() {
    return this->popFront();
}

template <class T>
bool MCTFFastProgressive<T>::filter(T& out, T** released) {
    if (released != nullptr) *released = nullptr;
    if (!this->isFull()) return false;
    T* ref = this->popFront();
    T* cur = this->front();
    if (released != nullptr) *released = ref;
    // A queued frame may have been given another size meanwhile.
    if (&out == ref || &out == cur || !fits(out) || !fits(*ref) || !fits(*cur)) return false;
    if (out.getHeight(1) != cur->getHeight(1)) return false;
    bool done = false;
    try {
        done = cur->shadowCopy(picData_) && filterPicture(out, *cur, *ref);
    } catch (const std::exception&) {
        // Memory ran out inside a parallel loop, or a primitive failed there.
    }
    motionCompensate_.setRefPic(nullptr);
    picData_.deallocate(-1);
    return done;
}

template <class T>
bool MCTFFastProgressive<T>::filterPicture(T& out, T& cur, T& ref) {
    this->motionEstimate_.process(&cur, &ref);  // whether a scene begins does not matter here
    MEData* motion = this->motionEstimate_.getMEData();
    motionCompensate_.setRefPic(&ref);
    if (!motionCompensate_.process(&prediction_, motion, false)) return false;
    const std::int32_t writeBack = (writeBack_ + 1) % 2;
    if (!picData_.measureAndFilter(out, prediction_, *motion, this->params_.strength, prevNoise_, writeBack != 0))
        return false;
    prevNoise_ = picData_.getNoiseFigure();
    writeBack_ = writeBack;
    return true;
}

template <class T>
bool MCTFFastProgressive<T>::fits(const T& img) const noexcept {
    return isPictureOf(img, this->params_.width, this->params_.height);
}

template class MCTFFastProgressive<I420Img>;

}  // namespace Orvel
