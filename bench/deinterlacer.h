#pragma once
#include <cstdlib>
#include <memory>

#include "orvel/deinterlace/deinterlace_img.h"

namespace Orvel::bench {

/// One of the library's deinterlacers, held and fed as a host does.
class Deinterlacer {
public:
    /// For pictures as large as like. params: a record of the kind that belongs to type; its size is set here.
    Deinterlacer(DeinterlaceType type, DeinterlaceImgParams& params, const Img& like)
        : deinterlacer_(DeinterlaceImg::newAlloc(type)) {
        params.width = like.getWidth(0);
        params.height = like.getHeight(0);
        if (!deinterlacer_ || !deinterlacer_->allocate(&params)) std::abort();
    }
    int requiredFrames() { return deinterlacer_->requiredFrames(); }
    bool full() { return deinterlacer_->bufferedFrames() == deinterlacer_->requiredFrames(); }
    /// frame must outlive its stay in the queue, which must not be full.
    void push(Img& frame) {
        if (!deinterlacer_->pushImg(frame)) std::abort();
    }
    bool deinterlace(Img& out) {
        Img* released = nullptr;
        return deinterlacer_->deinterlace(out, &released);
    }

private:
    struct Delete {
        void operator()(DeinterlaceImg* old) const { DeinterlaceImg::deleteDealloc(old); }
    };
    std::unique_ptr<DeinterlaceImg, Delete> deinterlacer_;
};

}  // namespace Orvel::bench
