#pragma once
#include <cstdint>

#include "orvel/mctf/mctf_fast.h"
#include "orvel/mctf/motion_compensate_img.h"
#include "orvel/mctf/pic_data.h"

namespace Orvel {

/// The temporal noise filter on whole frames, at least 64 x 32 and of even width. See MCTFFast.
template <class T>
class ORVEL_API MCTFFastProgressive : public MCTFFast<T> {
public:
    /// An unallocated filter. Throws std::bad_alloc.
    MCTFFastProgressive();
    ~MCTFFastProgressive() override;

    [[nodiscard]] bool allocate(MCTFFastParams& params) override;
    void deallocate() override;
    [[nodiscard]] bool pushImg(T* img) override;
    T* popImg() override;
    [[nodiscard]] bool filter(T& out, T** released) override;

private:
    bool fits(const T& img) const noexcept;
    bool filterPicture(T& out, T& cur, T& ref);

    MotionCompensateImg<T> motionCompensate_;
    T prediction_;
    PicData picData_;  ///< its planes are those of the newest frame, during filter() only
    float prevNoise_ = 0;
    std::int32_t writeBack_ = 0;  ///< 1 when the last call replaced the newest frame's pixels
};

extern template class MCTFFastProgressive<I420Img>;

}  // namespace Orvel
