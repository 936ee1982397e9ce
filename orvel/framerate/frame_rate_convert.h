#pragma once
#include <array>
#include <cstdint>
#include <list>

#include "orvel/framerate/frame_rate_convert_params.h"
#include "orvel/img/img.h"
#include "orvel/img/types.h"
#include "orvel/sys/api.h"

namespace Orvel {

/// Turns a sequence of frames of one rate into a sequence of another: for every output time it repeats the nearer of
/// the two newest frames or mixes both by their distances; frames are dropped when the rate goes down.
///
/// Push a frame, then convert as long as isConverterReady() says so, then push the next one. Frames stay the caller's,
/// must live while they are queued, and come back through `released` or popImg(). The first frame is queued twice; the
/// first output follows the second frame.
///
/// The time of the next output is kept in whole numbers: it does not drift, however long the sequence. With inc =
/// dstRateNum * srcRateDen and dec = srcRateNum * dstRateDen every frame after the first adds inc to an accumulator and
/// every output takes dec away; an output is due while the accumulator is not negative.
///
/// With keepUserData no item of a frame's user data gets lost, and none arrives twice: each goes to the output that its
/// frame is nearest to, or to the next one, in the frames' order. Items whose output has not come yet wait in the
/// converter. One thread at a time may use a converter. Failures are told by the result alone.
class ORVEL_API FrameRateConvert {
public:
    /// A converter at equal rates that repeats frames and leaves user data alone.
    FrameRateConvert();
    FrameRateConvert(const FrameRateConvert&) = delete;
    FrameRateConvert& operator=(const FrameRateConvert&) = delete;

    /// Starts anew at these rates. @return false, with the converter as deallocate() leaves it, when one of the four
    /// numbers is not positive. (A negative rate would mean outputs without end, or none.)
    [[nodiscard]] virtual bool allocate(const FrameRateConvertParams& p);
    /// Back to the constructed state. Frames in the queue and waiting user data are forgotten: fetch them before.
    virtual void deallocate();
    /// Queues a frame. @return false when the queue is full.
    [[nodiscard]] virtual bool pushImg(Img& img);
    /// Is an output due? If not, and the queue is full, its oldest frame is not needed any more and leaves.
    /// @param released the frame that left the queue, null when none did.
    virtual bool isConverterReady(Img** released);
    /// Makes the next output: all lines of out with FieldFrameBoth, else the lines of one field. A mixed picture is
    /// made by InterpolateImg::frameInterpolate(); a repeated one is a copy, of floor(height / 2) lines for a field,
    /// and with a sel of none of the three values no copy at all.
    /// @param released the frame that left the queue, null when none did.
    /// @return false when no output is due, out does not fit the frames or memory runs out. The queue and the time of
    /// the output are then unchanged, and no user data has gone to out; its pixels may have been written.
    [[nodiscard]] virtual bool rateConvert(Img& out, FieldFrameSelect sel, Img** released);
    /// Takes the oldest frame out of the queue. Null when the queue is empty, and once for the first frame's second
    /// place: to empty the queue call it until bufferedFrames() is 0. The user data of the frame that is now the
    /// oldest waits in the converter from then on. What emptying leaves as it is: the output time, so that outputs that
    /// were due still are when the queue has filled up again, with three frames.
    virtual Img* popImg();
    virtual int requiredFrames() const { return required; }  ///< length of a full queue
    virtual int bufferedFrames() const { return count_; }    ///< length of the queue
    virtual ~FrameRateConvert();

    /// Removes and returns the first of the waiting user-data items; null when there is none.
    void* extractUserData();
    /// Moves all of them behind those of to.
    void moveUserData(std::list<void*>& to) noexcept;
    /// Weight of the older frame in the last output, 0 to 255.
    unsigned char lastBlendAlpha() const noexcept { return lastAlpha_; }

protected:
    /// Moves the items of img behind the waiting ones; an item that img holds twice arrives once. Without keepUserData
    /// it does nothing.
    void saveImgUserData(Img* img) noexcept;
    /// Moves the waiting items to img.
    void restoreImgUserData(Img* img) noexcept;

private:
    static constexpr int required = 3;

    void handOverUserData(Img& out, bool newestToo) noexcept;
    Img* releaseOldest();

    std::int64_t inc_ = 1, dec_ = 1, acc_ = 0;
    bool blend_ = false, keepUserData_ = false;
    std::array<Img*, required> frames_{};  // oldest first, null behind count_
    std::int32_t count_ = 0;
    bool ready_ = false;         // the first frame has come
    bool primed_ = false;        // it stands in two places
    bool firstPopDone_ = false;  // one of them has been taken
    std::list<void*> savedUserData_;
    std::uint8_t lastAlpha_ = 0;
};

}  // namespace Orvel
