#pragma once
#include <array>
#include <cstddef>

#include "orvel/mctf/mctf_fast_progressive.h"

namespace Orvel {

/// The temporal noise filter on interlaced frames: each field is filtered with the same field of the frame before, by a
/// filter of its own. Frames are at least 64 x 64 and of even width. See MCTFFast.
template <class T>
class ORVEL_API MCTFFastInterlaced : public MCTFFast<T> {
public:
    /// An unallocated filter. Throws std::bad_alloc.
    MCTFFastInterlaced();
    ~MCTFFastInterlaced() override;

    [[nodiscard]] bool allocate(MCTFFastParams& params) override;
    void deallocate() override;
    [[nodiscard]] bool pushImg(T* img) override;
    T* popImg() override;
    [[nodiscard]] bool filter(T& out, T** released) override;

private:
    /// Views of the fields of one frame.
    struct Fields {
        T top, bottom;

        bool show(const T& frame);
        void forget();
    };

    bool fits(const T& img) const noexcept;
    Fields& oldest() noexcept { return fields_[oldest_]; }
    void forgetOldest();

    MCTFFastProgressive<T> top_, bottom_;
    std::array<Fields, 2> fields_;  ///< of the queued frames, a ring
    std::size_t oldest_ = 0;        ///< where the ring begins
    Fields outFields_;              ///< during filter() only
};

extern template class MCTFFastInterlaced<I420Img>;

}  // namespace Orvel
