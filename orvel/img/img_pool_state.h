#pragma once
#include <list>
#include <memory>
#include <mutex>

#include "orvel/img/img_pool.h"

namespace Orvel {

template <class T>
struct ImgPool<T>::State {
    explicit State(Maker makePicture) : maker(makePicture) {}

    using Stock = std::list<std::unique_ptr<T>>;

    // Recursive: deleting a pooled picture under the lock releases memory that reports back here.
    mutable std::recursive_mutex lock;
    const Maker maker;
    bool allocated = false;
    Stock free;  // oldest first
    Stock outstanding;
    tagSIZE size;
    int bpp = 0;

    /// A list of one new, allocated picture; empty when memory runs out.
    Stock makeOne(const std::shared_ptr<State>& self);
    /// Takes a picture back, see ImgPool::put().
    bool giveBack(T* img);
};

}  // namespace Orvel
