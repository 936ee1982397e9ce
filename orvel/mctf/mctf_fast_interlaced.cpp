#include "orvel/mctf/mctf_fast_interlaced.h"

#include "orvel/mctf/block_grid.h"

namespace Orvel {

template <class T>
bool MCTFFastInterlaced<T>::Fields::show(const T& frame) {
    frame.getTopFieldShadow(top);
    frame.getBottomFieldShadow(bottom);
    if (top.numPlanes() == frame.numPlanes() && bottom.numPlanes() == frame.numPlanes()) return true;
    forget();  // memory ran out
    return false;
}

template <class T>
void MCTFFastInterlaced<T>::Fields::forget() {
    top.deallocate(-1);
    bottom.deallocate(-1);
}

template <class T>
MCTFFastInterlaced<T>::MCTFFastInterlaced() = default;
template <class T>
MCTFFastInterlaced<T>::~MCTFFastInterlaced() {
    MCTFFastInterlaced::deallocate();
}

template <class T>
bool MCTFFastInterlaced<T>::allocate(MCTFFastParams& params) {
    MCTFFastParams top = params, bottom = params;
    top.height = params.height - params.height / 2;  // the top field has the odd line
    bottom.height = params.height / 2;
    if (MCTFFast<T>::allocate(params) && top_.allocate(top) && bottom_.allocate(bottom)) return true;
    deallocate();
    return false;
}

template <class T>
void MCTFFastInterlaced<T>::deallocate() {
    top_.deallocate();
    bottom_.deallocate();
    for (Fields& fields : fields_) fields.forget();
    outFields_.forget();
    oldest_ = 0;
    MCTFFast<T>::deallocate();
}

template <class T>
bool MCTFFastInterlaced<T>::pushImg(T* img) {
    if (!this->isAllocated() || this->isFull() || img == nullptr || !fits(*img)) return false;
    Fields& fields = fields_[(oldest_ + static_cast<std::size_t>(this->bufferedFrames())) % fields_.size()];
    if (!fields.show(*img)) return false;
    // Fields of a frame that fits do fit, and the three queues are equally long: the bottom field never stays behind.
    if (!top_.pushImg(&fields.top) || !bottom_.pushImg(&fields.bottom)) return false;
    this->pushBack(img);
    return true;
}

template <class T>
void MCTFFastInterlaced<T>::forgetOldest() {
    oldest().forget();
    oldest_ = (oldest_ + 1) % fields_.size();
}

template <class T>
T* MCTFFastInterlaced<T>::popImg() {
    T* frame = this->popFront();
    if (frame == nullptr) return nullptr;
    top_.popImg();
    bottom_.popImg();
    forgetOldest();
    return frame;
}

template <class T>
bool MCTFFastInterlaced<T>::filter(T& out, T** released) {
    if (released != nullptr) *released = nullptr;
    if (!this->isFull()) return false;
    T* older = this->front();
    if (released != nullptr) *released = older;
    T* newer = this->newest();
    const bool usable = &out != older && &out != newer && fits(out) && out.getHeight(1) == newer->getHeight(1);
    if (!usable || !outFields_.show(out)) {
        popImg();
        return false;
    }
    const bool topDone = top_.filter(outFields_.top, nullptr);
    const bool bottomDone = bottom_.filter(outFields_.bottom, nullptr);  // also when the top field failed: in step
    outFields_.forget();
    this->popFront();
    forgetOldest();
    return topDone && bottomDone;
}

template <class T>
bool MCTFFastInterlaced<T>::fits(const T& img) const noexcept {
    return isPictureOf(img, this->params_.width, this->params_.height);
}

template class MCTFFastInterlaced<I420Img>;

}  // namespace Orvel
