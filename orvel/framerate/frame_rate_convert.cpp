#include "orvel/framerate/frame_rate_convert.h"

#include <algorithm>
#include <limits>
#include <new>

#include "orvel/framerate/interpolate_img.h"
#include "orvel/img/plane_access.h"

namespace Orvel {
namespace {

/// min(255, floor((acc * 255 + 127) / inc)) for acc >= 0 and 0 < inc < 2^62. The product may need 70 bits; it is
/// divided while it is built, one bit of the factor 255 after the other, so that nothing exceeds 3 * 2^62.
unsigned weightOfOlder(std::int64_t acc, std::int64_t inc) {
    if (acc >= inc) return 255;
    const auto part = static_cast<std::uint64_t>(acc), whole = static_cast<std::uint64_t>(inc);
    std::uint64_t quotient = 0, rest = 0;
    for (int bit = 0; bit < 8; ++bit) {
        rest = 2 * rest + part;
        quotient = 2 * quotient + rest / whole;
        rest %= whole;
    }
    return static_cast<unsigned>(std::min<std::uint64_t>(quotient + (rest + 127) / whole, 255));
}

/// acc + inc, or the greatest number there is.
std::int64_t addClamped(std::int64_t acc, std::int64_t inc) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    return acc > most - inc ? most : acc + inc;
}

/// Does every plane of field have room for half the lines of frame?
bool takesHalf(const Img& field, const Img& frame) {
    for (int p = 0; p < frame.numPlanes(); ++p) {
        const auto lines = planeView<const std::uint8_t>(frame, p);
        if (lines.valid() && lines.height >= 2 &&
            !planeView<const std::uint8_t>(field, p).topLeft(lines.width, lines.height / 2).valid())
            return false;
    }
    return true;
}

bool repeatField(Img& out, const Img& frame, bool top) {
    Img field;
    top ? out.getTopFieldShadow(field) : out.getBottomFieldShadow(field);
    if (!takesHalf(field, frame)) return false;  // also when there was no memory for the view
    top ? frame.getTopField(field) : frame.getBottomField(field);
    return true;
}

bool repeat(Img& out, const Img& frame, FieldFrameSelect sel) {
    switch (sel) {
        case FieldFrameBoth:
            return frame.copy(out);
        case FieldFrameTop:
            return repeatField(out, frame, true);
        case FieldFrameBottom:
            return repeatField(out, frame, false);
    }
    return true;
}

bool makePicture(Img& out, const Img& prev, const Img& next, unsigned alpha, FieldFrameSelect sel) {
    try {
        if (alpha == 0) return repeat(out, next, sel);
        if (alpha == 255) return repeat(out, prev, sel);
        return InterpolateImg::frameInterpolate(out, prev, next, alpha, sel);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace

FrameRateConvert::FrameRateConvert() = default;
FrameRateConvert::~FrameRateConvert() = default;

bool FrameRateConvert::allocate(const FrameRateConvertParams& p) {
    deallocate();
    if (p.srcRateNum < 1 || p.srcRateDen < 1 || p.dstRateNum < 1 || p.dstRateDen < 1) return false;
    // The fractions are not reduced: inc also sets the rounding of the weights.
    inc_ = std::int64_t{p.dstRateNum} * p.srcRateDen;
    dec_ = std::int64_t{p.srcRateNum} * p.dstRateDen;
    blend_ = p.blend;
    keepUserData_ = p.keepUserData;
    return true;
}

void FrameRateConvert::deallocate() {
    inc_ = dec_ = 1;
    acc_ = 0;
    blend_ = keepUserData_ = false;
    frames_ = {};
    count_ = 0;
    ready_ = primed_ = firstPopDone_ = false;
    savedUserData_.clear();
    lastAlpha_ = 0;
}

bool FrameRateConvert::pushImg(Img& img) {
    const auto append = [&] { frames_[static_cast<std::size_t>(count_++)] = &img; };
    if (count_ >= required) return false;
    if (!primed_) append();  // so that the first output has a pair
    primed_ = true;
    append();
    // Between outputs the accumulator stays within +-2^62; only who pushes and pops for ever without converting ends
    // at the clamp.
    if (ready_) acc_ = addClamped(acc_, inc_);
    if (count_ + 1 == required) ready_ = true;
    return true;
}

bool FrameRateConvert::isConverterReady(Img** released) {
    if (released == nullptr) return false;
    *released = nullptr;
    if (!ready_ || count_ < required) return false;
    if (acc_ >= 0) return true;
    *released = releaseOldest();
    return false;
}

bool FrameRateConvert::rateConvert(Img& out, FieldFrameSelect sel, Img** released) {
    if (released == nullptr) return false;
    *released = nullptr;
    if (!ready_ || acc_ < 0 || count_ < required) return false;
    unsigned alpha = weightOfOlder(acc_, inc_);
    if (!blend_) alpha = alpha < 128 ? 0 : 255;
    if (!makePicture(out, *frames_[required - 2], *frames_[required - 1], alpha, sel)) return false;
    handOverUserData(out, alpha < 128);
    acc_ -= dec_;
    lastAlpha_ = static_cast<std::uint8_t>(alpha);
    if (acc_ < 0) *released = releaseOldest();
    return true;
}

Img* FrameRateConvert::popImg() {
    Img* popped = frames_[0];
    if (popped == nullptr) return nullptr;
    frames_ = {frames_[1], frames_[2], nullptr};
    --count_;
    if (!firstPopDone_ && popped == frames_[0]) popped = nullptr;  // the first frame is still queued
    firstPopDone_ = true;
    if (frames_[0] != nullptr) saveImgUserData(frames_[0]);
    return popped;
}

/// popImg() for a frame that nobody looks at any more: what it carries stays here.
Img* FrameRateConvert::releaseOldest() {
    saveImgUserData(frames_[0]);
    return popImg();
}

/// Gives out the waiting items, then those of all frames up to the older of the pair and, if told so, the newest, whose
/// items else wait for the next output.
void FrameRateConvert::handOverUserData(Img& out, bool newestToo) noexcept {
    std::for_each(frames_.begin(), frames_.end() - (newestToo ? 0 : 1), [&](Img* img) { saveImgUserData(img); });
    restoreImgUserData(&out);
    saveImgUserData(frames_.back());
}

void FrameRateConvert::saveImgUserData(Img* img) noexcept {
    if (!keepUserData_) return;
    img->delUserData(nullptr);  // would look like the end of the list to who extracts
    Img::moveUserData(savedUserData_, *img);
}

void FrameRateConvert::restoreImgUserData(Img* img) noexcept {
    Img::moveUserData(*img, savedUserData_);
}

void FrameRateConvert::moveUserData(std::list<void*>& to) noexcept {
    to.splice(to.end(), savedUserData_);
}

void* FrameRateConvert::extractUserData() {
    if (savedUserData_.empty()) return nullptr;
    void* const first = savedUserData_.front();
    savedUserData_.pop_front();
    return first;
}

}  // namespace Orvel
