#include "orvel/sys/aligned_mem.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <utility>

#include "orvel/sys/page_lock.h"

namespace OrvelSys {

IAlignedMem::~IAlignedMem() = default;

void* IAlignedMem::operator new(std::size_t bytes) {
    return ::operator new(bytes);
}
void* IAlignedMem::operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return ::operator new(bytes, std::nothrow);
}
void IAlignedMem::operator delete(void* object) noexcept {
    ::operator delete(object);
}
void IAlignedMem::operator delete(void* object, const std::nothrow_t&) noexcept {
    ::operator delete(object);
}

void IAlignedMem::copyView(const IAlignedMem& from) noexcept {
    base_ = from.base_;
    origin_ = offset_ = from.offset_;
}

void IAlignedMem::setView(std::uint8_t* base) noexcept {
    base_ = base;
    origin_ = offset_ = 0;
}

bool IAlignedMem::moveView(int bytes, unsigned size) noexcept {
    const std::int64_t target = std::int64_t{origin_} + bytes;
    if (target < 0 || target > std::int64_t{size} || target > INT32_MAX) return false;
    offset_ = static_cast<int>(target);
    return true;
}

/// The shared memory and the number of objects that view it.
struct AlignedMem::Block {
    /// At least on a cache line: rows that begin there can be written past the cache.
    Block(unsigned bytes, std::size_t align)
        : size(bytes),
          alignment(std::align_val_t(std::max(align, std::size_t{64}))),
          memory(static_cast<std::uint8_t*>(::operator new(bytes, alignment))) {}
    ~Block() {
        if (pinned) unpinPages(memory, size);  // freed pages must not stay pinned
        ::operator delete(memory, alignment);
    }

    const unsigned size;
    const std::align_val_t alignment;
    std::uint8_t* const memory;
    std::atomic<int> users{1};
    std::atomic<bool> pinned{false};
};

AlignedMem::~AlignedMem() {
    release();
}

bool AlignedMem::allocate(unsigned size, int alignment) {
    deallocate();  // the derived class's: it may have to tell somebody
    const bool powerOfTwo = alignment > 0 && (alignment & (alignment - 1)) == 0;
    if (size == 0 || !powerOfTwo) return size == 0;
    try {
        block_ = new Block(size, static_cast<std::size_t>(alignment));
    } catch (const std::bad_alloc&) {
        return false;
    }
    setView(block_->memory);
    return true;
}

IAlignedMem* AlignedMem::shadowCopy() {
    auto* shadow = new (std::nothrow) AlignedMem;
    if (shadow != nullptr) shadow->share(*this);
    return shadow;
}

void AlignedMem::share(const AlignedMem& from) {
    block_ = from.block_;
    copyView(from);
    if (block_ != nullptr) incrementUseCount();
}

int AlignedMem::release() {
    if (block_ == nullptr) return -1;
    const int remaining = AlignedMem::decrementUseCount();
    if (remaining == 0) delete block_;
    block_ = nullptr;
    setView(nullptr);
    return remaining;
}

bool AlignedMem::deallocate() {
    release();
    return true;
}

bool AlignedMem::setMem(void*, unsigned) {
    return false;
}

bool AlignedMem::lock() {
    if (block_ == nullptr) return true;
    if (!pinPages(block_->memory, block_->size)) return false;
    block_->pinned = true;
    return true;
}

bool AlignedMem::unlock() {
    if (block_ == nullptr) return true;
    return !block_->pinned.exchange(false) || unpinPages(block_->memory, block_->size);
}

unsigned AlignedMem::getSize() const {
    return block_ == nullptr ? 0 : block_->size;
}
bool AlignedMem::setOffset(int bytes) {
    return moveView(bytes, getSize());
}
int AlignedMem::getUseCount() const {
    return block_ == nullptr ? 0 : block_->users.load();
}
int AlignedMem::incrementUseCount() {
    return block_->users.fetch_add(1) + 1;
}
// The release half of the default order makes the last user see what all others wrote before it frees.
int AlignedMem::decrementUseCount() {
    return block_->users.fetch_sub(1) - 1;
}

}  // namespace OrvelSys
