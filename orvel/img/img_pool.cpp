#include "orvel/img/img_pool.h"

#include <algorithm>
#include <exception>

#include "orvel/img/all_formats.h"
#include "orvel/img/img_pool_state.h"

namespace Orvel {

template <class T>
typename ImgPool<T>::State::Stock ImgPool<T>::State::makeOne(const std::shared_ptr<State>& self) {
    try {
        Stock one;
        one.push_back(maker(self));
        if (one.front()->allocate(size.cx, size.cy, bpp)) return one;
    } catch (const std::exception&) {
    }
    return {};
}

template <class T>
bool ImgPool<T>::State::giveBack(T* img) {
    const std::lock_guard guard(lock);
    const auto handedOut = [img](const std::unique_ptr<T>& p) { return p.get() == img; };
    const auto place = std::find_if(outstanding.begin(), outstanding.end(), handedOut);
    if (place == outstanding.end()) return false;
    const bool unchanged = img->getWidth(0) == size.cx && img->getHeight(0) == size.cy && img->getBpp(0) == bpp &&
                           img->getFormat() == T::getClassFormat();
    if (allocated && unchanged)
        free.splice(free.end(), outstanding, place);
    else
        outstanding.erase(place);
    return true;
}

template <class T>
ImgPool<T>::ImgPool() : ImgPool([](const std::shared_ptr<State>&) { return std::make_unique<T>(); }) {}

template <class T>
ImgPool<T>::ImgPool(Maker maker) : state_(std::make_shared<State>(maker)) {}

template <class T>
ImgPool<T>::~ImgPool() {
    ImgPool::deallocate(true);
}

template <class T>
bool ImgPool<T>::allocate(tagSIZE size, int bpp, int count) {
    const std::lock_guard guard(state_->lock);
    if (state_->allocated || !state_->outstanding.empty() || size.cx == 0 || size.cy == 0) return false;
    state_->allocated = true;
    state_->size = size;
    state_->bpp = bpp;
    for (int i = 0; i < count; ++i) {
        auto one = state_->makeOne(state_);
        if (one.empty()) {
            ImgPool::deallocate(true);
            return false;
        }
        state_->free.splice(state_->free.end(), one);
    }
    return true;
}

template <class T>
bool ImgPool<T>::deallocate(bool force) {
    const std::lock_guard guard(state_->lock);
    state_->free.clear();
    state_->allocated = false;
    if (force) state_->outstanding.clear();
    return state_->outstanding.empty();
}

template <class T>
T* ImgPool<T>::take() {
    const std::lock_guard guard(state_->lock);
    typename State::Stock fresh;
    if (state_->free.empty() && state_->allocated) fresh = state_->makeOne(state_);
    auto& from = state_->free.empty() ? fresh : state_->free;
    if (from.empty()) return nullptr;
    state_->outstanding.splice(state_->outstanding.end(), from, from.begin());
    return state_->outstanding.back().get();
}

template <class T>
bool ImgPool<T>::giveBack(T*& img) {
    if (!state_->giveBack(img)) return false;
    img = nullptr;
    return true;
}

template <class T>
T* ImgPool<T>::get() {
    return take();
}

template <class T>
bool ImgPool<T>::put(T*& img) {
    return giveBack(img);
}

template <class T>
unsigned ImgPool<T>::available() const {
    const std::lock_guard guard(state_->lock);
    return static_cast<unsigned>(state_->free.size());
}

template <class T>
unsigned ImgPool<T>::outstanding() const {
    const std::lock_guard guard(state_->lock);
    return static_cast<unsigned>(state_->outstanding.size());
}

template <class T>
unsigned ImgPool<T>::buffers() const {
    const std::lock_guard guard(state_->lock);
    return available() + outstanding();
}

template <class T>
tagSIZE ImgPool<T>::getSize() const {
    const std::lock_guard guard(state_->lock);
    return state_->size;
}

template <class T>
std::uint32_t ImgPool<T>::getFormat() const noexcept {
    return T::getClassFormat();
}

template class ImgPool<BGRImg>;
template class ImgPool<HY16Img>;
template class ImgPool<I420Img>;
template class ImgPool<UYVYImg>;
template class ImgPool<V216Img>;
template class ImgPool<YUYVImg>;
template class ImgPool<YV16Img>;

}  // namespace Orvel
