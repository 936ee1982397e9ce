#pragma once
#include <array>
#include <cstddef>

#include "orvel/img/i420_img.h"
#include "orvel/mctf/mctf_fast_params.h"
#include "orvel/mctf/motion_estimate_img.h"
#include "orvel/sys/api.h"

namespace Orvel {

/// The motion-compensated temporal noise filter: each picture is blended with a prediction made from the one before it,
/// block by block, the less the two agree the less. MCTFFastProgressive filters frames, MCTFFastInterlaced fields.
///
/// Life: allocate() -> pushImg() and, as soon as bufferedFrames() reaches requiredFrames(), filter() after each push ->
/// popImg() for the frame that is left -> deallocate(). Pushed frames are never copied: they stay the caller's, who
/// keeps them alive until they are handed back. Once allocated, a filter takes no more picture memory.
///
/// One thread at a time may use a filter; the work inside a call uses all cores, and its result never depends on how
/// many there are.
template <class T>
class ORVEL_API MCTFFast {
public:
    /// An unallocated filter. Throws std::bad_alloc.
    MCTFFast();
    virtual ~MCTFFast();
    MCTFFast(const MCTFFast&) = delete;
    MCTFFast& operator=(const MCTFFast&) = delete;

    /// Gets ready for frames of params.width x params.height with an empty queue and no past; what was allocated before
    /// is let go of. The parameters are copied.
    /// @return false when the size is refused or memory runs out: the filter is then unallocated.
    [[nodiscard]] virtual bool allocate(MCTFFastParams& params);
    /// Back to the unallocated state; queued frames are forgotten, they are the caller's. May be called twice.
    virtual void deallocate();
    /// Queues the next frame, a 4:2:0 picture or view of the allocated size.
    /// @return false, with nothing changed, when the filter is not allocated, its queue is full, or img is null or of
    /// another size.
    [[nodiscard]] virtual bool pushImg(T* img) = 0;
    /// Takes the oldest frame out of the queue and hands it back; null when there is none.
    virtual T* popImg() = 0;
    /// Writes the newest frame, filtered with the one before it, to out. The older frame leaves the queue and is handed
    /// back through released (when that is not null), also when the filter fails on the way. On every other call, from
    /// the first on, the newest frame takes the filtered pixels itself, so that the next one is predicted from them.
    /// @param out  a 4:2:0 picture or view of the frame size, none of the queued frames.
    /// @return false, with *released null, while fewer than requiredFrames() are queued; false, with nothing written,
    /// when out does not fit; false when memory runs out on the way.
    [[nodiscard]] virtual bool filter(T& out, T** released) = 0;

    static constexpr int requiredFrames() noexcept { return 2; }
    /// Frames in the queue.
    int bufferedFrames() const noexcept { return static_cast<int>(queued_); }

protected:
    bool isAllocated() const noexcept { return allocated_; }
    bool isFull() const noexcept { return queued_ == queue_.size(); }
    /// The oldest frame; null when there is none.
    T* front() const noexcept { return queued_ == 0 ? nullptr : queue_[0]; }
    T* newest() const noexcept { return queued_ == 0 ? nullptr : queue_[queued_ - 1]; }
    /// Appends a frame; the queue must not be full.
    void pushBack(T* img) noexcept { queue_[queued_++] = img; }
    /// Removes the oldest frame; null when there is none.
    T* popFront() noexcept;

    MCTFFastParams params_;
    MotionEstimateImg<T> motionEstimate_;

private:
    std::array<T*, 2> queue_{};  // oldest first; of fixed size, so that it can't run out of memory
    std::size_t queued_ = 0;
    bool allocated_ = false;
};

extern template class MCTFFast<I420Img>;

}  // namespace Orvel
