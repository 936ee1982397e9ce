// Checks and completes the parameters of a pipeline.
#include <memory>
#include <type_traits>

#include "orvel/pipeline/process_video.h"

namespace Orvel {
namespace {

/// True when [offset, offset + size) begins at 0 or later and ends at limit or before. Does not overflow.
bool isInside(std::int32_t offset, std::int32_t size, std::int32_t limit) {
    return offset >= 0 && std::int64_t{offset} + size <= limit;
}

template <class T>
bool isPossible(const ProcessVideoParams<T>& p) {
    if (p.srcProgressive && !p.dstProgressive) return false;
    if (!isInside(p.cropX, p.cropWidth, p.srcWidth) || !isInside(p.cropY, p.cropHeight, p.srcHeight)) return false;
    if (p.dstWidth < 0 || p.dstHeight < 0) return false;
    // An open canvas is bounded by the source here, not by the crop that it will be derived from.
    const std::int32_t canvasWidth = p.dstWidth == 0 ? p.srcWidth : p.dstWidth;
    const std::int32_t canvasHeight = p.dstHeight == 0 ? p.srcHeight : p.dstHeight;
    if (p.dstCropWidth < 0 || p.dstCropHeight < 0) return false;
    if (!isInside(p.dstCropX, p.dstCropWidth, canvasWidth) || !isInside(p.dstCropY, p.dstCropHeight, canvasHeight))
        return false;
    if (!p.mctfEnable) return true;
    return p.mctfParams.strength >= 0 && p.mctfParams.strength <= 7 && std::is_same_v<T, I420Img>;
}

/// Gives a deinterlacing pipeline its parameter record.
template <class T>
bool completeDeinterlacing(ProcessVideoParams<T>& p) {
    if (p.srcProgressive || !p.dstProgressive) return true;
    if (p.deinterlaceParams == nullptr) {
        if (ProcessVideoParams<T>::is16Bit && p.deinterlaceType != DeinterlaceTypeTriangle) return false;
        p.deinterlaceParams = DeinterlaceImgParams::newAlloc(p.deinterlaceType);
        if (p.deinterlaceParams == nullptr) return false;
        p.deinterlaceParams->width = p.cropWidth;
        p.deinterlaceParams->height = p.cropHeight;
    }
    p.deinterlaceParams->keepUserData = p.keepUserData;
    return true;
}

template <class T>
void completeResizing(ProcessVideoParams<T>& p) {
    if (p.cropWidth == p.dstCropWidth && p.cropHeight == p.dstCropHeight) {
        p.resizeInterp = ResizeInterpNone;
    } else if (p.resizeInterp == ResizeInterpNone) {
        const bool reduced = p.dstCropWidth < p.cropWidth && p.dstCropHeight < p.cropHeight;
        p.resizeInterp = reduced ? ResizeInterpSuperSampling : ResizeInterpCubic;
    }
}

/// What lies behind begin. Negative crop sizes get this far and may wrap; allocate() and process() find no picture.
std::int32_t rest(std::int32_t whole, std::int32_t begin) {
    return static_cast<std::int32_t>(std::int64_t{whole} - begin);
}

template <class Value>
void derive(Value& value, Value derived) {
    if (value == 0) value = derived;
}

}  // namespace

template <class T>
bool ProcessVideo<T>::validateParams(ProcessVideoParams<T>& out, const ProcessVideoParams<T>& in) {
    if (!isPossible(in)) return false;
    out = in;
    derive(out.cropWidth, rest(out.srcWidth, out.cropX));
    derive(out.cropHeight, rest(out.srcHeight, out.cropY));
    if (!completeDeinterlacing(out)) return false;
    derive(out.dstWidth, out.cropWidth);
    derive(out.dstHeight, out.cropHeight);
    derive(out.dstCropWidth, rest(out.dstWidth, out.dstCropX));
    derive(out.dstCropHeight, rest(out.dstHeight, out.dstCropY));
    if (!out.srcProgressive && !out.dstProgressive) out.dstCropY &= ~1;  // the rectangle begins on a top-field line
    completeResizing(out);
    if (out.mctfEnable) {
        out.mctfParams.width = out.dstWidth;
        out.mctfParams.height = out.dstHeight;
    }
    derive(out.dstFrameRateNum, out.srcFrameRateNum);
    derive(out.dstFrameRateDen, out.srcFrameRateDen);
    return true;
}

template bool ProcessVideo<HY16Img>::validateParams(ProcessVideoParams<HY16Img>&, const ProcessVideoParams<HY16Img>&);
template bool ProcessVideo<I420Img>::validateParams(ProcessVideoParams<I420Img>&, const ProcessVideoParams<I420Img>&);
template bool ProcessVideo<YV16Img>::validateParams(ProcessVideoParams<YV16Img>&, const ProcessVideoParams<YV16Img>&);

}  // namespace Orvel
