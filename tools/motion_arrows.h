#pragma once
#include <array>

#include "orvel/img/i420_img.h"
#include "orvel/mctf/motion_estimate_img.h"
#include "tools/format_converter.h"
#include "tools/media/clip_info.h"

namespace OrvelTool {

/// Where arrows along the motion of a clip's pictures lie. An arrow goes from the centre of a block to the point that
/// lies there in the picture before, in whole pixels; blocks that stand still have none.
class MotionArrows {
public:
    /// @param clip the pictures. @param fields looks for the motion of each field by itself.
    /// Throws ToolError (refused) for sizes that do not go to 4:2:0 or hold no whole block.
    MotionArrows(const ClipInfo& clip, bool fields);

    /// Finds the arrows of picture against the one before it.
    void find(Orvel::Img& before, Orvel::Img& picture);
    /// Whether an arrow found last passes through this pixel of the frame.
    bool at(int x, int y) const { return *canvas_.getPixel(0, y, x) != 0; }

private:
    using Search = Orvel::MotionEstimateImg<Orvel::I420Img>;

    void clear();
    static void draw(Search& search, Orvel::I420Img& before, Orvel::I420Img& picture, Orvel::I420Img& canvas);

    bool fields_;
    FormatConverter toBefore_, toPicture_;
    Orvel::I420Img canvas_;  // luma 0, and 255 where arrows are
    std::array<Search, 2> searches_;
};

}  // namespace OrvelTool
