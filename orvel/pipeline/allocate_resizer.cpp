// The resizer that a pipeline's parameters ask for.
#include <memory>
#include <new>

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

template ResizeImg* ProcessVideo<HY16Img>::allocateResizer();
template ResizeImg* ProcessVideo<I420Img>::allocateResizer();
template ResizeImg* ProcessVideo<YV16Img>::allocateResizer();

}  // namespace Orvel
