#pragma once
#include <cstdint>
#include <list>
#include <memory>

#include "orvel/deinterlace/deinterlace_img.h"
#include "orvel/framerate/frame_rate_convert.h"
#include "orvel/img/all_formats.h"
#include "orvel/img/img_pool.h"
#include "orvel/mctf/mctf_fast_interlaced.h"
#include "orvel/mctf/mctf_fast_progressive.h"
#include "orvel/pipeline/process_video_params.h"
#include "orvel/resize/resize_img.h"
#include "orvel/sys/api.h"

namespace Orvel {

/// Turns each source picture into zero or more finished pictures: crops and converts it into the working format T,
/// deinterlaces it, resizes it onto a canvas, filters its noise and converts its frame rate. Stages that are not
/// configured cost nothing.
///
/// Some stages hold pictures back: a deinterlacer that looks at n pictures gives the first output with the nth, the
/// temporal filter and the frame-rate converter with their second picture; what they hold at the end is not output, see
/// flush(). The temporal filter is for I420Img, and needs pictures of the whole canvas: a destination rectangle that is
/// not scaled has it refuse every picture.
///
/// | T       | accepts          |
/// |---------|------------------|
/// | I420Img | I420, UYVY, YUYV (YUYV when the source is progressive) |
/// | YV16Img | YV16, UYVY, YUYV |
/// | HY16Img | HY16, V216       |
///
/// Life: allocate() -> process() and returnImg() in any order -> deallocate(). After deallocate() the engine can't be
/// allocated again. All operations run on the caller's thread, one engine serves one thread; the pixel work inside a
/// call uses all cores. Once the pools have grown to the depth of the pipeline, no picture memory is allocated.
///
/// Every picture handed out belongs to the engine and goes back with returnImg(); the caller's source picture is never
/// kept past the call that received it.
template <class T>
class ORVEL_API ProcessVideo {
public:
    /// An engine without stages. Throws std::bad_alloc.
    ProcessVideo();
    ~ProcessVideo();
    ProcessVideo(const ProcessVideo&) = delete;
    ProcessVideo& operator=(const ProcessVideo&) = delete;

    /// Checks in, copies it to out and completes out. The checks and derived values are those of ProcessVideoParams.
    /// A deinterlacing pipeline without deinterlaceParams gets a new record, owned by the caller.
    /// @return false when the combination is impossible; out may then be partly written, but holds no new record.
    [[nodiscard]] static bool validateParams(ProcessVideoParams<T>& out, const ProcessVideoParams<T>& in);

    /// Validates p, writes the completed values back into p and builds the stages. On success the engine owns
    /// p.deinterlaceParams, also one that the caller supplied: set it to null before p is used for another engine.
    /// @return false when p is refused (the engine is then as it was), a stage cannot be built, the destination
    /// rectangle of a scaling pipeline leaves the canvas, or the engine was deallocated before; the engine is then
    /// deallocated and a deinterlaceParams that the caller supplied is still the caller's.
    [[nodiscard]] bool allocate(ProcessVideoParams<T>& p);
    /// flush(), then frees the stages and the pictures in stock.
    void deallocate();

    /// Pushes one source picture through all stages.
    /// @return a finished picture; null with ok true when the picture was accepted but none is ready; null with ok
    /// false on failure: src has no planes, another size than configured, or a format that T does not accept, or memory
    /// ran out; src then keeps its user data, and gets that of earlier pictures which can't be finished. The stages go
    /// on with the next picture. With copyUnprocessed off and nothing to do, src itself.
    /// A plane copy that fails throws std::runtime_error (a source whose planes are not those of its format).
    [[nodiscard]] T* process(Img& src, bool& ok);
    /// A further output for the source pictures given so far; null with ok true when there is none.
    [[nodiscard]] T* isOutputAvailable(bool& ok);
    /// Drops the pictures that the stages hold, keeping their user data for extractUserData(): what the deinterlacer
    /// held, then the temporal filter's, then the frame-rate converter's.
    void flush();
    /// Hands back a picture of process() or isOutputAvailable() and sets img to null. @return false, with nothing
    /// changed, for a picture that the engine did not issue.
    bool returnImg(T*& img);
    /// Removes and returns the oldest user data item of dropped pictures; null when there is none.
    void* extractUserData();
    /// Weight of the earlier of the two pictures in the last output of the frame-rate converter: alpha / scale; scale
    /// is 255. alpha is 0 before the first output and without a converter.
    void lastBlendAlpha(int& alpha, int& scale) const;

    bool hasCropping() const;     ///< the crop is not the whole source
    bool hasDstCropping() const;  ///< the destination rectangle is not the whole canvas
    bool hasDeinterlacing() const { return deinterlacer_ != nullptr; }
    bool hasResizing() const { return resizer_ != nullptr; }
    bool hasMCTF() const { return mctfFilter_ != nullptr; }
    bool hasFrameRateConversion() const { return frameRateConverter_ != nullptr; }

protected:
    // The stages. Each takes the previous one's picture and answers as process() does; a stage that is off returns its
    // input.

    /// Crop and format conversion.
    T* cropConvert(Img& src, bool& ok);
    /// Deinterlacing of the crop.
    T* deinterlace(T* in, bool& ok);
    /// Scaling into the destination rectangle of a canvas.
    T* resize(T* in, bool& ok);
    /// Temporal noise filtering; fails for T other than I420Img when there is a filter.
    T* mctf(T* in, bool& ok);
    /// Frame-rate conversion; isOutputAvailable() has further outputs.
    T* frameRateConvert(T* in, bool& ok);

    /// A private copy of the caller's picture, for a stage that must keep it; null unless img is the picture being
    /// processed and has T's format.
    T* copySrcToUnprocessedBuffer(Img* img);
    /// The resizer that the parameters ask for, owned by the caller; null when it cannot be built.
    ResizeImg* allocateResizer();
    static bool isIMGPLANAR(const Img& img);
    /// Converts a picture of an accepted format that is not T's.
    static bool ConvertToIMGPLANAR(T* dst, Img* src, bool interlaced);
    static constexpr int IMGPLANAR_BPP() noexcept { return T::getClassBpp(); }

private:
    struct Lease;

    bool buildStages();
    bool buildFilter();
    bool buildConverter();
    template <class Farewell>
    void dropHeldFrames(const Farewell& farewell);
    void keepUserDataOf(Img& frame);
    T* fetch(ImgPool<T>& pool);
    T* fetchCanvas(ImgPool<T>& pool);
    T* copySrcToUnprocessed(Img& src);
    void copyPlanes(Img& src, T& dst);
    bool paintBackground(T& canvas) const;
    bool scaleInto(Img& view, Img& in);

    ProcessVideoParams<T> params_;
    Img* curSrc_ = nullptr;  ///< the caller's picture during process()
    ImgPool<T> cropPool_;
    std::unique_ptr<DeinterlaceImg> deinterlacer_;
    ImgPool<T> deinterlacePool_;
    std::unique_ptr<ResizeImg> resizer_;
    ImgPool<T> resizePool_;
    std::unique_ptr<MCTFFast<I420Img>> mctfFilter_;
    ImgPool<T> mctfPool_;
    std::unique_ptr<FrameRateConvert> frameRateConverter_;
    ImgPool<T> frameRatePool_, unprocessedPool_;
    std::unique_ptr<std::list<void*>> userDataList_;  ///< made by allocate() when user data is kept
};

extern template class ProcessVideo<HY16Img>;
extern template class ProcessVideo<I420Img>;
extern template class ProcessVideo<YV16Img>;

}  // namespace Orvel
