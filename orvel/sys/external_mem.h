#pragma once
#include "orvel/sys/aligned_mem.h"

namespace OrvelSys {

/// A view of the caller's memory. It never allocates, frees, counts or pins; the caller keeps the memory alive for as
/// long as this object or a shadow of it is used.
class ORVEL_API ExternalMem : public IAlignedMem {
public:
    [[nodiscard]] bool allocate(unsigned size, int alignment) override;  ///< always false
    [[nodiscard]] IAlignedMem* shadowCopy() override;
    bool deallocate() override;  ///< forgets the memory; always true
    /// @return false, with nothing changed, when p is null.
    [[nodiscard]] bool setMem(void* p, unsigned size) override;
    [[nodiscard]] bool lock() override;    ///< always false
    [[nodiscard]] bool unlock() override;  ///< always false
    unsigned getSize() const override { return size_; }
    [[nodiscard]] bool setOffset(int bytes) override { return moveView(bytes, size_); }
    int getUseCount() const override { return 0; }

protected:
    int incrementUseCount() override { return 0; }
    int decrementUseCount() override { return 0; }

private:
    unsigned size_ = 0;
};

}  // namespace OrvelSys

namespace Orvel {
using OrvelSys::ExternalMem;
}  // namespace Orvel
