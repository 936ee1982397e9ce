// The block motion search: blocks a second with whole and with half samples, and the cost function alone.
#include <memory>
#include <utility>

#include "bench/bench_support.h"
#include "bench/clip.h"
#include "bench/filter_loop.h"
#include "orvel/mctf/motion_estimate_img.h"
#include "orvel/mctf/mv_predictors.h"

namespace Orvel::bench {
namespace {

/// A camera that walks forward, repeated side by side until it fills the size.
Clip pictures(Size size) {
    return tiled(readClip(ORVEL_MEDIA_DIR "/walkway_352x288_30p.yuv"), size.width, size.height);
}

/// The search of every picture of the clip, forth and back, in the one before it.
class Search {
public:
    Search(Size size, bool subPel, int threads) : ring_(forthAndBack(pictures(size))) {
        params_.width = size.width;
        params_.height = size.height;
        params_.subPel = subPel;
        params_.poolThreads = threads;
        if (!estimator_.allocate(params_)) std::abort();
    }
    int blocks() const { return params_.blkCols * params_.blkRows; }
    bool next() {
        I420Img* ref = ring_[next_++ % ring_.size()].get();
        return estimator_.process(ring_[next_ % ring_.size()].get(), ref);
    }

private:
    Clip ring_;
    MotionEstimateImgParams params_;
    MotionEstimateImg<I420Img> estimator_;
    std::size_t next_ = 0;
};

void measureSearch(Size size, bool subPel, int threads) {
    const auto search = std::make_shared<Search>(size, subPel, threads);
    measurePerSecond(subPel ? "half samples" : "whole samples", size.name, "orvel", threads, search->blocks(), "blocks",
                     [=] { return search->next(); });
}

/// FFmpeg's enhanced predictive zonal search, of whole samples up to 7 away. It has one thread, and searches every
/// block both in the picture before and in the one after.
void besideFfmpeg(Size size) {
    const Clip ring = forthAndBack(pictures(size));
    const auto loop = filterLoop("mestimate=method=epzs:mb_size=8", *ring[0], 30, 1, framesOf(ring, false));
    if (!loop) return;
    const int searches = 2 * (size.width / 8) * (size.height / 8);
    measurePerSecond("whole samples", size.name, "ffmpeg mestimate", 1, searches, "blocks",
                     [=] { return loop->produce(1); });
}

/// One block against every place of a 64 x 64 area, a call each.
void measureBlocks() {
    const Clip clip = pictures({352, 288, ""});
    const Picture cur = clip[1], ref = clip[0];
    const int curStep = cur->getStep(0), refStep = ref->getStep(0);
    std::uint8_t *const block = cur->getPixel(0, 96, 96), *const area = ref->getPixel(0, 64, 64);
    // The captured pictures keep the pixels alive.
    measurePerSecond("one 8x8 difference", "288p", "orvel", 1, 64 * 64, "blocks", [=, alive = std::pair{cur, ref}] {
        for (int y = 0; y < 64; ++y)
            for (int x = 0; x < 64; ++x) {
                int sad = 0;
                if (!MVPredictors::evaluate(block, curStep, area + y * refStep + x, refStep, sad)) return false;
                benchmark::DoNotOptimize(sad);
            }
        return true;
    });
}

void registerAll() {
    constexpr Size cif{352, 288, "288p"};
    for (const Size size : {cif, hd}) {
        for (const bool subPel : {false, true})
            for (const int threads : threadCounts()) measureSearch(size, subPel, threads);
        besideFfmpeg(size);
    }
    measureBlocks();
}

const bool registered = (registerAll(), true);

}  // namespace
}  // namespace Orvel::bench
