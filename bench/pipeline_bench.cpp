// A whole pipeline beside the same chain of FFmpeg's filters: 1080-line interlaced packed 4:2:2 at 25 pictures a second
// becomes 720-line progressive 4:2:0 at 50, without its noise. Counted are the pictures that come out. Both make every
// step by methods of their own; the peer's filters look at more pictures when deinterlacing and have no motion search.
#include <algorithm>
#include <memory>

#include "bench/bench_support.h"
#include "bench/clip.h"
#include "bench/filter_loop.h"
#include "orvel/img/uyvy_img.h"
#include "orvel/pipeline/process_video.h"

namespace Orvel::bench {
namespace {

const std::string operation = "1080i25 UYVY to 720p50 I420";

/// The field-wise chroma row that interlaced 4:2:0 has for a luma row.
int chromaRowOf(int y, const Img& picture) {
    const int row = y / 4 * 2 + y % 2;
    return std::min(row, picture.getHeight(1) - 1);
}

std::shared_ptr<UYVYImg> packed(const I420Img& picture) {
    auto out = std::make_shared<UYVYImg>();
    if (!out->allocate(picture.getWidth(0), picture.getHeight(0), UYVYImg::getClassBpp())) std::abort();
    for (int y = 0; y < out->getHeight(0); ++y)
        for (int x = 0; x < out->getWidth(0); ++x) {
            std::uint8_t* pixel = out->getPixel(0, y, x);
            pixel[0] = *picture.getPixel(1 + x % 2, chromaRowOf(y, picture), x / 2);
            pixel[1] = *picture.getPixel(0, y, x);
        }
    return out;
}

/// A pan over a city forth and back, repeated side by side, with noise of standard deviation 3.
std::vector<std::shared_ptr<UYVYImg>> makeContent() {
    const Clip woven = weave(forthAndBack(readClip(ORVEL_MEDIA_DIR "/roof_720x576_50p.yuv")));
    std::vector<std::shared_ptr<UYVYImg>> content;
    for (const Picture& picture : withNoise(tiled(woven, hd.width, hd.height), 3, 1.5, 20240601))
        content.push_back(packed(*picture));
    return content;
}

class Pipeline {
public:
    Pipeline(std::vector<std::shared_ptr<UYVYImg>> content, int threads) : content_(std::move(content)) {
        ProcessVideoParams<I420Img> params;
        params.srcWidth = hd.width, params.srcHeight = hd.height;
        params.srcProgressive = false;
        params.deinterlaceType = DeinterlaceTypeCAVT;
        params.srcFrameRateNum = 25, params.dstFrameRateNum = 50;
        params.dstWidth = hdReady.width, params.dstHeight = hdReady.height;
        params.mctfEnable = true;
        params.mctfParams.me.poolThreads = threads;
        if (!engine_.allocate(params)) std::abort();
    }
    bool produce(int results) {
        while (results > 0) {
            bool ok = false;
            I420Img* out = engine_.process(*content_[next_++ % content_.size()], ok);
            for (; out != nullptr; out = engine_.isOutputAvailable(ok)) {
                --results;
                if (!engine_.returnImg(out)) return false;
            }
            if (!ok) return false;
        }
        return true;
    }

private:
    ProcessVideo<I420Img> engine_;
    std::vector<std::shared_ptr<UYVYImg>> content_;
    std::size_t next_ = 0;
};

void registerAll() {
    constexpr int perCall = 2;  // from one picture
    const std::string chain =
        "scale=interl=1,format=yuv420p,yadif=mode=send_frame:parity=tff,scale=1280:720,hqdn3d,framerate=fps=50";
    const auto content = makeContent();
    const FilterFrames frames = framesOf(content, true);
    for (const int threads : threadCounts()) {
        const auto ours = std::make_shared<Pipeline>(content, threads);
        const auto theirs = filterLoop(chain, *content[0], 25, threads, frames);
        const auto measurePipeline = [&](const char* who, const auto& pipeline) {
            measurePerSecond(operation, hd.name, who, threads, perCall, "pictures",
                             [=] { return pipeline->produce(perCall); });
        };
        measurePipeline("orvel", ours);
        if (theirs) measurePipeline("ffmpeg", theirs);
    }
}

const bool registered = (registerAll(), true);

}  // namespace
}  // namespace Orvel::bench
