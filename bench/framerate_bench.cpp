// Mixing of two pictures beside libyuv and OpenCV, and frame-rate conversion beside FFmpeg's.
#include <memory>

#include "bench/bench_support.h"
#include "bench/clip.h"
#include "bench/filter_loop.h"
#include "orvel/framerate/frame_rate_convert.h"
#include "orvel/framerate/interpolate_img.h"
#include "orvel/img/hy16_img.h"

#ifdef ORVEL_WITH_LIBYUV
#include <libyuv.h>
#endif
#ifdef ORVEL_WITH_OPENCV
#include <opencv2/core.hpp>
#endif

namespace Orvel::bench {
namespace {

const Clip& content() {
    static const Clip ring = tiled(readClip(ORVEL_MEDIA_DIR "/roof_720x576_50p.yuv"), hd.width, hd.height);
    return ring;
}

/// A 16-bit 4:2:2 picture of the same content: the 8-bit samples are its upper bytes, the place varies the lower ones.
std::shared_ptr<HY16Img> deep(const I420Img& from) {
    HY16Img tight;
    auto img = std::make_shared<HY16Img>();
    if (!tight.allocate(hd.width, hd.height, HY16Img::getClassBpp()) || !tight.replicate(*img, 64)) std::abort();
    for (int p = 0; p < img->numPlanes(); ++p)
        for (int y = 0; y < img->getHeight(p); ++y)
            for (int x = 0; x < img->getWidth(p); ++x) {
                std::uint8_t* sample = img->getPixel(p, y, x);
                sample[0] = static_cast<std::uint8_t>(x * 7 + y * 13);
                sample[1] = *from.getPixel(p, p == 0 ? y : y / 2, x);
            }
    return img;
}

template <class T>
struct Pictures {
    std::shared_ptr<T> a, b, out;
    std::int64_t bytes() const { return 3 * pixelBytes(*a); }
};

constexpr unsigned weight = 130;  // of a, of 255
const std::string operations[] = {"frameInterpolate 8 bit", "frameInterpolate 16 bit"};

template <class T>
const std::string& operationFor() {
    return operations[T::getClassBpp() - 1];
}

template <class T>
void measureOurs(const Pictures<T>& pictures, int threads) {
    measure(operationFor<T>(), hd.name, "orvel", threads, pictures.bytes(), [=] {
        return InterpolateImg::frameInterpolate(*pictures.out, *pictures.a, *pictures.b, weight, FieldFrameBoth);
    });
}

#ifdef ORVEL_WITH_LIBYUV
template <class T>
void besideLibyuv(const Pictures<T>& pictures, int threads) {
    using Sample = std::conditional_t<T::getClassBpp() == 1, std::uint8_t, std::uint16_t>;
    measure(operationFor<T>(), hd.name, "libyuv", threads, pictures.bytes(), [=] {
        constexpr int weightOfB = (255 - int{weight}) * 256 / 255;  // of 256
        for (int p = 0; p < pictures.a->numPlanes(); ++p)
            inBands(threads, pictures.a->getHeight(p), 1, [&](int first, int last) {
                const auto at = [&](const Img& img) { return reinterpret_cast<Sample*>(img.getPixel(p, first, 0)); };
                const auto step = [&](const Img& img) { return img.getStep(p) / int{sizeof(Sample)}; };
                const Img &a = *pictures.a, &b = *pictures.b, &out = *pictures.out;
                if constexpr (sizeof(Sample) == 1)
                    libyuv::InterpolatePlane(at(a), step(a), at(b), step(b), at(out), step(out), a.getWidth(p),
                                             last - first, weightOfB);
                else
                    libyuv::InterpolatePlane_16(at(a), step(a), at(b), step(b), at(out), step(out), a.getWidth(p),
                                                last - first, weightOfB);
            });
        return true;
    });
}
#endif

#ifdef ORVEL_WITH_OPENCV
template <class T>
void besideOpenCv(const Pictures<T>& pictures, int threads) {
    measure(operationFor<T>(), hd.name, "opencv", threads, pictures.bytes(), [=] {
        cv::setNumThreads(threads);
        for (int p = 0; p < pictures.a->numPlanes(); ++p) {
            const auto mat = [&](const Img& img) {
                return cv::Mat(img.getHeight(p), img.getWidth(p), T::getClassBpp() == 1 ? CV_8UC1 : CV_16UC1,
                               img.getPixels(p), static_cast<std::size_t>(img.getStep(p)));
            };
            cv::Mat out = mat(*pictures.out);
            cv::addWeighted(mat(*pictures.a), weight / 255.0, mat(*pictures.b), 1 - weight / 255.0, 0, out);
        }
        return true;
    });
}
#endif

template <class T>
void measureInterpolation(const Pictures<T>& pictures) {
    for (int threads : threadCounts()) {
        measureOurs(pictures, threads);
#ifdef ORVEL_WITH_LIBYUV
        besideLibyuv(pictures, threads);
#endif
#ifdef ORVEL_WITH_OPENCV
        besideOpenCv(pictures, threads);
#endif
        measureCopy(operationFor<T>(), hd.name, threads, pictures.bytes());
    }
}

/// The time of two mixed pictures, which is what the peers differ in: ours mixes every output of 25 to 50 frames a
/// second, with weights of 130 and 2 of 255, so that is one frame in; FFmpeg's mixes every other one and passes the
/// rest on by reference, so that is two frames in and four out.
const std::string conversion = "FrameRateConvert 25-50, two mixed";

std::int64_t conversionBytes() {
    return 2 * 3 * pixelBytes(*content()[0]);
}

void measureConversion(int threads) {
    struct State {
        FrameRateConvert converter;
        Picture out = newPicture(hd.width, hd.height);
        std::size_t next = 0;
    };
    const auto state = std::make_shared<State>();
    FrameRateConvertParams params;
    params.srcRateNum = 25, params.dstRateNum = 50;
    params.srcRateDen = params.dstRateDen = 1;
    params.blend = true;
    if (!state->converter.allocate(params)) std::abort();
    measure(conversion, hd.name, "orvel", threads, conversionBytes(), [state] {
        Img* released = nullptr;
        int mixed = 0;
        while (mixed < 2) {
            if (!state->converter.pushImg(*content()[state->next++ % content().size()])) return false;
            while (state->converter.isConverterReady(&released)) {
                if (!state->converter.rateConvert(*state->out, FieldFrameBoth, &released)) return false;
                mixed += state->converter.lastBlendAlpha() % 255 != 0;
            }
        }
        return mixed == 2;
    });
}

void besideFfmpeg(int threads) {
    const auto loop = filterLoop("framerate=fps=50:flags=0", *content()[0], 25, threads, framesOf(content(), false));
    if (!loop) return;
    measure(conversion, hd.name, "ffmpeg framerate", threads, conversionBytes(), [loop] { return loop->produce(4); });
}

void registerAll() {
    const Clip& clip = content();
    measureInterpolation(Pictures<I420Img>{clip[0], clip[1], newPicture(hd.width, hd.height)});
    measureInterpolation(Pictures<HY16Img>{deep(*clip[0]), deep(*clip[1]), deep(*clip[0])});
    for (int threads : threadCounts()) {
        measureConversion(threads);
        besideFfmpeg(threads);
    }
}

const bool registered = (registerAll(), true);

}  // namespace
}  // namespace Orvel::bench
