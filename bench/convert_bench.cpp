// Format conversions beside libyuv, swscale and a plain copy of the same bytes.
#include <atomic>
#include <cstdlib>
#include <memory>
#include <utility>

#include "bench/bench_support.h"
#include "orvel/convert/convert_img.h"

#ifdef ORVEL_WITH_LIBYUV
#include <libyuv.h>
#endif
#ifdef ORVEL_WITH_SWSCALE
extern "C" {
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}
#endif

namespace Orvel::bench {
namespace {

template <class T>
void allocate(T& img, Size size) {
    if (!img.allocate(size.width, size.height, T::getClassBpp())) std::abort();
}

void fill(const Img& img) {
    for (int p = 0; p < img.numPlanes(); ++p)
        for (int y = 0; y < img.getHeight(p); ++y) {
            std::uint8_t* const row = img.getPixels(p) + std::ptrdiff_t{y} * img.getStep(p);
            const int bytes = img.getWidth(p) * img.getBpp(p);
            for (int i = 0; i < bytes; ++i) row[i] = static_cast<std::uint8_t>(i * 7 + y * 13);
        }
}

/// Source and result of a conversion.
template <class Dst, class Src>
struct Pictures {
    explicit Pictures(Size size) {
        allocate(dst, size);
        allocate(src, size);
    }
    static std::unique_ptr<Pictures> filled(Size size) {
        auto pictures = std::make_unique<Pictures>(size);
        fill(pictures->dst);
        fill(pictures->src);
        return pictures;
    }
    std::int64_t bytes() const { return pixelBytes(dst) + pixelBytes(src); }

    Dst dst;
    Src src;
};

/// First byte of a plane's row, and bytes between rows: what every C interface asks for.
std::uint8_t* at(const Img& img, int plane, int row) {
    return img.getPixels(plane) + std::ptrdiff_t{row} * img.getStep(plane);
}

/// Who cuts the picture when there are several threads.
enum class Cut { library, caller };

/// Runs convert(to, from) on as many bands of row pairs as there are threads, views that are made for it.
template <class Dst, class Src, class Convert>
bool onViews(const Dst& dst, const Src& src, int threads, const Convert& convert) {
    std::atomic<bool> converted = true;
    inBands(threads, src.getHeight(0), 2, [&](int first, int last) {
        const tagPOINT origin{0, first};
        const tagSIZE extent{src.getWidth(0), last - first};
        Dst to;
        Src from;
        dst.getShadowRoi(to, origin, extent);
        src.getShadowRoi(from, origin, extent);
        if (!convert(to, from)) converted = false;
    });
    return converted;
}

/// Registers our conversion, the copy, and the peers given as (name, unit of rows, body(dst, src, first, last)).
template <class Dst, class Src, class Ours>
struct Measured {
    const char* operation;
    Cut cut;
    Ours ours;

