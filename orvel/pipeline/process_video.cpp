#include "orvel/pipeline/process_video.h"

#include <algorithm>
#include <new>
#include <type_traits>
#include <utility>

#include "orvel/convert/convert_img.h"
#include "orvel/img/img_kernels.h"
#include "orvel/img/parallel_rows.h"
#include "orvel/img/plane_access.h"
#include "orvel/primitives/resize_taps.h"

namespace Orvel {
namespace {

/// Calls body with img as the picture type that its format code names, over a view when it is of another class.
template <class Typed, class Body>
bool asTyped(Img& img, const Body& body) {
    if (auto* typed = dynamic_cast<Typed*>(&img)) return body(*typed);
    Typed view;
    return img.shadowCopy(view) && body(view);
}

// From the formats that each working format accepts beside its own.

bool convertTo(I420Img& dst, Img& src, bool interlaced) {
    if (src.getFormat() == UYVYImg::getClassFormat())
        return asTyped<UYVYImg>(src, [&](UYVYImg& img) { return ConvertImg::UYVYToI420(dst, img, interlaced); });
    if (src.getFormat() == YUYVImg::getClassFormat() && !interlaced)
        return asTyped<YUYVImg>(src, [&](YUYVImg& img) { return ConvertImg::YUYVToI420(dst, img); });
    return false;
}

bool convertTo(YV16Img& dst, Img& src, bool) {
    if (src.getFormat() == UYVYImg::getClassFormat())
        return asTyped<UYVYImg>(src, [&](UYVYImg& img) { return ConvertImg::UYVYToYV16(dst, img); });
    if (src.getFormat() == YUYVImg::getClassFormat())
        return asTyped<YUYVImg>(src, [&](YUYVImg& img) { return ConvertImg::YUYVToYV16(dst, img); });
    return false;
}

bool convertTo(HY16Img& dst, Img& src, bool) {
    return src.getFormat() == V216Img::getClassFormat() &&
           asTyped<V216Img>(src, [&](V216Img& img) { return ConvertImg::V216ToHY16(dst, img); });
}

/// Fills what of a plane lies behind its top left width x height pixels: the last row and column are repeated, a plane
/// without any is 128 throughout.
void fillFromEdge(Img& img, int plane, int width, int height) {
    if (width == img.getWidth(plane) && height == img.getHeight(plane)) return;
    if (width <= 0 || height <= 0) {
        static_cast<void>(img.setPlane(plane, 128));  // fails only where there is no pixel to fill
        return;
    }
    const auto bytes = planeView<std::uint8_t>(img, plane);
    const int bpp = img.getBpp(plane);
    for (int y = 0; y < height; ++y)
        for (int x = width * bpp; x < bytes.width; ++x) bytes.row(y)[x] = bytes.row(y)[x - bpp];
    for (int y = height; y < bytes.height; ++y) std::copy_n(bytes.row(height - 1), bytes.width, bytes.row(y));
}

/// The same for every plane behind what a view of as much of it holds. Scaled to the chroma planes of odd sizes, a
/// rectangle may come out a row or column smaller than the plane it is to fill.
void fillFromEdges(Img& img, const Img& view) {
    for (int p = 0; p < img.numPlanes(); ++p) fillFromEdge(img, p, view.getWidth(p), view.getHeight(p));
}

/// The same for an odd last row, which the conversion to 4:2:0 leaves out.
void fillOddRow(Img& img) {
    if (img.getFormat() != I420Img::getClassFormat()) return;
    const int pairs = img.getHeight(0) / 2;
    for (int p = 0; p < img.numPlanes(); ++p) fillFromEdge(img, p, img.getWidth(p), p == 0 ? 2 * pairs : pairs);
}

}  // namespace

/// A picture that goes back to its pool, if it is of one, unless it is handed on; also when something is thrown. What
/// user data it then still has goes back to the caller's picture.
template <class T>
struct ProcessVideo<T>::Lease {
    Lease(ProcessVideo& owner, T* picture) : engine(owner), img(picture) {}
    ~Lease() {
        // Does not throw: the list that the data came from still has the room.
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
    deallocate();
    DeinterlaceImgParams* const supplied = p.deinterlaceParams;
    params_ = p = completed;
    if (buildStages()) return true;
    // Only what allocate() succeeded with belongs to the engine; a record made here goes with it.
    if (supplied != nullptr) params_.deinterlaceParams = nullptr;
    deallocate();
    p.deinterlaceParams = supplied;
    return false;
}

template <class T>
bool ProcessVideo<T>::buildStages() {
    const bool deinterlacing = !params_.srcProgressive && params_.dstProgressive;
    const bool newRate =
        params_.srcFrameRateNum != params_.dstFrameRateNum || params_.srcFrameRateDen != params_.dstFrameRateDen;
    if (deinterlacing || params_.mctfEnable || newRate) return false;  // these stages do not exist yet
    if (params_.cropWidth < 0 || params_.cropHeight < 0) return false;  // validation bounds a crop by its end alone

    if (params_.cropWidth != params_.dstCropWidth || params_.cropHeight != params_.dstCropHeight) {
        resizer_.reset(allocateResizer());
        if (!resizer_) return false;
    }
    const tagSIZE crop{params_.cropWidth, params_.cropHeight}, canvas{params_.dstWidth, params_.dstHeight};
    const tagSIZE source{params_.srcWidth, params_.srcHeight};
    const int bpp = IMGPLANAR_BPP();
    if (!cropPool_.allocate(crop, bpp, 0) || !deinterlacePool_.allocate(crop, bpp, 0) ||
        !resizePool_.allocate(canvas, bpp, 0) || !mctfPool_.allocate(canvas, bpp, 0) ||
        !frameRatePool_.allocate(canvas, bpp, 0) || !unprocessedPool_.allocate(source, bpp, 0))
        return false;
    if (params_.keepUserData) userDataList_.reset(new (std::nothrow) std::list<void*>);
    return !params_.keepUserData || userDataList_;
}

template <class T>
void ProcessVideo<T>::deallocate() {
    flush();
    DeinterlaceImgParams::deleteDealloc(params_.deinterlaceParams);
    resizer_.reset();
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
        if (result != nullptr) result = resize(result, ok);
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
T* ProcessVideo<T>::isOutputAvailable(bool& ok) {
    ok = true;
    return nullptr;
}

template <class T>
void ProcessVideo<T>::flush() {}

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
    alpha = 0;
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
T* ProcessVideo<T>::resize(T* in, bool& ok) {
    ok = true;
    if (!resizer_) return in;
    ok = false;
    const Lease used(*this, in);
    const bool freshlyMade = resizePool_.available() == 0;
    Lease out(*this, fetch(resizePool_));
    if (out.img != nullptr && freshlyMade && hasDstCropping() && !paintBackground(*out.img)) {
        out.img->deallocate(-1);  // not to come back from the pool unpainted
    } else if (out.img != nullptr) {
        Img view;
        out.img->getShadowRoi(view, {params_.dstCropX, params_.dstCropY},
                              {params_.dstCropWidth, params_.dstCropHeight});
        ok = scaleInto(view, *in);
        if (!hasDstCropping()) fillFromEdges(*out.img, view);  // else the background is there
    }
    if (params_.keepUserData && ok) Img::moveUserData(*out.img, *in);
    return ok ? out.handOn() : nullptr;
}

/// Fills a new canvas; a recycled one still has its border, because nobody writes there.
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
ResizeImg* ProcessVideo<T>::allocateResizer() {
    const tagSIZE crop{params_.cropWidth, params_.cropHeight}, rectangle{params_.dstCropWidth, params_.dstCropHeight};
    // Validation measures the rectangle of a derived canvas against the source; here the canvas is known.
    if (std::int64_t{params_.dstCropX} + rectangle.cx > params_.dstWidth ||
        std::int64_t{params_.dstCropY} + rectangle.cy > params_.dstHeight)
        return nullptr;
    constexpr int filters = ResizeInterpLanczosFilter | ResizeInterpHannFilter;
    if (ProcessVideoParams<T>::is16Bit && params_.resizeInterp >= 0 && (params_.resizeInterp & filters) != 0)
        return nullptr;  // the filters are for 8-bit samples
    try {
        auto resizer = std::make_unique<ResizeImg>();
        if (params_.resizeInterp != ResizeInterpSuperSampling)
            return resizer->allocate(rectangle, crop, params_.resizeInterp, ResizeSmoothNone) ? resizer.release()
                                                                                              : nullptr;
        T source, target;
        if (!source.allocate(crop.cx, crop.cy, IMGPLANAR_BPP()) ||
            !target.allocate(rectangle.cx, rectangle.cy, IMGPLANAR_BPP()))
            return nullptr;
        const bool sized = params_.dstProgressive
                               ? resizer->allocateSuperSampling(target, source, ResizeInterpSuperSampling, -1)
                               : !params_.srcProgressive && sizeForFields(*resizer, target, source);
        return sized ? resizer.release() : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

/// Sizes the resizer for the field pair, top or bottom, one of whose planes needs the most memory.
template <class T>
bool ProcessVideo<T>::sizeForFields(ResizeImg& resizer, T& dst, T& src) const {
    Img dstField[2], srcField[2];
    dst.getTopFieldShadow(dstField[0]);
    dst.getBottomFieldShadow(dstField[1]);
    src.getTopFieldShadow(srcField[0]);
    src.getBottomFieldShadow(srcField[1]);
    int chosen = 0;
    std::int64_t most = 0;
    for (int p = 0; p < src.numPlanes(); ++p)
        for (int field = 0; field < 2; ++field) {
            const Img &to = dstField[field], &from = srcField[field];
            std::int64_t bytes = 0;
            if (primitives::resizeWorkBytes(primitives::superSampling, from.getWidth(p), from.getHeight(p),
                                            to.getWidth(p), to.getHeight(p), bytes) != primitives::Status::ok)
                return false;
            if (bytes > most) {
                most = bytes;
                chosen = field;
            }
        }
    return resizer.allocateSuperSampling(dstField[chosen], srcField[chosen], ResizeInterpSuperSampling, -1);
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
