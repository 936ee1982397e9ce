#pragma once
#include <optional>

#include "orvel/img/i420_img.h"
#include "orvel/mctf/motion_estimate_img.h"
#include "orvel/mctf/pic_data.h"

namespace OrvelTool {

/// What the temporal noise filter finds when it compares a picture with the one before.
struct PictureMeasures {
    double meanCost = 0;          ///< sum of absolute differences a block of 8x8 luma samples, 0 to 16320
    double meanX = 0, meanY = 0;  ///< mean vector in pixels: from a block to its match in the picture before
    float noise = 0;              ///< the filter's noise figure
    int level = 0;                ///< the level it would choose, from the noise figure of the picture before
    bool sceneCut = false;        ///< a new scene begins
};

/// Measures the pictures of a clip one after the other as the temporal noise filter does, but on pictures that stay as
/// they are: the filter itself compares with pictures that it has filtered in part.
class ClipAnalysis {
public:
    /// @param strength of the filter, for the level.
    /// Throws ToolError (refused) for pictures without a whole block.
    ClipAnalysis(int width, int height, int strength);

    /// Measures the next picture, a 4:2:0 picture or view of the size; the first one has nothing to be compared with.
    std::optional<PictureMeasures> next(Orvel::I420Img& picture);

private:
    PictureMeasures compare(Orvel::I420Img& picture);
    float noiseOf(Orvel::I420Img& picture);

    const int strength_;
    Orvel::MotionEstimateImg<Orvel::I420Img> search_;
    Orvel::I420Img before_;
    Orvel::PicData blocks_;
    float noiseBefore_ = 0;
    bool begun_ = false;
};

}  // namespace OrvelTool
