// Scaling beside zimg, swscale and OpenCV. "antialiased" is the like for like of peers that widen their kernels when
// they reduce; the plain methods take their few taps at any ratio, as documented.
#include <cmath>
#include <memory>
#include <vector>

#include "bench/bench_support.h"
#include "orvel/img/all_formats.h"
#include "orvel/resize/resize_img.h"

#ifdef ORVEL_WITH_SWSCALE
extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}
#endif
#ifdef ORVEL_WITH_ZIMG
#include <zimg.h>
#endif
#ifdef ORVEL_WITH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace Orvel::bench {
namespace {

constexpr Size hd720{1280, 720, "720p"}, sd{720, 480, "480p"};

/// A scaling to measure: our method code with its flags, and what the peers call it (-1: they have none).
struct Method {
    const char* name;
    ResizeInterp interp;
    ResizeSmooth smooth;
    int zimg, swscale, opencv;
};

/// Gives img rows of whole 64 bytes, which zimg asks for.
template <class T>
void padded(T& img, Size size) {
    T tight;
    if (!tight.allocate(size.width, size.height, T::getClassBpp()) || !tight.replicate(img, 64)) std::abort();
}

template <class T>
struct Pictures {
    T src, dst;
    Pictures(Size from, Size to) {
        padded(src, from);
        padded(dst, to);
        for (int p = 0; p < src.numPlanes(); ++p) {
            std::vector<double> wave(static_cast<std::size_t>(src.getWidth(p) * src.getBpp(p)));
            for (std::size_t i = 0; i < wave.size(); ++i) wave[i] = 128 + 90 * std::sin(static_cast<double>(i) * 0.05);
            for (int y = 0; y < src.getHeight(p); ++y) {
                std::uint8_t* const row = src.getPixel(p, y, 0);
                for (std::size_t i = 0; i < wave.size(); ++i)
                    row[i] =
                        static_cast<std::uint8_t>(wave[i] + static_cast<double>((i * 7 + std::size_t(y) * 13) % 30));
            }
        }
    }
    std::int64_t bytes() const { return pixelBytes(src) + pixelBytes(dst); }
};

#ifdef ORVEL_WITH_ZIMG
/// One zimg graph for a horizontal band of the destination; several make the picture, a thread each.
class ZimgBand {
public:
    ZimgBand(const Img& src, const Img& dst, bool is420, int depth, int filter, int band, int bands) {
        const int rows = dst.getHeight(0), unit = is420 ? 2 : 1;
        first_ = rows / unit * band / bands * unit;
        const int last = band + 1 == bands ? rows : rows / unit * (band + 1) / bands * unit;
        zimg_image_format from = format(src, is420, depth), to = format(dst, is420, depth);
        to.height = static_cast<unsigned>(last - first_);
        const double ratio = double(src.getHeight(0)) / rows;
        from.active_region = {0, first_ * ratio, double(src.getWidth(0)), (last - first_) * ratio};
        zimg_graph_builder_params params;
        zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
        params.resample_filter = params.resample_filter_uv = static_cast<zimg_resample_filter_e>(filter);
        params.filter_param_a = params.filter_param_a_uv = filter == ZIMG_RESIZE_LANCZOS ? 3 : NAN;
        params.dither_type = ZIMG_DITHER_NONE;
        graph_.reset(zimg_filter_graph_build(&from, &to, &params));
        if (!graph_) return;
        std::size_t bytes = 0;
        zimg_filter_graph_get_tmp_size(graph_.get(), &bytes);
        scratch_.reset(static_cast<std::uint8_t*>(std::aligned_alloc(64, (bytes + 63) / 64 * 64)));
        in_ = buffer<zimg_image_buffer_const>(src, 0, is420);
        out_ = buffer<zimg_image_buffer>(dst, first_, is420);
    }
    bool ready() const { return graph_ != nullptr; }
    bool process() const {
        return zimg_filter_graph_process(graph_.get(), &in_, &out_, scratch_.get(), nullptr, nullptr, nullptr,
                                         nullptr) == 0;
    }

private:
    struct FreeGraph {
        void operator()(zimg_filter_graph* graph) const { zimg_filter_graph_free(graph); }
    };
    struct Free {
        void operator()(void* p) const { std::free(p); }
    };
    static zimg_image_format format(const Img& img, bool is420, int depth) {
        zimg_image_format f;
        zimg_image_format_default(&f, ZIMG_API_VERSION);
        f.width = static_cast<unsigned>(img.getWidth(0));
        f.height = static_cast<unsigned>(img.getHeight(0));
        f.pixel_type = depth == 8 ? ZIMG_PIXEL_BYTE : ZIMG_PIXEL_WORD;
        f.depth = static_cast<unsigned>(depth);
        f.subsample_w = 1;
        f.subsample_h = is420 ? 1 : 0;
        f.color_family = ZIMG_COLOR_YUV;
        f.matrix_coefficients = ZIMG_MATRIX_BT709;
        f.pixel_range = ZIMG_RANGE_LIMITED;
        return f;
    }
    template <class Buffer>
    static Buffer buffer(const Img& img, int firstRow, bool is420) {
        Buffer b{};
        b.version = ZIMG_API_VERSION;
        for (int p = 0; p < 3; ++p) {
            b.plane[p].data =
                img.getPixels(p) + std::ptrdiff_t{p > 0 && is420 ? firstRow / 2 : firstRow} * img.getStep(p);
            b.plane[p].stride = img.getStep(p);
            b.plane[p].mask = ZIMG_BUFFER_MAX;
        }
        return b;
    }
    int first_ = 0;
    std::unique_ptr<zimg_filter_graph, FreeGraph> graph_;
    std::unique_ptr<std::uint8_t, Free> scratch_;
    zimg_image_buffer_const in_{};
    zimg_image_buffer out_{};
};

template <class T>
void besideZimg(const std::string& operation, const std::string& size, int threads, const Method& m,
                const std::shared_ptr<Pictures<T>>& pictures, bool is420, int depth) {
    if (m.zimg < 0) return;
    auto bands = std::make_shared<std::vector<std::unique_ptr<ZimgBand>>>();
    for (int i = 0; i < threads; ++i)
        bands->push_back(std::make_unique<ZimgBand>(pictures->src, pictures->dst, is420, depth, m.zimg, i, threads));
    for (const auto& band : *bands)
        if (!band->ready()) return;
    measure(operation, size, "zimg", threads, pictures->bytes(), [bands, pictures, threads] {
        tbb::parallel_for(0, threads,
                          [&](int i) { static_cast<void>((*bands)[static_cast<std::size_t>(i)]->process()); });
        return true;
    });
}
#endif

#ifdef ORVEL_WITH_SWSCALE
void besideSwscale(const std::string& operation, const std::string& size, int threads, const Method& m,
                   const std::shared_ptr<Pictures<I420Img>>& pictures) {
    if (m.swscale < 0) return;
    std::shared_ptr<SwsContext> context(sws_alloc_context(), sws_freeContext);
    const auto option = [&](const char* name, int value) { av_opt_set_int(context.get(), name, value, 0); };
    option("srcw", pictures->src.getWidth(0)), option("srch", pictures->src.getHeight(0));
    option("dstw", pictures->dst.getWidth(0)), option("dsth", pictures->dst.getHeight(0));
    option("src_format", AV_PIX_FMT_YUV420P), option("dst_format", AV_PIX_FMT_YUV420P);
    option("sws_flags", m.swscale), option("threads", threads);
    if (sws_init_context(context.get(), nullptr, nullptr) < 0) return;
    measure(operation, size, "swscale", threads, pictures->bytes(), [context, pictures] {
        const std::uint8_t* from[4] = {};
        std::uint8_t* to[4] = {};
        int fromStep[4] = {}, toStep[4] = {};
        for (int p = 0; p < 3; ++p) {
            from[p] = pictures->src.getPixels(p), fromStep[p] = pictures->src.getStep(p);
            to[p] = pictures->dst.getPixels(p), toStep[p] = pictures->dst.getStep(p);
        }
        return sws_scale(context.get(), from, fromStep, 0, pictures->src.getHeight(0), to, toStep) > 0;
    });
}
#endif

#ifdef ORVEL_WITH_OPENCV
template <class T>
void besideOpenCv(const std::string& operation, const std::string& size, int threads, const Method& m,
                  const std::shared_ptr<Pictures<T>>& pictures) {
    if (m.opencv < 0) return;
    const int type = T::getClassBpp() == 1 ? CV_8UC1 : CV_16UC1;
    measure(operation, size, "opencv", threads, pictures->bytes(), [=] {
        cv::setNumThreads(threads);
        for (int p = 0; p < 3; ++p) {
            const Img &s = pictures->src, &d = pictures->dst;
            const cv::Mat from(s.getHeight(p), s.getWidth(p), type, s.getPixels(p),
                               static_cast<std::size_t>(s.getStep(p)));
            cv::Mat to(d.getHeight(p), d.getWidth(p), type, d.getPixels(p), static_cast<std::size_t>(d.getStep(p)));
            cv::resize(from, to, to.size(), 0, 0, m.opencv);
        }
        return true;
    });
}
#endif

template <class T>
void measureMethod(const Method& m, Size from, Size to) {
    const bool deep = T::getClassBpp() == 2;
    const std::string operation = std::string(m.name) + (deep ? " 16 bit" : " 8 bit");
    const std::string size = std::string(from.name) + "-" + to.name;
    for (int threads : threadCounts()) {
        const auto pictures = std::make_shared<Pictures<T>>(from, to);
        const auto resizer = std::make_shared<ResizeImg>();
        if (!resizer->allocate(pictures->dst, pictures->src, m.interp, m.smooth)) std::abort();
        measure(operation, size, "orvel", threads, pictures->bytes(),
                [=] { return resizer->resize(pictures->dst, pictures->src); });
#ifdef ORVEL_WITH_ZIMG
        besideZimg(operation, size, threads, m, pictures, !deep, deep ? 16 : 8);
#endif
#ifdef ORVEL_WITH_SWSCALE
        if constexpr (!std::is_same_v<T, HY16Img>) besideSwscale(operation, size, threads, m, pictures);
#endif
#ifdef ORVEL_WITH_OPENCV
        besideOpenCv(operation, size, threads, m, pictures);
#endif
        measureCopy(operation, size, threads, pictures->bytes());
    }
}

#ifndef ORVEL_WITH_ZIMG
constexpr int ZIMG_RESIZE_BICUBIC = -1, ZIMG_RESIZE_LANCZOS = -1, ZIMG_RESIZE_BILINEAR = -1;
#endif
#ifndef ORVEL_WITH_SWSCALE
constexpr int SWS_BICUBIC = -1, SWS_LANCZOS = -1, SWS_BILINEAR = -1, SWS_AREA = -1;
#endif
#ifndef ORVEL_WITH_OPENCV
namespace cv {
constexpr int INTER_CUBIC = -1, INTER_LINEAR = -1, INTER_AREA = -1;
}
#endif

void registerAll() {
    const Method cubic{"cubic", ResizeInterpCubic, ResizeSmoothNone, ZIMG_RESIZE_BICUBIC, SWS_BICUBIC, cv::INTER_CUBIC};
    const Method lanczos{"Lanczos", ResizeInterpLanczos, ResizeSmoothNone, ZIMG_RESIZE_LANCZOS, SWS_LANCZOS, -1};
    const Method linear{"linear",     ResizeInterpLinear, ResizeSmoothNone, ZIMG_RESIZE_BILINEAR,
                        SWS_BILINEAR, cv::INTER_LINEAR};
    const Method area{"super-sampling", ResizeInterpSuperSampling, ResizeSmoothNone, -1, SWS_AREA, cv::INTER_AREA};
    Method cubicWide = cubic, lanczosWide = lanczos, linearWide = linear;
    cubicWide.name = "cubic antialiased", lanczosWide.name = "Lanczos antialiased",
    linearWide.name = "linear antialiased";
    for (Method* wide : {&cubicWide, &lanczosWide, &linearWide})
        wide->smooth = ResizeSmoothAntialiasing, wide->opencv = -1;

    for (const Method& m : {cubic, cubicWide, lanczos, lanczosWide, linear, linearWide, area})
        for (auto [from, to] : {std::pair{hd, hd720}, {hd, sd}, {uhd, hd}}) measureMethod<I420Img>(m, from, to);
    for (const Method& m : {cubic, lanczos, linear})
        for (auto [from, to] : {std::pair{hd720, hd}, {hd, uhd}}) measureMethod<I420Img>(m, from, to);
    for (const Method& m : {cubic, cubicWide, lanczos, lanczosWide})
        for (auto [from, to] : {std::pair{hd, hd720}, {hd, sd}}) measureMethod<HY16Img>(m, from, to);
    for (const Method& m : {cubic, lanczos})
        for (auto [from, to] : {std::pair{hd720, hd}, {hd, uhd}}) measureMethod<HY16Img>(m, from, to);
}

const bool registered = (registerAll(), true);

}  // namespace
}  // namespace Orvel::bench
