#pragma once
#include "orvel/img/img_pool.h"

namespace Orvel {

/// A pool that never hands out its pictures themselves: get(img) makes the caller's own picture a shadow of a pooled
/// one, which returns to stock by itself when the last shadow of its plane 0 lets go of the memory.
///
/// The pool may be destroyed while shadows live: their memory stays good and is freed with the last of them. A shadow
/// that takes other memory (it was allocated larger, or became a view of another picture) has left the pool for good.
template <class T>
class ORVEL_API ImgPool2 : public ImgPool<T> {
public:
    ImgPool2();
    ~ImgPool2() override;

    [[nodiscard]] bool allocate(tagSIZE size, int bpp, int count) override;
    [[nodiscard]] T* get() override;  ///< always null
    /// Releases img and makes it a shadow of a pooled picture. @return false when the pool is not allocated or memory
    /// runs out; img is then empty.
    [[nodiscard]] virtual bool get(T& img);

protected:
    bool put(T*& img) override;

private:
    class ImgPoolMem;
    static std::unique_ptr<T> makePooled(const std::shared_ptr<typename ImgPool<T>::State>& state);
};

extern template class ImgPool2<BGRImg>;
extern template class ImgPool2<HY16Img>;
extern template class ImgPool2<I420Img>;
extern template class ImgPool2<UYVYImg>;
extern template class ImgPool2<V216Img>;
extern template class ImgPool2<YUYVImg>;
extern template class ImgPool2<YV16Img>;

}  // namespace Orvel
