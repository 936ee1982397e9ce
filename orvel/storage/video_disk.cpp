#include "orvel/storage/video_disk.h"

#include <algorithm>
#include <new>

#include "orvel/convert/convert_img.h"
#include "orvel/img/i420_img.h"
#include "orvel/img/plane_access.h"
#include "orvel/img/uyvy_img.h"
#include "orvel/primitives/fill.h"

namespace Orvel {
namespace {

constexpr int format420 = 420, format422 = 422;

// Of luma and chroma; what a conversion leaves over has this and not what memory held before.
constexpr int grey = 128;

bool isKnown(int colorFormat) {
    return colorFormat == format420 || colorFormat == format422;
}

/// True when Img::getTopField() and getBottomField() of frame find room in field.
bool holdsField(const Img& field, const Img& frame) {
    for (int p = 0; p < frame.numPlanes(); ++p) {
        const int rows = frame.getHeight(p) / 2;
        if (rows == 0 || !hasPixels(frame, p)) continue;
        if (!planeView<std::uint8_t>(field, p).topLeft(frame.getWidth(p), rows).valid()) return false;
    }
    return true;
}

/// Rows of a plane of so many rows that belong to a field; parity 0 is the top field, 1 the bottom one.
int fieldRows(int rows, int parity) {
    return rows / 2 + (parity == 0 ? rows % 2 : 0);
}

/// True when every plane of field has the columns of frame's and half its rows, rounded either way, and at least one if
/// the frame has.
bool isFieldOf(const Img& field, int parity, const Img& frame) {
    for (int p = 0; p < frame.numPlanes(); ++p) {
        const int rows = frame.getHeight(p);
        if (!hasPixels(frame, p) || fieldRows(rows, parity) == 0) continue;
        const auto plane = planeView<std::uint8_t>(field, p);
        if (!plane.valid() || plane.width != frame.getWidth(p)) return false;
        if (plane.height != rows / 2 && plane.height != rows - rows / 2) return false;
    }
    return true;
}

/// Writes the rows of field over the rows parity, parity + 2, .. of frame, for pictures of which isFieldOf() is true.
void weave(const Img& field, int parity, Img& frame) {
    for (int p = 0; p < frame.numPlanes(); ++p) {
        if (!hasPixels(frame, p)) continue;
        const auto rows = planeView<const std::uint8_t>(field, p);
        const auto whole = planeView<std::uint8_t>(frame, p);
        for (int i = 0; i < fieldRows(whole.height, parity); ++i) {
            const int from = std::min(i, rows.height - 1), to = 2 * i + parity;
            static_cast<void>(primitives::copy(rows.band(from, from + 1), whole.band(to, to + 1)));
        }
    }
}

}  // namespace

struct VideoDisk::Pictures {
    I420Img frame;
    UYVYImg packed;
};

VideoDisk::VideoDisk() noexcept = default;
VideoDisk::~VideoDisk() = default;
VideoDisk::VideoDisk(const VideoDisk&) noexcept {}
VideoDisk& VideoDisk::operator=(const VideoDisk&) noexcept {
    return *this;
}

VideoDisk::Pictures* VideoDisk::pictures() noexcept {
    try {
        if (!pictures_) pictures_ = std::make_unique<Pictures>();
        return pictures_.get();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

/// The 4:2:2 picture in between, of the store's size; null when memory runs out.
UYVYImg* VideoDisk::sizedPacked() {
    Pictures* const kept = pictures();
    if (kept == nullptr || !kept->packed.allocate(getWidth(), getHeight(), UYVYImg::getClassBpp())) return nullptr;
    return &kept->packed;
}

/// The 4:2:0 picture in between, the same way.
I420Img* VideoDisk::sizedFrame() {
    Pictures* const kept = pictures();
    if (kept == nullptr || !kept->frame.allocate(getWidth(), getHeight(), I420Img::getClassBpp())) return nullptr;
    return &kept->frame;
}

bool VideoDisk::readPacked(I420Img& to, int idx, bool interlaced) {
    UYVYImg* const packed = sizedPacked();
    return packed != nullptr && readImg(*packed, idx) && ConvertImg::UYVYToI420(to, *packed, interlaced);
}

bool VideoDisk::writePacked(const I420Img& from, int idx, bool interlaced) {
    UYVYImg* const packed = sizedPacked();
    if (packed == nullptr) return false;
    const bool fills = from.getWidth(0) == packed->getWidth(0) && from.getHeight(0) == packed->getHeight(0);
    const bool wholePairs = packed->getHeight(0) % 2 == 0;
    if (!(fills && wholePairs) && !packed->set(grey)) return false;
    return ConvertImg::I420ToUYVY(*packed, from, interlaced) && writeImg(*packed, idx);
}

bool VideoDisk::readI420Frame(I420Img& img, int idx) {
    switch (getColorFormat()) {
        case format420:
            return readImg(img, idx);
        case format422:
            return readPacked(img, idx, false);
        default:
            return false;
    }
}

bool VideoDisk::readI420Fields(I420Img& top, I420Img& bottom, int idx) {
    const int colorFormat = getColorFormat();
    if (!isKnown(colorFormat)) return false;
    I420Img* const frame = sizedFrame();
    if (frame == nullptr || !holdsField(top, *frame) || !holdsField(bottom, *frame)) return false;
    if (colorFormat == format420) {
        if (!readImg(*frame, idx)) return false;
    } else {
        // The bottom field may end with the chroma row of the line that has no pair.
        if (frame->getHeight(0) % 2 != 0 && !frame->set(grey)) return false;
        if (!readPacked(*frame, idx, true)) return false;
    }
    frame->getTopField(top);
    frame->getBottomField(bottom);
    return true;
}

bool VideoDisk::writeI420Frame(I420Img& img, int idx) {
    switch (getColorFormat()) {
        case format420:
            return writeImg(img, idx);
        case format422:
            return writePacked(img, idx, false);
        default:
            return false;
    }
}

bool VideoDisk::writeI420Fields(I420Img& top, I420Img& bottom, int idx) {
    const int colorFormat = getColorFormat();
    if (!isKnown(colorFormat)) return false;
    I420Img* const frame = sizedFrame();
    if (frame == nullptr || !isFieldOf(top, 0, *frame) || !isFieldOf(bottom, 1, *frame)) return false;
    weave(top, 0, *frame);
    weave(bottom, 1, *frame);
    return colorFormat == format420 ? writeImg(*frame, idx) : writePacked(*frame, idx, true);
}

}  // namespace Orvel
