// Deinterlacing of 1080-line pictures beside FFmpeg's deinterlacers and libyuv; the time is that of one picture. The
// content is a pan over a city, repeated side by side: five interlaced frames that come again and again.
#include <memory>

#include "bench/bench_support.h"
#include "bench/clip.h"
#include "bench/deinterlacer.h"
#include "bench/filter_loop.h"

#ifdef ORVEL_WITH_LIBYUV
#include <libyuv.h>
#endif

namespace Orvel::bench {
namespace {

const Clip& content() {
    static const Clip ring = tiled(weave(readClip(ORVEL_MEDIA_DIR "/roof_720x576_50p.yuv")), hd.width, hd.height);
    return ring;
}

std::int64_t bytesMoved() {
    return 2 * pixelBytes(*content()[0]);
}

template <class Params>
void measureOurs(const std::string& operation, DeinterlaceType type, Params params, int threads, std::int64_t bytes) {
    struct State {
        Deinterlacer deinterlacer;
        Picture out;
        std::size_t next = 0;
    };
    const auto state =
        std::make_shared<State>(State{Deinterlacer(type, params, *content()[0]), newPicture(hd.width, hd.height)});
    measure(operation, "1080i", "orvel", threads, bytes, [state] {
        while (!state->deinterlacer.full()) state->deinterlacer.push(*content()[state->next++ % content().size()]);
        return state->deinterlacer.deinterlace(*state->out);
    });
}

void besideFfmpeg(const std::string& operation, const char* who, const std::string& filter, int threads) {
    static const FilterFrames frames = framesOf(content(), true);
    const auto loop = filterLoop(filter, *content()[0], 25, threads, frames);
    if (loop) measure(operation, "1080i", who, threads, bytesMoved(), [loop] { return loop->produce(1); });
}

#ifdef ORVEL_WITH_LIBYUV
/// Rows [first, last) by two means of two: of the lines above and below, then of that and the line itself. Sixteen rows
/// at a time, so that the first mean stays in the cache. Both means round up; otherwise this is the triangle filter.
void libyuvTriangle(const Img& src, Img& dst, int plane, int first, int last) {
    constexpr int strip = 16, half = 128;
    const int width = src.getWidth(plane), step = src.getStep(plane), height = src.getHeight(plane);
    const auto from = [&](int y) { return src.getPixels(plane) + std::ptrdiff_t{y} * step; };
    const auto to = [&](int y) { return dst.getPixels(plane) + std::ptrdiff_t{y} * dst.getStep(plane); };
    const auto mean = [&](const std::uint8_t* a, int stepA, const std::uint8_t* b, std::uint8_t* out, int stepOut,
                          int rows) { libyuv::InterpolatePlane(a, stepA, b, step, out, stepOut, width, rows, half); };
    thread_local std::vector<std::uint8_t> neighbours;
    neighbours.resize(static_cast<std::size_t>(width) * strip);
    if (first == 0) mean(from(0), step, from(1), to(0), dst.getStep(plane), 1);
    if (last == height) mean(from(height - 1), step, from(height - 2), to(height - 1), dst.getStep(plane), 1);
    const int end = std::min(last, height - 1);
    for (int y = std::max(first, 1); y < end; y += strip) {
        const int rows = std::min(strip, end - y);
        mean(from(y - 1), step, from(y + 1), neighbours.data(), width, rows);
        mean(neighbours.data(), width, from(y), to(y), dst.getStep(plane), rows);
    }
}

void besideLibyuv(const std::string& operation, int planes, int threads, std::int64_t bytes) {
    const Picture out = newPicture(hd.width, hd.height);
    const auto next = std::make_shared<std::size_t>(0);
    measure(operation, "1080i", "libyuv", threads, bytes, [=] {
        const Img& in = *content()[(*next)++ % content().size()];
        for (int p = 0; p < planes; ++p)
            inBands(threads, in.getHeight(p), 1,
                    [&](int first, int last) { libyuvTriangle(in, *out, p, first, last); });
        return true;
    });
}
#else
void besideLibyuv(const std::string&, int, int, std::int64_t) {}
#endif

void measureTriangle(int threads) {
    const auto triangle = DeinterlaceTypeTriangle;
    measureOurs("triangle 4:2:0", triangle, DeinterlaceTriangleImgParams{}, threads, bytesMoved());
    besideLibyuv("triangle 4:2:0", 3, threads, bytesMoved());
    // libpostproc's, also with two means that round up; it has no threads.
    if (threads == 1) besideFfmpeg("triangle 4:2:0", "ffmpeg pp=lb", "pp=lb", threads);
    measureCopy("triangle 4:2:0", "1080i", threads, bytesMoved());

    DeinterlaceTriangleImgParams lumaOnly;
    lumaOnly.planeEnable[1] = lumaOnly.planeEnable[2] = 0;
    lumaOnly.nonDeinterlacedMode = 0;
    const std::int64_t bytes = 2 * std::int64_t{hd.width} * hd.height;
    measureOurs("triangle luma", triangle, lumaOnly, threads, bytes);
    besideLibyuv("triangle luma", 1, threads, bytes);
    measureCopy("triangle luma", "1080i", threads, bytes);
}

void registerAll() {
    const auto yadif = [](const char* operation, int threads) {
        besideFfmpeg(operation, "ffmpeg yadif", "yadif=mode=send_frame:parity=tff", threads);
        besideFfmpeg(operation, "ffmpeg bwdif", "bwdif=mode=send_frame:parity=tff", threads);
    };
    for (int threads : threadCounts()) {
        measureTriangle(threads);

        measureOurs("CAVT 4:2:0", DeinterlaceTypeCAVT, DeinterlaceCAVTImgParams{}, threads, bytesMoved());
        yadif("CAVT 4:2:0", threads);
        besideFfmpeg("CAVT 4:2:0", "ffmpeg w3fdif", "w3fdif=filter=simple:mode=frame:parity=tff", threads);

        measureOurs("blend 4:2:0", DeinterlaceTypeBlend, DeinterlaceBlendImgParams{}, threads, bytesMoved());
        yadif("blend 4:2:0", threads);
    }
}

const bool registered = (registerAll(), true);

}  // namespace
}  // namespace Orvel::bench
