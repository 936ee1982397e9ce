#include "tools/media/frame_shape.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "orvel/img/all_formats.h"
#include "tools/errors.h"

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "16-bit samples are moved as they stand, low byte first");

namespace OrvelTool {
namespace {

using namespace Orvel;

// Files hold U before V; the picture class keeps V in plane 1.
bool keepsVFirst(const FormatInfo& format) {
    return format.code == YV16Img::getClassFormat();
}

std::int64_t frameBytes(const FormatInfo& format, std::int64_t width, std::int64_t height) {
    const std::int64_t luma = width * height * format.classBpp;
    if (format.planes == 1) return luma;
    const std::int64_t chromaRows = format.halfHeightChroma ? (height + 1) / 2 : height;
    return luma + 2 * ((width + 1) / 2) * chromaRows * format.classBpp;
}

// A plane with no column in the picture is grey in the file.
void repeatLastSample(std::uint8_t* row, std::size_t from, std::size_t to, std::size_t sample) {
    for (std::size_t at = from; at < to; ++at)
        row[at] = from >= sample ? row[at - sample] : (sample == 1 || at % 2 == 1 ? 0x80 : 0);
}

std::unique_ptr<Img> newPicture(std::uint32_t code) {
    switch (code) {
        case I420Img::getClassFormat():
            return std::make_unique<I420Img>();
        case YV16Img::getClassFormat():
            return std::make_unique<YV16Img>();
        case HY16Img::getClassFormat():
            return std::make_unique<HY16Img>();
        case UYVYImg::getClassFormat():
            return std::make_unique<UYVYImg>();
        case YUYVImg::getClassFormat():
            return std::make_unique<YUYVImg>();
        case V216Img::getClassFormat():
            return std::make_unique<V216Img>();
        default:
            return std::make_unique<BGRImg>();
    }
}

}  // namespace

const char* scanName(Scan scan) noexcept {
    switch (scan) {
        case Scan::progressive:
            return "progressive";
        case Scan::topFirst:
            return "interlaced, top field first";
        case Scan::bottomFirst:
            return "interlaced, bottom field first";
        case Scan::mixed:
            return "mixed";
        case Scan::unknown:
            break;
    }
    return "unknown";
}

const char* formatDescription(const FormatInfo& format) noexcept {
    if (format.code == BGRImg::getClassFormat()) return "8-bit packed RGB, bytes B G R A";
    if (format.halfHeightChroma) return "8-bit planar 4:2:0";
    const bool wide = format.evenWidthOnly;
    if (format.planes == 3) return wide ? "16-bit planar 4:2:2" : "8-bit planar 4:2:2";
    return wide ? "16-bit packed 4:2:2" : "8-bit packed 4:2:2";
}

FrameShape::FrameShape(const FormatInfo& format, int width, int height, OddChroma oddChroma) {
    const auto sample = static_cast<std::size_t>(format.classBpp);
    const auto columns = static_cast<std::size_t>(width), rows = static_cast<std::size_t>(height);
    planes_.push_back({0, rows, columns * sample, columns * sample, sample});
    if (format.planes == 3) {
        const std::size_t chromaRows = format.halfHeightChroma ? (rows + 1) / 2 : rows;
        const std::size_t held = columns / 2, stored = oddChroma == OddChroma::up ? (columns + 1) / 2 : held;
        extraColumn_ = stored > held;
        const int u = keepsVFirst(format) ? 2 : 1;
        for (int plane : {u, 3 - u}) planes_.push_back({plane, chromaRows, stored * sample, held * sample, sample});
    }
    for (const FilePlane& p : planes_) bytes_ += p.rows * p.fileRow;
}

void FrameShape::unpack(std::span<const std::uint8_t> file, Img& picture) const {
    const std::uint8_t* from = file.data();
    for (const FilePlane& p : planes_) {
        std::uint8_t* to = picture.getPixels(p.plane);
        for (std::size_t y = 0; y < p.rows; ++y, from += p.fileRow, to += picture.getStep(p.plane))
            if (p.pictureRow > 0) std::memcpy(to, from, p.pictureRow);
    }
}

void FrameShape::pack(const Img& picture, std::span<std::uint8_t> file) const {
    std::uint8_t* to = file.data();
    for (const FilePlane& p : planes_) {
        const std::uint8_t* from = picture.getPixels(p.plane);
        for (std::size_t y = 0; y < p.rows; ++y, to += p.fileRow, from += picture.getStep(p.plane)) {
            if (p.pictureRow > 0) std::memcpy(to, from, p.pictureRow);
            repeatLastSample(to, p.pictureRow, p.fileRow, p.sample);
        }
    }
}

std::string sizeProblem(const FormatInfo& format, int width, int height) {
    if (width < 1 || height < 1 || width > maxSide || height > maxSide)
        return fmt::format("size {}x{} is outside 1x1 to {}x{}", width, height, maxSide, maxSide);
    if (frameBytes(format, width, height) > maxFrameBytes)
        return fmt::format("size {}x{} makes frames above {} MiB", width, height, maxFrameBytes >> 20);
    if (format.evenWidthOnly && width % 2 != 0)
        return fmt::format("width {} is odd and {} pictures have even widths only", width, format.name);
    return {};
}

const FormatInfo* findFormatByName(const std::string& name) {
    for (const FormatInfo& format : formats)
        if (name.size() == std::strlen(format.name) && strcasecmp(name.c_str(), format.name) == 0) return &format;
    return nullptr;
}

std::string formatNames() {
    std::string names;
    for (const FormatInfo& format : formats) names += (names.empty() ? "" : ", ") + lowerName(format);
    return names;
}

std::string lowerName(const FormatInfo& format) {
    std::string name = format.name;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(tolower(c)); });
    return name;
}

std::unique_ptr<Img> makePicture(const FormatInfo& format, int width, int height) {
    auto picture = newPicture(format.code);
    if (!picture->allocate(width, height, format.classBpp))
        throw ToolError(ExitCode::refused, format.name, fmt::format("no memory for a {}x{} picture", width, height));
    return picture;
}

}  // namespace OrvelTool
