#pragma once
#include <cstdint>

#include "orvel/deinterlace/deinterlace_params.h"
#include "orvel/img/img.h"
#include "orvel/sys/api.h"

namespace Orvel {

/// Turns interlaced pictures into progressive ones. A deinterlacer works on a queue of pictures:
///
///     pushImg() each picture; when bufferedFrames() equals requiredFrames(), deinterlace() into a picture of the
///     caller's and take the released one back; at the end, popImg() until it returns null.
///
/// It keeps pointers, never copies: a queued picture belongs to the caller and stays valid and unchanged until it comes
/// back. Copies of a deinterlacer point to the same queued pictures.
///
/// One thread at a time may use a deinterlacer; rows are worked on by all cores, and the result does not depend on
/// that. Failures are told by false or null: a refused picture is not queued, a failed deinterlace() keeps the queue.
class ORVEL_API DeinterlaceImg {
public:
    /// Takes the parameters over: here what all records have in common, in the deinterlacers also their own.
    /// @return false for null, the record of another type or values out of range; nothing is changed then.
    [[nodiscard]] virtual bool allocate(DeinterlaceImgParams* p);
    /// Forgets the queued pictures.
    virtual void deallocate();
    /// Queues a picture of the allocated size whose planes have one channel and one byte per sample.
    /// @return false for any other picture, or when the queue is full.
    [[nodiscard]] virtual bool pushImg(Img& img);
    /// Makes a progressive picture into out, which has the allocated size, planes of the source's depth and at least of
    /// its sizes, and shares no samples with it. Larger planes keep what lies beyond the source's size.
    /// @param released null, or where to put the picture that left the queue; null there when none did.
    /// @return false when the queue is empty or a plane does not fit; out may then be partly written.
    [[nodiscard]] virtual bool deinterlace(Img& out, Img** released) = 0;
    /// Takes the oldest picture out of the queue; null when it is empty.
    virtual Img* popImg();
    /// Pictures that the queue must hold for deinterlace().
    virtual int requiredFrames() const;
    /// Pictures in the queue.
    virtual int bufferedFrames() const;

    virtual ~DeinterlaceImg();

    /// A new deinterlacer, owned by the caller; null for an unknown type or when memory runs out.
    [[nodiscard]] static DeinterlaceImg* newAlloc(DeinterlaceType type);
    /// Frees the deinterlacer and all that it owns, and sets the pointer to null.
    static void deleteDealloc(DeinterlaceImg*& deinterlacer);

    /// DeinterlaceTypeNone until allocated.
    DeinterlaceType getDeinterlaceType() const noexcept { return type_; }

protected:
    DeinterlaceImg() = default;
    DeinterlaceImg(const DeinterlaceImg&) = default;
    DeinterlaceImg& operator=(const DeinterlaceImg&) = default;

    /// True for a picture of the allocated size whose planes have one channel and at most so many bytes per sample.
    bool accepts(const Img& img, int maxBytesPerSample) const;
    /// True when a picture may be made into out: it has the allocated size, and the queue holds no more than it should.
    bool validateDeinterlace(Img& out) const;
    /// Deals with a plane that is not to be deinterlaced: copies it or leaves it, as configured.
    /// @return false when the plane is to be deinterlaced. Throws std::runtime_error when it does not fit into out.
    bool nonDeinterlacedPlane(Img* src, Img* out, int plane) const;
    /// Ends a deinterlace(): pops the queue into released, if that is wanted.
    void release(Img** released);
    /// deinterlace() of the deinterlacers that need one picture: filter(src, out, plane) makes each enabled plane.
    template <class Filter>
    bool filterHeldFrame(Img& out, Img** released, const Filter& filter);

    Img* heldFrame_ = nullptr;  ///< the queue of deinterlacers that need one picture
    DeinterlaceType type_ = DeinterlaceTypeNone;
    std::int32_t width_ = 0, height_ = 0;
    std::uint8_t planeEnable_[4] = {1, 1, 1, 1};
    std::int32_t nonDeinterlacedMode_ = 1;
    bool keepUserData_ = false;

private:
    bool hasAllocatedSize(const Img& img) const;
};

}  // namespace Orvel
