#include "tools/motion_arrows.h"

#include <new>

#include "orvel/mctf/motion_overlay.h"
#include "tools/analyze/block_search.h"
#include "tools/errors.h"
#include "tools/media/frame_shape.h"

namespace OrvelTool {

using namespace Orvel;

MotionArrows::MotionArrows(const ClipInfo& clip, bool fields)
    : fields_(fields),
      toBefore_(*clip.format, formatOf<I420Img>(), clip.width, clip.height, {clip.interlaced(), false}),
      toPicture_(*clip.format, formatOf<I420Img>(), clip.width, clip.height, {clip.interlaced(), false}) {
    for (int field = 0; field < (fields ? 2 : 1); ++field) {
        auto search = blockSearch("--motion", clip.width, fields ? (clip.height + 1 - field) / 2 : clip.height);
        if (!searches_[static_cast<std::size_t>(field)].allocate(search)) throw std::bad_alloc();
    }
    if (!canvas_.allocate(clip.width, clip.height, I420Img::getClassBpp())) throw std::bad_alloc();
    clear();
}

void MotionArrows::clear() {
    if (!canvas_.setPlane(0, 0)) throw std::bad_alloc();
}

void MotionArrows::find(Img& before, Img& picture) {
    auto& from = static_cast<I420Img&>(toBefore_.convert(before));
    auto& to = static_cast<I420Img&>(toPicture_.convert(picture));
    clear();
    if (!fields_) return draw(searches_[0], from, to, canvas_);
    I420Img fromField, toField, canvasField;
    from.getTopFieldShadow(fromField);
    to.getTopFieldShadow(toField);
    canvas_.getTopFieldShadow(canvasField);
    draw(searches_[0], fromField, toField, canvasField);
    from.getBottomFieldShadow(fromField);
    to.getBottomFieldShadow(toField);
    canvas_.getBottomFieldShadow(canvasField);
    draw(searches_[1], fromField, toField, canvasField);
}

void MotionArrows::draw(Search& search, I420Img& before, I420Img& picture, I420Img& canvas) {
    if (!search.process(&picture, &before) || !drawMotionVectors(canvas, *search.getMEData(), 255, false))
        throw ToolError(ExitCode::refused, "--motion", "the motion cannot be found");
}

}  // namespace OrvelTool
