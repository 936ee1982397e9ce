#include "bench/deinterlace_methods.h"

#include <cstdint>
#include <stdexcept>

#include "bench/deinterlacer.h"
#include "bench/filter_clip.h"
#include "bench/filter_peer.h"

namespace Orvel::bench {
namespace {

Picture pictureLike(const Clip& clip) {
    return newPicture(clip[0]->getWidth(0), clip[0]->getHeight(0));
}

/// Keeps the lines of one parity and makes each other line from its kept neighbours above and below; at an edge the one
/// that exists stands for both. mix(above, below) makes a sample.
template <class Mix>
Picture fromOneField(const Img& frame, int keptParity, Picture out, const Mix& mix) {
    for (int p = 0; p < frame.numPlanes(); ++p)
        for (int y = 0; y < frame.getHeight(p); ++y) {
            const bool kept = y % 2 == keptParity;
            const int above = kept ? y : y > 0 ? y - 1 : y + 1;
            const int below = kept ? y : y + 1 < frame.getHeight(p) ? y + 1 : y - 1;
            for (int x = 0; x < frame.getWidth(p); ++x)
                *out->getPixel(p, y, x) = mix(*frame.getPixel(p, above, x), *frame.getPixel(p, below, x));
        }
    return out;
}

template <class Mix>
Progressive fromSingleFields(const Clip& interlaced, int fieldsPerFrame, const Mix& mix) {
    Progressive made;
    for (int k = 0; k < static_cast<int>(interlaced.size()); ++k)
        for (int parity = 0; parity < fieldsPerFrame; ++parity)
            made[2 * k + parity] =
                fromOneField(*interlaced[static_cast<std::size_t>(k)], parity, pictureLike(interlaced), mix);
    return made;
}

DeinterlaceMethod lineDoubling(int fieldsPerFrame) {
    return {lineDoublingName, [=](const Clip& interlaced) {
                return fromSingleFields(interlaced, fieldsPerFrame,
                                        [](std::uint8_t above, std::uint8_t) { return above; });
            }};
}

DeinterlaceMethod lineAveraging(int fieldsPerFrame) {
    return {lineAveragingName, [=](const Clip& interlaced) {
                return fromSingleFields(interlaced, fieldsPerFrame, [](std::uint8_t above, std::uint8_t below) {
                    return static_cast<std::uint8_t>((above + below + 1) / 2);
                });
            }};
}

template <class Params>
DeinterlaceMethod library(const char* name, DeinterlaceType type, const Params& params) {
    return {name, [=](const Clip& interlaced) {
                Params sized = params;
                Deinterlacer deinterlacer(type, sized, *interlaced[0]);
                Progressive made;
                for (int k = 0; k < static_cast<int>(interlaced.size()); ++k) {
                    deinterlacer.push(*interlaced[static_cast<std::size_t>(k)]);
                    // With three frames queued the result belongs to the middle one.
                    const int frame = k - deinterlacer.requiredFrames() / 2;
                    for (int field = 0; deinterlacer.full(); ++field) {
                        Picture out = pictureLike(interlaced);
                        if (!deinterlacer.deinterlace(*out)) throw std::runtime_error("deinterlacing failed");
                        made[2 * frame + field] = out;
                    }
                }
                return made;
            }};
}

DeinterlaceMethod ffmpeg(const char* name, const std::string& filter) {
    return {name, [=](const Clip& interlaced) { return filterClip(filter, interlaced, true, 2); }};
}

void addFfmpeg(std::vector<DeinterlaceMethod>& methods, const std::string& mode) {
    if (!FilterPeer::installed()) return;
    methods.push_back(ffmpeg(yadifName, "yadif=mode=" + mode + ":parity=tff"));
    methods.push_back(ffmpeg(bwdifName, "bwdif=mode=" + mode + ":parity=tff"));
}

}  // namespace

std::vector<DeinterlaceMethod> frameRateMethods() {
    std::vector<DeinterlaceMethod> methods{
        lineDoubling(1), lineAveraging(1),
        library(triangleName, DeinterlaceTypeTriangle, DeinterlaceTriangleImgParams{}),
        library(cavtName, DeinterlaceTypeCAVT, DeinterlaceCAVTImgParams{}),
        library(blendName, DeinterlaceTypeBlend, DeinterlaceBlendImgParams{})};
    addFfmpeg(methods, "send_frame");
    return methods;
}

std::vector<DeinterlaceMethod> fieldRateMethods() {
    DeinterlaceBlendImgParams twoPictures;
    twoPictures.doubleRate = true;
    std::vector<DeinterlaceMethod> methods{lineDoubling(2), lineAveraging(2),
                                           library(blendName, DeinterlaceTypeBlend, twoPictures)};
    addFfmpeg(methods, "send_field");
    return methods;
}

}  // namespace Orvel::bench
