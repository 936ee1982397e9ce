#pragma once
#include <cstddef>
#include <cstdint>
#include <new>

#include "orvel/sys/api.h"

namespace OrvelSys {

/// A view of a block of memory: base address of the block, offset of this view's first byte in it, bytes in the block.
/// Several objects may view one block; the block lives as long as its last user. Different objects, also those that
/// share a block, may be used from different threads; one object serves one thread at a time.
class ORVEL_API IAlignedMem {
public:
    IAlignedMem() noexcept = default;
    IAlignedMem(const IAlignedMem&) = delete;
    IAlignedMem& operator=(const IAlignedMem&) = delete;
    virtual ~IAlignedMem();

    /// Lets go of what the object held and takes at least size new bytes whose address is a multiple of alignment (a
    /// power of two). The offset becomes 0. @return false when memory runs out or the object cannot allocate; it is
    /// then empty.
    [[nodiscard]] virtual bool allocate(unsigned size, int alignment) = 0;
    /// A new object that views the same memory (same base, same offset) and counts as a further user; a shadow of an
    /// empty object is empty. The caller owns it. @return null when memory runs out.
    [[nodiscard]] virtual IAlignedMem* shadowCopy() = 0;
    /// Lets go of the memory, which is freed when this was its last user. May be called twice.
    virtual bool deallocate() = 0;
    /// Views size bytes of the caller's memory at p, which stays the caller's. @return false where the object only
    /// holds memory of its own.
    [[nodiscard]] virtual bool setMem(void* p, unsigned size) = 0;
    /// Pins the memory in RAM (whole pages; nothing to pin counts as success). The pin ends with unlock() or when the
    /// memory is freed. @return false when the system refuses or the object cannot pin.
    [[nodiscard]] virtual bool lock() = 0;
    /// Undoes lock().
    [[nodiscard]] virtual bool unlock() = 0;
    /// Bytes in the block, counted from its base; 0 when empty.
    virtual unsigned getSize() const = 0;
    /// Moves this view to bytes behind the first byte of the view that it was made from by shadowCopy(), or behind the
    /// block's base when it was not. @return false when that lies outside the block; the view stays where it was.
    [[nodiscard]] virtual bool setOffset(int bytes) = 0;
    /// setOffset(0): back to where the view it was made from begins.
    virtual void resetOffset() { offset_ = origin_; }
    /// Bytes from the block's base to the first byte of this view.
    virtual int getOffset() const { return offset_; }
    /// Number of objects that view the block; 0 when empty or when the memory is the caller's.
    virtual int getUseCount() const = 0;

    /// First byte of the block; null when empty.
    std::uint8_t* getBase() const noexcept { return base_; }
    /// First byte of this view; null when empty.
    std::uint8_t* data() const noexcept { return base_ == nullptr ? nullptr : base_ + offset_; }

    /// Objects are made and freed by the library's own heap, whichever module calls. The throwing forms throw
    /// std::bad_alloc.
    static void* operator new(std::size_t bytes);
    static void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept;
    static void operator delete(void* object) noexcept;
    static void operator delete(void* object, const std::nothrow_t&) noexcept;

protected:
    virtual int incrementUseCount() = 0;  ///< the count after it
    virtual int decrementUseCount() = 0;  ///< the count that remains

    /// Makes this object, which must be empty, view what from views: same base, offset and size, with from's offset as
    /// the point that setOffset() counts from. The caller counts the user.
    void copyView(const IAlignedMem& from) noexcept;
    void setView(std::uint8_t* base) noexcept;
    bool moveView(int bytes, unsigned size) noexcept;

private:
    std::uint8_t* base_ = nullptr;
    int origin_ = 0, offset_ = 0;
};

/// Aligned memory with a use count: shadows share the block, the last user frees it. The count is atomic.
class ORVEL_API AlignedMem : public IAlignedMem {
public:
    AlignedMem() noexcept = default;
    ~AlignedMem() override;

    [[nodiscard]] bool allocate(unsigned size, int alignment) override;
    [[nodiscard]] IAlignedMem* shadowCopy() override;
    bool deallocate() override;
    [[nodiscard]] bool setMem(void* p, unsigned size) override;  ///< always false
    [[nodiscard]] bool lock() override;
    [[nodiscard]] bool unlock() override;
    unsigned getSize() const override;
    [[nodiscard]] bool setOffset(int bytes) override;
    int getUseCount() const override;

protected:
    int incrementUseCount() override;
    int decrementUseCount() override;

    /// Makes this object, which must be empty, a further user of what from holds.
    void share(const AlignedMem& from);
    /// Drops this user and empties the object; frees the block with its last user.
    /// @return the number of users that remain, -1 when the object was empty.
    int release();

private:
    struct Block;
    Block* block_ = nullptr;
};

}  // namespace OrvelSys

namespace Orvel {
using OrvelSys::AlignedMem;
using OrvelSys::IAlignedMem;
}  // namespace Orvel
