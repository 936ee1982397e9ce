#include "orvel/deinterlace/deinterlace_blend_img.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

#include "orvel/deinterlace/plane_filter.h"
#include "orvel/primitives/deinterlace_blend.h"

namespace Orvel {

DeinterlaceBlendImg::DeinterlaceBlendImg() noexcept = default;

DeinterlaceBlendImg::~DeinterlaceBlendImg() = default;

bool DeinterlaceBlendImg::allocate(DeinterlaceImgParams* p) {
    const auto* const params = dynamic_cast<DeinterlaceBlendImgParams*>(p);
    if (params == nullptr) return false;
    std::unique_ptr<primitives::DeinterlaceBlendState> state(new (std::nothrow) primitives::DeinterlaceBlendState);
    if (!state || state->init(params->width, params->height, params->blendThresh, params->blendConstants) !=
                      primitives::Status::ok)
        return false;
    if (!DeinterlaceImg::allocate(p)) return false;
    state_ = std::move(state);
    doubleRate_ = params->doubleRate;
    topFirst_ = params->topFirst;
    fieldCounter_ = 0;
    type_ = DeinterlaceTypeBlend;
    return true;
}

void DeinterlaceBlendImg::deallocate() {
    DeinterlaceImg::deallocate();
    state_.reset();
    std::fill(std::begin(frames_), std::end(frames_), nullptr);
}

bool DeinterlaceBlendImg::pushImg(Img& img) {
    const int held = bufferedFrames();
    if (held >= queueLength || !accepts(img, 1)) return false;
    frames_[held] = &img;
    return true;
}

Img* DeinterlaceBlendImg::popImg() {
    Img* const oldest = frames_[0];
    std::shift_left(std::begin(frames_), std::end(frames_), 1);
    frames_[queueLength - 1] = nullptr;
    fieldCounter_ = 0;  // another picture stands in the middle now
    return oldest;
}

int DeinterlaceBlendImg::requiredFrames() const {
    return queueLength;
}

int DeinterlaceBlendImg::bufferedFrames() const {
    return static_cast<int>(std::count_if(std::begin(frames_), std::end(frames_), [](Img* f) { return f != nullptr; }));
}

bool DeinterlaceBlendImg::deinterlace(Img& out, Img** released) {
    if (released != nullptr) *released = nullptr;
    if (frames_[0] == nullptr || !validateDeinterlace(out)) return false;
    try {
        if (!makePlanes(out)) return false;
    } catch (const std::exception&) {
        return false;  // a copy that does not fit
    }
    if (keepUserData_) gatherUserData(out);
    if (doubleRate_) fieldCounter_ = 1 - fieldCounter_;
    if (fieldCounter_ == 0) release(released);
    return true;
}

bool DeinterlaceBlendImg::makePlanes(Img& out) const {
    if (frames_[1] == nullptr) return true;  // nothing to make a picture of; it is for the caller to wait
    for (int p = 0; p < frames_[0]->numPlanes(); ++p) {
        if (nonDeinterlacedPlane(frames_[1], &out, p)) continue;
        const bool missing = frames_[2] == nullptr || p >= frames_[1]->numPlanes() || p >= frames_[2]->numPlanes();
        if (missing) return true;
        if (!blendPlane(out, p)) return false;
    }
    return true;
}

bool DeinterlaceBlendImg::blendPlane(Img& out, int plane) const {
    const auto cur = planeView<const std::uint8_t>(*frames_[1], plane);
    const auto region = [&](auto whole) { return whole.topLeft(cur.width, cur.height); };
    const auto prev = region(planeView<const std::uint8_t>(*frames_[0], plane));
    const auto next = region(planeView<const std::uint8_t>(*frames_[2], plane));
    const auto to = region(planeView<std::uint8_t>(out, plane));
    if (!state_ || out.getBpp(plane) != 1 || !cur.valid() || !prev.valid() || !next.valid() || !to.valid())
        return false;
    primitives::BlendFields fields{topFirst_, false, true};
    if (doubleRate_) fields.generateTop = (fieldCounter_ != 0) == topFirst_;
    return filterBands(to.height, [&](int first, int last) {
        return primitives::deinterlaceBlendRows(*state_, prev, cur, next, to, fields, first, last);
    });
}

void DeinterlaceBlendImg::gatherUserData(Img& out) noexcept {
    for (Img* frame : {frames_[0], frames_[1]})
        if (frame != nullptr) Img::moveUserData(out, *frame);
}

}  // namespace Orvel
