#include "tools/analyze/clip_analysis.h"

#include <tbb/blocked_range.h>

#include <new>

#include "orvel/mctf/map_me_data.h"
#include "tools/analyze/block_search.h"
#include "tools/errors.h"

namespace OrvelTool {

using namespace Orvel;

ClipAnalysis::ClipAnalysis(int width, int height, int strength) : strength_(strength) {
    MotionEstimateImgParams search = blockSearch("analyze", width, height);
    search.sceneCutDetect = true;
    if (!search_.allocate(search) || !before_.allocate(width, height, I420Img::getClassBpp()) ||
        !blocks_.allocateBlocks(width, height))
        throw std::bad_alloc();
}

std::optional<PictureMeasures> ClipAnalysis::next(I420Img& picture) {
    std::optional<PictureMeasures> measures;
    if (begun_) measures = compare(picture);
    begun_ = true;
    if (!picture.copy(before_)) throw ToolError(ExitCode::refused, "analyze", "the picture cannot be kept");
    return measures;
}

PictureMeasures ClipAnalysis::compare(I420Img& picture) {
    PictureMeasures measures;
    measures.sceneCut = search_.process(&picture, &before_);
    const MEData& motion = *search_.getMEData();
    const int count = motion.numBlocks();
    for (int i = 0; i < count; ++i) {
        const MEBlockData block = motion.getBlockData(i);
        measures.meanCost += block.sad;
        measures.meanX += block.mvx / 4.0;
        measures.meanY += block.mvy / 4.0;
    }
    for (double* sum : {&measures.meanCost, &measures.meanX, &measures.meanY}) *sum /= count;
    measures.level = PicData::calculateFilterStrength(strength_, noiseBefore_);
    measures.noise = noiseBefore_ = noiseOf(picture);
    return measures;
}

float ClipAnalysis::noiseOf(I420Img& picture) {
    bool measured = picture.shadowCopy(blocks_);
    MapMEData(blocks_, *search_.getMEData())(tbb::blocked_range<int>(0, blocks_.blkRows()));
    measured = measured && blocks_.calculatePictureActivity() && blocks_.calculatePictureNoise();
    blocks_.deallocate(-1);  // the view of picture, not the blocks
    if (!measured) throw ToolError(ExitCode::refused, "analyze", "the noise cannot be measured");
    return blocks_.getNoiseFigure();
}

}  // namespace OrvelTool
