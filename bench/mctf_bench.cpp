// The temporal noise filter beside FFmpeg's noise filters: progressive pictures a second. The content is a camera that
// walks forward and back, repeated side by side, with noise of standard deviation 3.
#include <memory>

#include "bench/bench_support.h"
#include "bench/clip.h"
#include "bench/filter_loop.h"
#include "orvel/mctf/mctf_fast_progressive.h"

namespace Orvel::bench {
namespace {

const std::string operation = "noise filter";

Clip makeContent(Size size) {
    const Clip clip = tiled(readClip(ORVEL_MEDIA_DIR "/walkway_352x288_30p.yuv"), size.width, size.height);
    return forthAndBack(withNoise(clip, 3, 1.5, 20240601));
}

/// The filter as a host uses it, at its usual strength.
class Filtering {
public:
    Filtering(const Clip& content, int threads)
        : content_(content), own_(copyOf({content.begin(), content.begin() + 3})), out_(copyOf({content[0]})[0]) {
        MCTFFastParams params;
        params.width = out_->getWidth(0);
        params.height = out_->getHeight(0);
        params.me.poolThreads = threads;
        if (!filter_.allocate(params) || !push()) std::abort();
    }
    /// Filters one picture. The filter writes into the pictures that it is given, so each of them is copied before;
    /// that counts as the filter's time.
    bool next() { return push() && filter_.filter(*out_, nullptr); }

private:
    bool push() {
        I420Img& picture = *own_[next_ % own_.size()];
        copyPicture(*content_[next_++ % content_.size()], picture);
        return filter_.pushImg(&picture);
    }

    MCTFFastProgressive<I420Img> filter_;
    Clip content_, own_;
    Picture out_;
    std::size_t next_ = 0;
};

void measureOurs(Size size, const Clip& content, int threads) {
    const auto filtering = std::make_shared<Filtering>(content, threads);
    measurePerSecond(operation, size.name, "orvel", threads, 1, "pictures", [=] { return filtering->next(); });
}

void besideFfmpeg(Size size, const Img& like, const FilterFrames& frames, int threads) {
    for (const std::string filter : {"hqdn3d", "atadenoise", "nlmeans"}) {
        const auto loop = filterLoop(filter, like, 30, threads, frames);
        if (!loop) continue;
        auto* measured = measurePerSecond(operation, size.name, "ffmpeg " + filter, threads, 1, "pictures",
                                          [=] { return loop->produce(1); });
        if (filter == "nlmeans") measured->Iterations(2);  // seconds each
    }
}

void registerAll() {
    for (const Size size : {hd, hdReady}) {
        const Clip content = makeContent(size);
        const FilterFrames frames = framesOf(content, false);
        for (const int threads : threadCounts()) {
            measureOurs(size, content, threads);
            besideFfmpeg(size, *content[0], frames, threads);
        }
    }
}

const bool registered = (registerAll(), true);

}  // namespace
}  // namespace Orvel::bench
