#include "orvel/pipeline/process_video.h"

#include <new>
#include <type_traits>
#include <utility>

#include "orvel/img/img_kernels.h"
#include "orvel/img/parallel_rows.h"
#include "orvel/img/plane_access.h"
#include "orvel/pipeline/source_conversion.h"

namespace Orvel {

/// A picture that goes back to its pool, if it is of one, unless it is handed on; also when something is thrown. What
/// user data it then still has goes back to the caller's picture.
template <class T>
struct ProcessVideo<T>::Lease {
    Lease(ProcessVideo& owner, T* picture) : engine(owner), img(picture) {}
    ~Lease() {
        if (img != nullptr && engine.curSrc_ != nullptr) Img::moveUserData(*engine.curSrc_, *img);
        engine.returnImg(img);
    }
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;
    T* handOn() { return std::exchange(img, nullptr); }

    ProcessVideo& engine;
    T* img;
};

template <class T>
ProcessVideo<T>::ProcessVideo() = default;

template <class T>
ProcessVideo<T>::~ProcessVideo() {
    deallocate();
}

template <class T>
bool ProcessVideo<T>::allocate(ProcessVideoParams<T>& p) {
    ProcessVideoParams<T> completed;
    if (!validateParams(completed, p)) return false;
    DeinterlaceImgParams* supplied = p.deinterlaceParams;
    // Given back the record that it owns, the engine keeps it for the stages to be built.
    const bool own = supplied != nullptr && supplied == params_.deinterlaceParams;
    if (own) supplied = params_.deinterlaceParams = nullptr;
    deallocate();
    params_ = p = completed;
    if (buildStages()) return true;
    // Only what allocate() succeeded with belongs to the engine; a record made here goes with it.
    if (supplied != nullptr) params_.deinterlaceParams = nullptr;
    deallocate();
    p.deinterlaceParams = supplied;
    return false;
}

template <class T>
void ProcessVideo<T>::deallocate() {
    dropHeldFrames([](Img&) {});
    DeinterlaceImgParams::deleteDealloc(params_.deinterlaceParams);
    deinterlacer_.reset();
    resizer_.reset();
    mctfFilter_.reset();
    frameRateConverter_.reset();
    // mctfPool_ is left out by design: it keeps its pictures, and with them a second allocate() fails.
    for (ImgPool<T>* pool : {&cropPool_, &deinterlacePool_, &resizePool_, &frameRatePool_, &unprocessedPool_})
        pool->deallocate(false);
    userDataList_.reset();
}

template <class T>
T* ProcessVideo<T>::process(Img& src, bool& ok) {
    ok = false;
    if (src.numPlanes() == 0 || src.getWidth(0) != params_.srcWidth || src.getHeight(0) != params_.srcHeight)
        return nullptr;
    struct Current {
        explicit Current(Img*& place, Img* img) : place_(place) { place_ = img; }
        ~Current() { place_ = nullptr; }
        Img*& place_;
    } const current(curSrc_, &src);

    try {
        T* result = cropConvert(src, ok);
        for (const auto stage :
             {&ProcessVideo::deinterlace, &ProcessVideo::resize, &ProcessVideo::mctf, &ProcessVideo::frameRateConvert})
            if (result != nullptr) result = (this->*stage)(result, ok);
        if (result == nullptr) return nullptr;
        if (result == &src && params_.copyUnprocessed) result = copySrcToUnprocessed(src);
        ok = result != nullptr;
        return result;
    } catch (const std::bad_alloc&) {
        ok = false;
        return nullptr;
    }
}

template <class T>
void ProcessVideo<T>::flush() {
    dropHeldFrames([this](Img& frame) {
        if (params_.keepUserData) keepUserDataOf(frame);
    });
    if (frameRateConverter_ && userDataList_) frameRateConverter_->moveUserData(*userDataList_);
}

/// Empties the stages; farewell(frame) sees each picture before it goes back to its pool.
template <class T>
template <class Farewell>
void ProcessVideo<T>::dropHeldFrames(const Farewell& farewell) {
    const auto drop = [&](Img* frame) {
        const Lease back(*this, static_cast<T*>(frame));
        farewell(*frame);
    };
    if (deinterlacer_)
        while (Img* const frame = deinterlacer_->popImg()) drop(frame);
    if (mctfFilter_)
        while (Img* const frame = mctfFilter_->popImg()) drop(frame);
    // The converter's queue holds its first picture twice and answers null for the one of them.
    if (frameRateConverter_)
        while (frameRateConverter_->bufferedFrames() > 0)
            if (Img* const frame = frameRateConverter_->popImg()) drop(frame);
}

template <class T>
void ProcessVideo<T>::keepUserDataOf(Img& frame) {
    frame.delUserData(nullptr);  // would look like the end of the list to who extracts
    Img::moveUserData(*userDataList_, frame);
}

template <class T>
bool ProcessVideo<T>::returnImg(T*& img) {
    for (ImgPool<T>* pool :
         {&unprocessedPool_, &frameRatePool_, &mctfPool_, &resizePool_, &deinterlacePool_, &cropPool_})
        if (pool->put(img)) return true;
    return false;
}

template <class T>
void* ProcessVideo<T>::extractUserData() {
    if (!userDataList_ || userDataList_->empty()) return nullptr;
    void* const item = userDataList_->front();
    userDataList_->pop_front();
    return item;
}

template <class T>
void ProcessVideo<T>::lastBlendAlpha(int& alpha, int& scale) const {
    alpha = frameRateConverter_ ? frameRateConverter_->lastBlendAlpha() : 0;
    scale = 255;
}

template <class T>
bool ProcessVideo<T>::hasCropping() const {
    return params_.cropX != 0 || params_.cropY != 0 || params_.cropWidth != params_.srcWidth ||
           params_.cropHeight != params_.srcHeight;
}

template <class T>
bool ProcessVideo<T>::hasDstCropping() const {
    return params_.dstCropX != 0 || params_.dstCropY != 0 || params_.dstCropWidth != params_.dstWidth ||
           params_.dstCropHeight != params_.dstHeight;
}

template <class T>
T* ProcessVideo<T>::cropConvert(Img& src, bool& ok) {
    // A picture of T's format that is of another class can't be handed on as a T, so it takes the copying way.
    auto* const unchanged = dynamic_cast<T*>(&src);
    if (unchanged != nullptr && isIMGPLANAR(src) && !hasCropping()) {
        ok = true;
        return unchanged;
    }
    ok = false;
    Lease out(*this, fetch(cropPool_));
    if (out.img == nullptr) return nullptr;
    Img roi;
    src.getShadowRoi(roi, {params_.cropX, params_.cropY}, {params_.cropWidth, params_.cropHeight});
    if (roi.numPlanes() != src.numPlanes()) return nullptr;  // memory ran out
    if (isIMGPLANAR(src)) {
        copyPlanes(roi, *out.img);
        fillFromEdges(*out.img, roi);
    } else {
        if (!ConvertToIMGPLANAR(out.img, &roi, !params_.srcProgressive)) return nullptr;
        fillOddRow(*out.img);
    }
    if (params_.keepUserData) Img::moveUserData(*out.img, src);
    ok = true;
    return out.handOn();
}

template <class T>
T* ProcessVideo<T>::deinterlace(T* in, bool& ok) {
    ok = true;
    if (!deinterlacer_) return in;
    ok = false;
    if (in == curSrc_ && deinterlacer_->requiredFrames() > 1) in = copySrcToUnprocessedBuffer(in);
    Lease pushed(*this, in);
    if (in == nullptr || !deinterlacer_->pushImg(*in)) return nullptr;
    pushed.handOn();
    ok = deinterlacer_->bufferedFrames() < deinterlacer_->requiredFrames();
    if (ok) return nullptr;

    Lease out(*this, fetch(deinterlacePool_));
    Img* released = nullptr;
    ok = out.img != nullptr && deinterlacer_->deinterlace(*out.img, &released);
    if (!ok) released = deinterlacer_->popImg();
    const Lease used(*this, static_cast<T*>(released));
    return ok ? out.handOn() : nullptr;
}

template <class T>
T* ProcessVideo<T>::resize(T* in, bool& ok) {
    ok = true;
    if (!resizer_) return in;
    ok = false;
    const Lease used(*this, in);
    Lease out(*this, fetchCanvas(resizePool_));
    if (out.img != nullptr) {
        Img view;
        out.img->getShadowRoi(view, {params_.dstCropX, params_.dstCropY},
                              {params_.dstCropWidth, params_.dstCropHeight});
        ok = scaleInto(view, *in);
        if (!hasDstCropping()) fillFromEdges(*out.img, view);  // else the background is there
    }
    if (params_.keepUserData && ok) Img::moveUserData(*out.img, *in);
    return ok ? out.handOn() : nullptr;
}

/// A canvas from stock. A new one is painted; a recycled one still has its border, because nobody writes there.
template <class T>
T* ProcessVideo<T>::fetchCanvas(ImgPool<T>& pool) {
    const bool freshlyMade = pool.available() == 0;
    Lease canvas(*this, fetch(pool));
    if (canvas.img != nullptr && freshlyMade && hasDstCropping() && !paintBackground(*canvas.img)) {
        canvas.img->deallocate(-1);  // not to come back from the pool unpainted
        return nullptr;
    }
    return canvas.handOn();
}

template <class T>
bool ProcessVideo<T>::paintBackground(T& canvas) const {
    const int colour[] = {params_.backgroundY, params_.backgroundU, params_.backgroundV};
    const int shift = canvas.getFormat() == HY16Img::getClassFormat() ? 8 : 0;
    for (int p = 0; p < canvas.numPlanes(); ++p)
        if (hasPixels(canvas, p) && !canvas.setPlane(p, colour[p] << shift)) return false;
    return true;
}

/// Scales in into the view, fields apart when both sides are interlaced.
template <class T>
bool ProcessVideo<T>::scaleInto(Img& view, Img& in) {
    if (params_.srcProgressive || params_.dstProgressive) return resizer_->resize(view, in);
    Img viewField, inField;
    // A field that memory ran out for has no planes, and nothing to scale is no failure to the resizer.
    const auto scaleField = [&] { return inField.numPlanes() > 0 && resizer_->resize(viewField, inField); };
    view.getTopFieldShadow(viewField);
    in.getTopFieldShadow(inField);
    const bool top = scaleField();
    view.getBottomFieldShadow(viewField);
    in.getBottomFieldShadow(inField);
    return scaleField() && top;
}

template <class T>
T* ProcessVideo<T>::mctf(T* in, bool& ok) {
    ok = !mctfFilter_;
    if (ok) return in;
    if constexpr (std::is_same_v<T, I420Img>) {
        if (in == curSrc_) in = copySrcToUnprocessedBuffer(in);
        Lease pushed(*this, in);
        if (in == nullptr || !mctfFilter_->pushImg(in)) return nullptr;
        pushed.handOn();
        ok = mctfFilter_->bufferedFrames() < mctfFilter_->requiredFrames();
        if (ok) return nullptr;

        Lease out(*this, fetch(mctfPool_));
        T* released = nullptr;
        ok = out.img != nullptr && mctfFilter_->filter(*out.img, &released);
        // Without a picture to write to the older one leaves as well, to make room.
        const Lease used(*this, out.img != nullptr ? released : mctfFilter_->popImg());
        if (!ok) return nullptr;
        Img::moveUserData(*out.img, *released);
        if (params_.keepUserData) Img::moveUserData(*out.img, *in);
        return out.handOn();
    }
    return nullptr;
}

template <class T>
T* ProcessVideo<T>::frameRateConvert(T* in, bool& ok) {
    ok = true;
    if (!frameRateConverter_) return in;
    ok = false;
    if (in == curSrc_) in = copySrcToUnprocessedBuffer(in);
    Lease pushed(*this, in);
    if (in == nullptr || !frameRateConverter_->pushImg(*in)) return nullptr;
    pushed.handOn();
    return isOutputAvailable(ok);
}

template <class T>
T* ProcessVideo<T>::isOutputAvailable(bool& ok) {
    ok = true;
    if (!frameRateConverter_) return nullptr;
    Img* released = nullptr;
    const bool ready = frameRateConverter_->isConverterReady(&released);
    const Lease unused(*this, static_cast<T*>(released));
    if (!ready) return nullptr;

    Lease out(*this, fetchCanvas(frameRatePool_));
    released = nullptr;
    ok = out.img != nullptr && frameRateConverter_->rateConvert(*out.img, FieldFrameBoth, &released);
    const Lease used(*this, static_cast<T*>(released));
    return ok ? out.handOn() : nullptr;
}

template <class T>
T* ProcessVideo<T>::copySrcToUnprocessed(Img& src) {
    Lease copy(*this, fetch(unprocessedPool_));
    if (copy.img == nullptr) return nullptr;
    copyPlanes(src, *copy.img);
    if (params_.keepUserData) Img::moveUserData(*copy.img, src);
    return copy.handOn();
}

template <class T>
T* ProcessVideo<T>::copySrcToUnprocessedBuffer(Img* img) {
    if (img == nullptr || img != curSrc_ || !isIMGPLANAR(*img)) return nullptr;
    try {
        return copySrcToUnprocessed(*img);
    } catch (const std::exception&) {
        return nullptr;
    }
}

template <class T>
bool ProcessVideo<T>::isIMGPLANAR(const Img& img) {
    return img.getFormat() == T::getClassFormat();
}

template <class T>
bool ProcessVideo<T>::ConvertToIMGPLANAR(T* dst, Img* src, bool interlaced) {
    return convertTo(*dst, *src, interlaced);
}

/// A picture from stock. It may have been handed out before and still carry what its holder left on it.
template <class T>
T* ProcessVideo<T>::fetch(ImgPool<T>& pool) {
    T* img = pool.get();
    if (img != nullptr)
        while (void* stale = img->getUserData(nullptr)) img->delUserData(stale);
    return img;
}

/// What the copy kernel throws reaches the caller.
template <class T>
void ProcessVideo<T>::copyPlanes(Img& src, T& dst) {
    using Copy = std::conditional_t<ProcessVideoParams<T>::is16Bit, Img::CCopyI16, Img::CCopyU8>;
    for (int p = 0; p < src.numPlanes(); ++p)
        if (hasPixels(src, p)) forEachBand(0, src.getHeight(p), Copy(&dst, &src, p));
}

template class ProcessVideo<HY16Img>;
template class ProcessVideo<I420Img>;
template class ProcessVideo<YV16Img>;

}  // namespace Orvel
