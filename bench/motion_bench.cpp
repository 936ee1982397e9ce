// The block motion search: blocks a second with whole and with half samples, and the cost function alone.
#include <fstream>
#include <memory>
#include <stdexcept>

#include "bench/bench_support.h"
#include "orvel/img/i420_img.h"
#include "orvel/mctf/motion_estimate_img.h"
#include "orvel/mctf/mv_predictors.h"

namespace Orvel::bench {
namespace {

/// Two successive pictures of a camera that walks forward, repeated side by side until they fill the size.
struct Pictures {
    I420Img cur, ref;

    explicit Pictures(Size size) {
        fill(cur, size, 1);
        fill(ref, size, 0);
    }

private:
    static void fill(I420Img& img, Size size, int frame) {
        constexpr int width = 352, height = 288;
        std::ifstream file(ORVEL_MEDIA_DIR "/walkway_352x288_30p.yuv", std::ios::binary);
        std::vector<char> luma(width * height);
        file.seekg(std::streamoff{frame} * width * height * 3 / 2);
        if (!file.read(luma.data(), std::streamsize{width} * height) ||
            !img.allocate(size.width, size.height, I420Img::getClassBpp()))
            throw std::runtime_error("no clip or no memory");
        for (int y = 0; y < size.height; ++y)
            for (int x = 0; x < size.width; ++x)
                *img.getPixel(0, y, x) =
                    static_cast<std::uint8_t>(luma[static_cast<std::size_t>(y % height * width + x % width)]);
    }
};

void searchPicture(benchmark::State& state, Size size, bool subPel, int threads) {
    Pictures pictures(size);
    MotionEstimateImgParams params;
    params.width = size.width;
    params.height = size.height;
    params.subPel = subPel;
    params.poolThreads = threads;
    MotionEstimateImg<I420Img> estimator;
    if (!estimator.allocate(params)) return state.SkipWithError("allocate failed");
    for (auto _ : state)
        if (!estimator.process(&pictures.cur, &pictures.ref)) return state.SkipWithError("process failed");
    state.counters["blocks/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * params.blkCols * params.blkRows,
                           benchmark::Counter::kIsRate, benchmark::Counter::kIs1000);
}

/// One block against every place of a 64 x 64 area, a call each.
void compareBlocks(benchmark::State& state) {
    Pictures pictures({352, 288, ""});
    const int curStep = pictures.cur.getStep(0), refStep = pictures.ref.getStep(0);
    std::uint8_t* const cur = pictures.cur.getPixel(0, 96, 96);
    std::uint8_t* const ref = pictures.ref.getPixel(0, 64, 64);
    std::int64_t compared = 0;
    for (auto _ : state)
        for (int y = 0; y < 64; ++y)
            for (int x = 0; x < 64; ++x, ++compared) {
                int sad = 0;
                MVPredictors::evaluate(cur, curStep, ref + y * refStep + x, refStep, sad);
                benchmark::DoNotOptimize(sad);
            }
    state.counters["sads/s"] =
        benchmark::Counter(static_cast<double>(compared), benchmark::Counter::kIsRate, benchmark::Counter::kIs1000);
}

void registerAll() {
    constexpr Size cif{352, 288, "288p"};
    for (const Size size : {cif, hd})
        for (const bool subPel : {false, true})
            for (const int threads : threadCounts()) {
                const std::string name = std::string(subPel ? "half samples/" : "whole samples/") + size.name + "/" +
                                         std::to_string(threads) + "T/orvel";
                benchmark::RegisterBenchmark(name.c_str(), searchPicture, size, subPel, threads)
                    ->UseRealTime()
                    ->Unit(benchmark::kMicrosecond);
            }
    benchmark::RegisterBenchmark("one 8x8 difference/288p/1T/orvel", compareBlocks)->Unit(benchmark::kMicrosecond);
}

const bool registered = (registerAll(), true);

}  // namespace
}  // namespace Orvel::bench
