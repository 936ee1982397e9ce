#include "orvel/img/img_pool2.h"

#include <memory>
#include <new>
#include <utility>

#include "orvel/img/all_formats.h"
#include "orvel/img/img_pool_state.h"

namespace Orvel {

/// Plane 0's memory of a pooled picture and of its shadows. It knows the way back to the pool as long as it views the
/// picture's memory; with other memory it is an ordinary block.
template <class T>
class ImgPool2<T>::ImgPoolMem : public AlignedMem {
public:
    /// One for all memory objects of a picture. Guarded by the pool's lock, which it keeps alive.
    struct Return {
        std::shared_ptr<typename ImgPool<T>::State> pool;
        T* picture;  ///< null once the pool has deleted it
    };

    ImgPoolMem(std::shared_ptr<Return> back, bool pooled) : return_(std::move(back)), pooled_(pooled) {}
    ~ImgPoolMem() override { letGo(); }

    [[nodiscard]] IAlignedMem* shadowCopy() override {
        auto* shadow = new (std::nothrow) ImgPoolMem(return_, false);
        if (shadow != nullptr) shadow->share(*this);
        return shadow;
    }
    bool deallocate() override {
        letGo();
        return true;
    }

private:
    void letGo() {
        const int remaining = this->release();
        if (remaining < 0) return;
        const auto back = std::exchange(return_, nullptr);
        if (!back) return;
        const std::lock_guard guard(back->pool->lock);
        if (pooled_)
            back->picture = nullptr;
        else if (remaining == 1 && back->picture != nullptr)  // only the pooled picture itself still uses the memory
            back->pool->giveBack(back->picture);
    }

    std::shared_ptr<Return> return_;
    const bool pooled_;  ///< the pooled picture's own object
};

template <class T>
std::unique_ptr<T> ImgPool2<T>::makePooled(const std::shared_ptr<typename ImgPool<T>::State>& state) {
    auto picture = std::make_unique<T>();
    std::shared_ptr<typename ImgPoolMem::Return> back(new typename ImgPoolMem::Return{state, picture.get()});
    picture->setMemoryInterface(0, new ImgPoolMem(std::move(back), true));
    return picture;
}

template <class T>
ImgPool2<T>::ImgPool2() : ImgPool<T>(&makePooled) {}

template <class T>
ImgPool2<T>::~ImgPool2() = default;

template <class T>
bool ImgPool2<T>::allocate(tagSIZE size, int bpp, int count) {
    return ImgPool<T>::allocate(size, bpp, count);
}

template <class T>
T* ImgPool2<T>::get() {
    return nullptr;
}

template <class T>
bool ImgPool2<T>::put(T*& img) {
    return this->giveBack(img);
}

template <class T>
bool ImgPool2<T>::get(T& img) {
    // Released before the lock is taken: img may view a picture of another pool, whose lock it then needs.
    img.deallocate(-1);
    T* pooled = this->take();
    if (pooled == nullptr) return false;
    // Holds the picture until the shadow is made or given up: a shadow that fails half way would already bring it back,
    // and it could be in somebody else's hands by now.
    const std::unique_ptr<IAlignedMem> hold(pooled->getMemoryInterface(0)->shadowCopy());
    if (hold) return pooled->shadowCopy(img);
    this->giveBack(pooled);
    return false;
}

template class ImgPool2<BGRImg>;
template class ImgPool2<HY16Img>;
template class ImgPool2<I420Img>;
template class ImgPool2<UYVYImg>;
template class ImgPool2<V216Img>;
template class ImgPool2<YUYVImg>;
template class ImgPool2<YV16Img>;

}  // namespace Orvel
