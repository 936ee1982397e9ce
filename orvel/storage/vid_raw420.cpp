#include "orvel/storage/vid_raw420.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>
#include <string_view>

#include "orvel/img/i420_img.h"
#include "orvel/img/plane_access.h"
#include "orvel/sys/file.h"

namespace Orvel {
namespace {

// Bytes. Padded planes and fields travel row by row, twice as fast as with the platform's few KiB.
constexpr std::size_t streamBuffer = 64 * 1024;

/// a * b; -1 when a factor is negative or the product exceeds 60 bits, so that a few of them can be added.
constexpr std::int64_t countOf(std::int64_t a, std::int64_t b) {
    constexpr std::int64_t most = std::int64_t{1} << 60;
    if (a < 0 || b < 0 || (a > 0 && b > most / a)) return -1;
    return a * b;
}

/// Bytes of the planes that the picture really has; -1 when that cannot be a position in a file.
std::int64_t frameBytes(const Img& img) {
    std::int64_t sum = 0;
    for (int p = 0; p < img.numPlanes(); ++p) {
        const std::int64_t bytes = countOf(countOf(img.getWidth(p), img.getHeight(p)), img.getBpp(p));
        if (bytes < 0) return -1;
        sum += bytes;
    }
    return sum;
}

/// Calls transfer(address, bytes) on the pixels of all planes in the order of the file, in runs as long as memory
/// allows, up to the first one that answers false.
template <class TransferBytes>
bool transferPixels(const Img& img, const TransferBytes& transferBytes) {
    for (int p = 0; p < img.numPlanes(); ++p) {
        if (!hasPixels(img, p)) continue;  // narrow pictures have chroma planes without columns
        const auto plane = planeView<std::uint8_t>(img, p);
        if (!plane.valid()) return false;
        const auto rowBytes = static_cast<std::size_t>(plane.width);
        const bool oneRun = plane.step == plane.width;
        const int runs = oneRun ? 1 : plane.height;
        const std::size_t runBytes = oneRun ? rowBytes * static_cast<std::size_t>(plane.height) : rowBytes;
        for (int y = 0; y < runs; ++y)
            if (!transferBytes(plane.row(y), runBytes)) return false;
    }
    return true;
}

struct Size {
    int width, height;
};

int leadingNumber(std::wstring_view text) {
    int number = 0;
    for (const wchar_t digit : text) {
        if (digit < L'0' || digit > L'9') break;
        number = number * 10 + (digit - L'0');
    }
    return number;
}

/// Reads the frame size around the x at position x of text. The outermost underscores within five characters count,
/// so that a further underscore between them spoils the match.
bool sizeAround(std::wstring_view text, std::size_t x, Size& size) {
    constexpr std::size_t reach = 5;
    if (x < 2) return false;
    const std::size_t begin = text.find(L'_', x - std::min(x, reach)), end = text.rfind(L'_', x + reach);
    if (begin > x || end == text.npos || end < x) return false;
    if (text.substr(begin + 1, end - begin - 1).find_first_not_of(L"0123456789x") != text.npos) return false;
    size = {leadingNumber(text.substr(begin + 1, x - begin - 1)), leadingNumber(text.substr(x + 1, end - x - 1))};
    return true;
}

}  // namespace

VidRaw420::VidRaw420() = default;
VidRaw420::~VidRaw420() = default;

void VidRaw420::close() {
    stream_.reset();
    width_ = height_ = 0;
    frameCount_ = -1;
    last_ = Transfer::none;
}

bool VidRaw420::openStream(const wchar_t* path, const char* mode) {
    close();
    stream_.reset(OrvelSys::openFile(path, mode));
    if (!stream_) return false;
    if (!buffer_) buffer_.reset(new (std::nothrow) char[streamBuffer]);
    // Without the larger buffer the stream works as well, only slower.
    if (buffer_) static_cast<void>(std::setvbuf(stream_.get(), buffer_.get(), _IOFBF, streamBuffer));
    return true;
}

bool VidRaw420::open(const wchar_t* path) {
    if (!openStream(path, "r+b")) return false;
    decodeWidthHeight(path, width_, height_);
    return true;
}

bool VidRaw420::create(const wchar_t* path, int width, int height, bool overwrite) {
    if (!openStream(path, overwrite ? "wb" : "ab")) return false;
    setWidthHeight(width, height);
    return true;
}

bool VidRaw420::seek(std::int64_t offset, int origin) {
    last_ = Transfer::none;
    return OrvelSys::seek64(stream_.get(), offset, origin);
}

bool VidRaw420::seekFrame(const Img& img, int idx, Transfer next) {
    if (idx == -1) {
        // A stream may only turn from reading to writing and back at a seek.
        const bool turns = last_ != Transfer::none && last_ != next;
        if (turns && !seek(0, SEEK_CUR)) return false;
    } else {
        const std::int64_t position = countOf(idx, frameBytes(img));
        if (position < 0 || !seek(position, SEEK_SET)) return false;
    }
    last_ = next;
    return true;
}

bool VidRaw420::readImg(Img& img, int idx) {
    if (!isOpened() || width_ == 0 || height_ == 0) return false;
    const bool sized = img.getWidth(0) == width_ && img.getHeight(0) == height_;
    if (!sized && !img.allocate(width_, height_, I420Img::getClassBpp())) return false;
    img.setFormat(I420Img::getClassFormat());
    if (!seekFrame(img, idx, Transfer::read)) return false;
    return transferPixels(img, [this](std::uint8_t* pixels, std::size_t bytes) {
        return std::fread(pixels, 1, bytes, stream_.get()) == bytes;
    });
}

bool VidRaw420::writeImg(Img& img, int idx) {
    if (img.getFormat() != I420Img::getClassFormat()) return false;
    if (img.getWidth(0) != width_ || img.getHeight(0) != height_ || !isOpened()) return false;
    if (!seekFrame(img, idx, Transfer::write)) return false;
    return transferPixels(img, [this](const std::uint8_t* pixels, std::size_t bytes) {
        return std::fwrite(pixels, 1, bytes, stream_.get()) == bytes;
    });
}

int VidRaw420::bytesPerFrame() const {
    if (!isOpened() || width_ < 0 || height_ < 0) return -1;
    const std::int64_t bytes = std::int64_t{width_} * height_ + 2 * (std::int64_t{width_} / 2) * (height_ / 2);
    return bytes <= std::numeric_limits<int>::max() ? static_cast<int>(bytes) : -1;
}

int VidRaw420::numFrames() {
    if (frameCount_ != -1) return frameCount_;
    const int frame = bytesPerFrame();
    if (frame <= 0) return 0;
    const std::int64_t position = OrvelSys::tell64(stream_.get());
    if (position < 0 || !seek(0, SEEK_END)) return 0;
    const std::int64_t size = OrvelSys::tell64(stream_.get());
    if (size < 0 || !seek(position, SEEK_SET)) return 0;
    frameCount_ = static_cast<int>(std::min<std::int64_t>(size / frame, std::numeric_limits<int>::max()));
    return frameCount_;
}

void VidRaw420::setWidthHeight(int width, int height) {
    width_ = width;
    height_ = height;
}

bool VidRaw420::decodeWidthHeight(const wchar_t* path, int& width, int& height) {
    width = height = 0;
    if (path == nullptr) return false;
    constexpr std::size_t longest = 259;
    std::size_t length = 0;
    while (length < longest && path[length] != L'\0') ++length;
    std::wstring_view text(path, length);
    Size size{};
    for (std::size_t x; (x = text.find(L'x')) != text.npos; text.remove_prefix(x + 1))
        if (sizeAround(text, x, size)) {
            width = size.width;
            height = size.height;
            return true;
        }
    return false;
}

}  // namespace Orvel
