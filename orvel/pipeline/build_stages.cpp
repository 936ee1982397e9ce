// The stages that a pipeline's parameters ask for.
#include <limits>
#include <memory>
#include <new>
#include <type_traits>

#include "orvel/pipeline/process_video.h"
#include "orvel/primitives/resize_taps.h"

namespace Orvel {
namespace {

/// Sizes the resizer for the field pair, top or bottom, one of whose planes needs the most memory.
bool sizeForFields(ResizeImg& resizer, Img& dst, Img& src) {
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

}  // namespace

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

template <class T>
bool ProcessVideo<T>::buildStages() {
    if (params_.cropWidth < 0 || params_.cropHeight < 0) return false;  // validation bounds a crop by its end alone

    if (!params_.srcProgressive && params_.dstProgressive) {
        deinterlacer_.reset(DeinterlaceImg::newAlloc(params_.deinterlaceType));
        if (!deinterlacer_) return false;
        // By design a refused record does not fail the engine: the deinterlacer then refuses every picture.
        static_cast<void>(deinterlacer_->allocate(params_.deinterlaceParams));
    }
    if (params_.cropWidth != params_.dstCropWidth || params_.cropHeight != params_.dstCropHeight) {
        resizer_.reset(allocateResizer());
        if (!resizer_) return false;
    }
    if (params_.mctfEnable && !buildFilter()) return false;
    const bool newRate =
        params_.srcFrameRateNum != params_.dstFrameRateNum || params_.srcFrameRateDen != params_.dstFrameRateDen;
    if (newRate && !buildConverter()) return false;
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

/// The temporal filter for the canvas; it exists for 4:2:0 pictures.
template <class T>
bool ProcessVideo<T>::buildFilter() {
    params_.mctfParams.width = params_.dstWidth;
    params_.mctfParams.height = params_.dstHeight;
    if (!std::is_same_v<T, I420Img>) return false;
    try {
        if (params_.dstProgressive)
            mctfFilter_ = std::make_unique<MCTFFastProgressive<I420Img>>();
        else
            mctfFilter_ = std::make_unique<MCTFFastInterlaced<I420Img>>();
    } catch (const std::bad_alloc&) {
        return false;
    }
    return mctfFilter_->allocate(params_.mctfParams);
}

/// The converter for the rates of the parameters, one after the other.
template <class T>
bool ProcessVideo<T>::buildConverter() {
    constexpr std::uint32_t most = std::numeric_limits<std::int32_t>::max();
    for (const std::uint32_t value :
         {params_.srcFrameRateNum, params_.srcFrameRateDen, params_.dstFrameRateNum, params_.dstFrameRateDen})
        if (value > most) return false;
    FrameRateConvertParams rates;
    rates.srcRateNum = static_cast<std::int32_t>(params_.srcFrameRateNum);
    rates.srcRateDen = static_cast<std::int32_t>(params_.srcFrameRateDen);
    rates.dstRateNum = static_cast<std::int32_t>(params_.dstFrameRateNum);
    rates.dstRateDen = static_cast<std::int32_t>(params_.dstFrameRateDen);
    const auto rate = [](std::uint32_t num, std::uint32_t den) {
        return static_cast<float>(num) / static_cast<float>(den);
    };
    rates.blend = params_.frameRateBlend > 0 ||
                  (params_.frameRateBlend < 0 && rate(params_.srcFrameRateNum, params_.srcFrameRateDen) <
                                                     rate(params_.dstFrameRateNum, params_.dstFrameRateDen));
    rates.keepUserData = params_.keepUserData;
    frameRateConverter_.reset(new (std::nothrow) FrameRateConvert);
    return frameRateConverter_ && frameRateConverter_->allocate(rates);
}

// Each member by itself: the class's other members are instantiated where they are defined.
template bool ProcessVideo<HY16Img>::buildStages();
template bool ProcessVideo<I420Img>::buildStages();
template bool ProcessVideo<YV16Img>::buildStages();
template bool ProcessVideo<HY16Img>::buildFilter();
template bool ProcessVideo<I420Img>::buildFilter();
template bool ProcessVideo<YV16Img>::buildFilter();
template bool ProcessVideo<HY16Img>::buildConverter();
template bool ProcessVideo<I420Img>::buildConverter();
template bool ProcessVideo<YV16Img>::buildConverter();
template ResizeImg* ProcessVideo<HY16Img>::allocateResizer();
template ResizeImg* ProcessVideo<I420Img>::allocateResizer();
template ResizeImg* ProcessVideo<YV16Img>::allocateResizer();

}  // namespace Orvel