    template <class... Peers>
    void beside(const Peers&... peers) const {
        for (const auto& [size, origin] : {std::pair(hd, Origin::cache), {uhd, Origin::memory}}) {
            const std::int64_t bytes = Pictures<Dst, Src>(size).bytes();
            const auto make = [size = size] { return Pictures<Dst, Src>::filled(size); };
            const auto turns = std::make_shared<Turns<Pictures<Dst, Src>>>(turnsFor(origin, bytes), make);
            for (int threads : threadCounts()) {
                measure(operation, size.name, "orvel", threads, bytes, [=, cut = cut, convert = ours] {
                    auto& [dst, src] = turns->next();
                    return cut == Cut::caller && threads > 1 ? onViews(dst, src, threads, convert) : convert(dst, src);
                });
                (peers(operation, size, threads, bytes, turns), ...);
                measureCopy(operation, size.name, threads, bytes, origin);
            }
        }
    }
};

/// A conversion that finds threads by itself.
template <class Dst, class Src, class Ours>
Measured<Dst, Src, Ours> ours(const char* operation, Ours f) {
    return {operation, Cut::library, f};
}

/// One that works on the calling thread: whoever has several gives it a band on each, as the peers get them.
template <class Dst, class Src, class Ours>
Measured<Dst, Src, Ours> oursOnCaller(const char* operation, Ours f) {
    return {operation, Cut::caller, f};
}

/// A peer without threads: body(dst, src, first row, last row) on bands.
template <class Body>
auto banded(const char* who, int unit, Body body) {
    return [=](const char* operation, Size size, int threads, std::int64_t bytes, auto turns) {
        measure(operation, size.name, who, threads, bytes, [=] {
            auto& pictures = turns->next();
            inBands(threads, size.height, unit,
                    [&](int first, int last) { body(pictures.dst, pictures.src, first, last); });
            return true;
        });
    };
}

#ifdef ORVEL_WITH_SWSCALE
/// A picture's planes from a row on as swscale wants them, chroma in file order (Cb, Cr), with as many rows as luma.
struct SwsPlanes {
    SwsPlanes(const Img& img, int row) {
        const bool crFirst = img.getFormat() == YV16Img::getClassFormat();
        for (int p = 0; p < img.numPlanes(); ++p) {
            const int q = crFirst && p > 0 ? 3 - p : p;
            data[p] = at(img, q, row);
            step[p] = img.getStep(q);
        }
    }
    std::uint8_t* data[4] = {};
    int step[4] = {};
};

std::shared_ptr<SwsContext> swsContext(AVPixelFormat srcFormat, AVPixelFormat dstFormat, int width, int height) {
    std::shared_ptr<SwsContext> context(sws_alloc_context(), sws_freeContext);
    const auto option = [&](const char* name, int value) { av_opt_set_int(context.get(), name, value, 0); };
    option("srcw", width), option("srch", height), option("src_format", srcFormat);
    option("dstw", width), option("dsth", height), option("dst_format", dstFormat);
    option("sws_flags", SWS_POINT);
    return sws_init_context(context.get(), nullptr, nullptr) < 0 ? nullptr : context;
}

/// swscale with a context for each band. samples: of theirs in one of our pixels.
auto swscale(AVPixelFormat srcFormat, AVPixelFormat dstFormat, int samples = 1) {
    return [=](const char* operation, Size size, int threads, std::int64_t bytes, auto turns) {
        const auto firstRow = [=](int band) { return size.height * band / threads; };
        std::vector<std::shared_ptr<SwsContext>> contexts;
        for (int i = 0; i < threads; ++i) {
            const int rows = firstRow(i + 1) - firstRow(i);
            contexts.push_back(swsContext(srcFormat, dstFormat, size.width * samples, rows));
            if (!contexts.back()) return;
        }
        measure(operation, size.name, "swscale", threads, bytes, [=] {
            auto& pictures = turns->next();
            std::atomic<bool> converted = true;
            inBands(threads, threads, 1, [&](int band, int) {
                const int first = firstRow(band), rows = firstRow(band + 1) - first;
                const SwsPlanes from(pictures.src, first), to(pictures.dst, first);
                SwsContext* const context = contexts[static_cast<std::size_t>(band)].get();
                if (sws_scale(context, from.data, from.step, 0, rows, to.data, to.step) != rows) converted = false;
            });
            return converted.load();
        });
    };
}
#else
enum AVPixelFormat {
    AV_PIX_FMT_UYVY422,
    AV_PIX_FMT_YUYV422,
    AV_PIX_FMT_YUV422P,
    AV_PIX_FMT_GRAY8,
    AV_PIX_FMT_GRAY16LE
};
/// Stands in for swscale where it is not installed: measures nothing.
auto swscale(AVPixelFormat, AVPixelFormat, int = 1) {
    return [](auto&&...) {};
}
#endif

void registerAll() {
    using C = ConvertImg;
    const auto uyvyToI420 =
        ours<I420Img, UYVYImg>("UYVYToI420", [](auto& d, auto& s) { return C::UYVYToI420(d, s, false); });
    const auto uyvyToI420Fields =
        ours<I420Img, UYVYImg>("UYVYToI420 interlaced", [](auto& d, auto& s) { return C::UYVYToI420(d, s, true); });
    const auto yuyvToI420 = ours<I420Img, YUYVImg>("YUYVToI420", [](auto& d, auto& s) { return C::YUYVToI420(d, s); });
    const auto uyvyToYv16 = ours<YV16Img, UYVYImg>("UYVYToYV16", [](auto& d, auto& s) { return C::UYVYToYV16(d, s); });
    const auto yuyvToYv16 = ours<YV16Img, YUYVImg>("YUYVToYV16", [](auto& d, auto& s) { return C::YUYVToYV16(d, s); });
    const auto i420ToUyvy =
        ours<UYVYImg, I420Img>("I420ToUYVY", [](auto& d, auto& s) { return C::I420ToUYVY(d, s, false); });
    const auto i420ToUyvyFields =
        ours<UYVYImg, I420Img>("I420ToUYVY interlaced", [](auto& d, auto& s) { return C::I420ToUYVY(d, s, true); });
    const auto i420ToYuyv = ours<YUYVImg, I420Img>("I420ToYUYV", [](auto& d, auto& s) { return C::I420ToYUYV(d, s); });
    const auto i420ToYv16 =
        ours<YV16Img, I420Img>("I420ToYV16", [](auto& d, auto& s) { return C::I420ToYV16(d, s, false); });
    const auto i420ToYv16Fields =
        ours<YV16Img, I420Img>("I420ToYV16 interlaced", [](auto& d, auto& s) { return C::I420ToYV16(d, s, true); });
    const auto yv16ToUyvy = ours<UYVYImg, YV16Img>("YV16ToUYVY", [](auto& d, auto& s) { return C::YV16ToUYVY(d, s); });
    const auto yv16ToYuyv = ours<YUYVImg, YV16Img>("YV16ToYUYV", [](auto& d, auto& s) { return C::YV16ToYUYV(d, s); });
    const auto uyvyToYuyv = ours<YUYVImg, UYVYImg>("UYVYToYUYV", [](auto& d, auto& s) { return C::UYVYToYUYV(d, s); });
    const auto yuyvToUyvy =
        oursOnCaller<UYVYImg, YUYVImg>("YUYVToUYVY", [](auto& d, auto& s) { return C::YUYVToUYVY(d, s); });
    const auto uyvyToBgr =
        oursOnCaller<BGRImg, UYVYImg>("UYVYToBGR", [](auto& d, auto& s) { return C::UYVYToBGR(d, s, false); });
    const auto i420ToBgr =
        oursOnCaller<BGRImg, I420Img>("I420ToBGR", [](auto& d, auto& s) { return C::I420ToBGR(d, s, false); });
    const auto bgrToUyvy =
        oursOnCaller<UYVYImg, BGRImg>("BGRToUYVY", [](auto& d, auto& s) { return C::BGRToUYVY(d, s, false); });
    const auto uyvyToV216 =
        oursOnCaller<V216Img, UYVYImg>("UYVYToV216", [](auto& d, auto& s) { return C::UYVYToV216(d, s); });
    const auto v216ToUyvy =
        oursOnCaller<UYVYImg, V216Img>("V216ToUYVY", [](auto& d, auto& s) { return C::V216ToUYVY(d, s); });
    const auto v216ToHy16 =
        oursOnCaller<HY16Img, V216Img>("V216ToHY16", [](auto& d, auto& s) { return C::V216ToHY16(d, s); });
    const auto hy16ToV216 =
        oursOnCaller<V216Img, HY16Img>("HY16ToV216", [](auto& d, auto& s) { return C::HY16ToV216(d, s); });

    // Calls of a C interface over rows [first, last): packed picture, then the planes, chroma rows divided by `half`.
    const auto unpack = [](auto call, int half, int cb = 1) {
        return [=](Img& d, Img& s, int first, int last) {
            const int cr = 3 - cb;
            call(at(s, 0, first), s.getStep(0), at(d, 0, first), d.getStep(0), at(d, cb, first / half), d.getStep(cb),
                 at(d, cr, first / half), d.getStep(cr), s.getWidth(0), last - first);
        };
    };
    const auto pack = [](auto call, int half, int cb = 1) {
        return [=](Img& d, Img& s, int first, int last) {
            const int cr = 3 - cb;
            call(at(s, 0, first), s.getStep(0), at(s, cb, first / half), s.getStep(cb), at(s, cr, first / half),
                 s.getStep(cr), at(d, 0, first), d.getStep(0), s.getWidth(0), last - first);
        };
    };
#ifdef ORVEL_WITH_LIBYUV
    const auto fields = [](auto call) {
        return [=](Img& d, Img& s, int first, int last) {
            for (int f : {0, 1})
                call(at(s, 0, first + f), 2 * s.getStep(0), at(d, 0, first + f), 2 * d.getStep(0),
                     at(d, 1, first / 2 + f), 2 * d.getStep(1), at(d, 2, first / 2 + f), 2 * d.getStep(2),
                     s.getWidth(0), (last - first) / 2);
        };
    };
    const auto packFields = [](auto call) {
        return [=](Img& d, Img& s, int first, int last) {
            for (int f : {0, 1})
                call(at(s, 0, first + f), 2 * s.getStep(0), at(s, 1, first / 2 + f), 2 * s.getStep(1),
                     at(s, 2, first / 2 + f), 2 * s.getStep(2), at(d, 0, first + f), 2 * d.getStep(0), s.getWidth(0),
                     (last - first) / 2);
        };
    };
    const auto packedOnly = [](auto call) {
        return [=](Img& d, Img& s, int first, int last) {
            call(at(s, 0, first), s.getStep(0), at(d, 0, first), d.getStep(0), s.getWidth(0), last - first);
        };
    };
    const auto swap = [](Img& d, Img& s, int first, int last) {
        static const std::uint8_t order[16] = {1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14};
        libyuv::ARGBShuffle(at(s, 0, first), s.getStep(0), at(d, 0, first), d.getStep(0), order, s.getWidth(0) / 2,
                            last - first);
    };
    // To ten bits, which costs the same as to sixteen.
    const auto widen = [](Img& d, Img& s, int first, int last) {
        libyuv::Convert8To16Plane(at(s, 0, first), s.getStep(0), reinterpret_cast<std::uint16_t*>(at(d, 0, first)),
                                  d.getStep(0) / 2, 1024, 2 * s.getWidth(0), last - first);
    };
    const auto i420ToI422 = [](Img& d, Img& s, int first, int last) {
        libyuv::I420ToI422(at(s, 0, first), s.getStep(0), at(s, 1, first / 2), s.getStep(1), at(s, 2, first / 2),
                           s.getStep(2), at(d, 0, first), d.getStep(0), at(d, 2, first), d.getStep(2), at(d, 1, first),
                           d.getStep(1), s.getWidth(0), last - first);
    };
    uyvyToI420.beside(banded("libyuv", 2, unpack(libyuv::UYVYToI420, 2)));
    uyvyToI420Fields.beside(banded("libyuv", 4, fields(libyuv::UYVYToI420)));
    yuyvToI420.beside(banded("libyuv", 2, unpack(libyuv::YUY2ToI420, 2)));
    uyvyToYv16.beside(banded("libyuv", 1, unpack(libyuv::UYVYToI422, 1, 2)),
                      swscale(AV_PIX_FMT_UYVY422, AV_PIX_FMT_YUV422P));
    yuyvToYv16.beside(banded("libyuv", 1, unpack(libyuv::YUY2ToI422, 1, 2)),
                      swscale(AV_PIX_FMT_YUYV422, AV_PIX_FMT_YUV422P));
    i420ToUyvy.beside(banded("libyuv", 2, pack(libyuv::I420ToUYVY, 2)));
    i420ToUyvyFields.beside(banded("libyuv", 4, packFields(libyuv::I420ToUYVY)));
    i420ToYuyv.beside(banded("libyuv", 2, pack(libyuv::I420ToYUY2, 2)));
    i420ToYv16.beside(banded("libyuv", 2, i420ToI422));
    i420ToYv16Fields.beside();
    yv16ToUyvy.beside(banded("libyuv", 1, pack(libyuv::I422ToUYVY, 1, 2)),
                      swscale(AV_PIX_FMT_YUV422P, AV_PIX_FMT_UYVY422));
    yv16ToYuyv.beside(banded("libyuv", 1, pack(libyuv::I422ToYUY2, 1, 2)),
                      swscale(AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUYV422));
    uyvyToYuyv.beside(banded("libyuv", 1, swap), swscale(AV_PIX_FMT_UYVY422, AV_PIX_FMT_YUYV422));
    yuyvToUyvy.beside(banded("libyuv", 1, swap), swscale(AV_PIX_FMT_YUYV422, AV_PIX_FMT_UYVY422));
    uyvyToBgr.beside(banded("libyuv", 1, packedOnly(libyuv::UYVYToARGB)));
    i420ToBgr.beside(banded("libyuv", 2, pack(libyuv::I420ToARGB, 2)));
    bgrToUyvy.beside(banded("libyuv", 1, packedOnly(libyuv::ARGBToUYVY)));
    uyvyToV216.beside(banded("libyuv", 1, widen), swscale(AV_PIX_FMT_GRAY8, AV_PIX_FMT_GRAY16LE, 2));
#endif
    v216ToUyvy.beside();
    v216ToHy16.beside();
    hy16ToV216.beside();
}

const bool registered = (registerAll(), true);

}  // namespace
}  // namespace Orvel::bench
