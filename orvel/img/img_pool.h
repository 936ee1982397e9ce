#pragma once
#include <cstdint>
#include <memory>

#include "orvel/img/types.h"
#include "orvel/sys/api.h"

namespace Orvel {

class BGRImg;
class HY16Img;
class I420Img;
class UYVYImg;
class V216Img;
class YUYVImg;
class YV16Img;

/// A stock of pictures of one type, size and bytes per sample that hands them out and takes them back, so that a
/// pipeline re-uses its frame buffers. T is any of the seven picture types.
///
/// The pool owns every picture, also those handed out. Every operation takes the pool's lock, so pictures may be
/// fetched and returned from different threads; the pictures themselves are not locked.
template <class T>
class ORVEL_API ImgPool {
public:
    /// An unallocated pool. Throws std::bad_alloc.
    ImgPool();
    /// deallocate(true).
    virtual ~ImgPool();
    ImgPool(const ImgPool&) = delete;
    ImgPool& operator=(const ImgPool&) = delete;

    /// Makes count pictures (a negative count is 0) in advance; more are made on demand.
    /// @param bpp third argument of T::allocate().
    /// @return false, with nothing changed, when the pool is allocated, pictures are outstanding or a side of size is
    /// 0; false, with the pool released, when memory runs out.
    [[nodiscard]] virtual bool allocate(tagSIZE size, int bpp, int count);
    /// Deletes the pictures in stock. Outstanding pictures are deleted when they come back, or, with force, at once:
    /// their holders' pointers are then invalid. @return false when force is not set and pictures are outstanding.
    virtual bool deallocate(bool force);
    /// The picture that has been in stock longest, or a new one. Null when the pool is not allocated or memory runs
    /// out.
    [[nodiscard]] virtual T* get();
    /// Takes a picture back and sets img to null. A picture whose plane 0 or format was changed by its holder, and any
    /// picture of a pool released meanwhile, is deleted. @return false, with nothing changed, for a picture that this
    /// pool has not handed out.
    virtual bool put(T*& img);

    unsigned available() const;    ///< pictures in stock
    unsigned outstanding() const;  ///< pictures handed out
    unsigned buffers() const;      ///< the sum
    tagSIZE getSize() const;
    std::uint32_t getFormat() const noexcept;

protected:
    struct State;  // also held by whatever brings pictures back after the pool is gone
    /// How the pool makes a picture, not yet allocated.
    using Maker = std::unique_ptr<T> (*)(const std::shared_ptr<State>&);

    explicit ImgPool(Maker maker);
    T* take();
    bool giveBack(T*& img);

    std::shared_ptr<State> state_;
};

extern template class ImgPool<BGRImg>;
extern template class ImgPool<HY16Img>;
extern template class ImgPool<I420Img>;
extern template class ImgPool<UYVYImg>;
extern template class ImgPool<V216Img>;
extern template class ImgPool<YUYVImg>;
extern template class ImgPool<YV16Img>;

}  // namespace Orvel
