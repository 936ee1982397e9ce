#pragma once
#include <cstdint>
#include <cstdio>
#include <memory>

#include "orvel/storage/video_disk.h"

namespace Orvel {

/// 8-bit planar 4:2:0 frames back to back in one file without header: per frame the rows of Y, then U, then V, without
/// padding. The frame size is given at creation or carried by the file name, as in clip_720x576_.yuv.
///
/// Frame n starts at n times the bytes of the picture that is read or written. Pictures of odd height have
/// ceil(height / 2) chroma rows, while numFrames() divides by frames of floor(height / 2) chroma rows: for odd heights
/// the count and the positions do not match.
///
/// Writes are buffered: up to 64 KiB of a frame that writeImg() reported as written may still fail to reach a full disk
/// when the file is closed, and close() cannot tell. What moves the position (an index other than -1, the first
/// numFrames()) writes the buffer first and fails when that fails.
class ORVEL_API VidRaw420 : public VideoDisk {
public:
    VidRaw420();
    ~VidRaw420() override;  ///< close()
    VidRaw420(const VidRaw420&) = delete;
    VidRaw420& operator=(const VidRaw420&) = delete;

    /// Opens an existing file for reading and writing and takes the frame size from its name; the size is 0 x 0 when
    /// the name has none, see setWidthHeight().
    [[nodiscard]] bool open(const wchar_t* path) override;
    /// Opens a file for writing only. The size is not checked. Without overwrite every frame goes to the file's end,
    /// whatever its index.
    [[nodiscard]] bool create(const wchar_t* path, int width, int height, bool overwrite) override;
    void close() override;

    /// Reads a frame into img, which is allocated to the stored size (with 1 byte per sample) when its own differs, and
    /// marks it as I420. Whatever planes img has are read.
    /// @return false when the file is closed, a stored side is 0, memory runs out, the position cannot be reached or
    /// the file ends before the frame does; img is then partly overwritten.
    [[nodiscard]] bool readImg(Img& img, int idx) override;
    /// Writes a frame. @return false when img is not marked as I420 or not of the stored size or the file is closed
    /// (nothing is written), when the position cannot be reached, or when the disk is full.
    [[nodiscard]] bool writeImg(Img& img, int idx) override;

    int getWidth() const override { return width_; }
    int getHeight() const override { return height_; }
    int getColorFormat() const override { return 420; }
    bool isOpened() const override { return stream_ != nullptr; }
    /// Whole frames in the file, at most 2^31 - 1. Counted at the first call and then kept until the file is closed,
    /// whatever is written meanwhile. 0 when the file is closed or cannot be measured, or no frame size is known.
    int numFrames() override;

    /// Sets the frame size, unchecked. The frame count stays as it was counted.
    void setWidthHeight(int width, int height);
    /// Finds the frame size in a path: underscore, width, lower-case x, height, underscore, with at most four digits
    /// each. Looks at the first 259 characters, directories included.
    /// @return false, with both 0, when there is none.
    static bool decodeWidthHeight(const wchar_t* path, int& width, int& height);

protected:
    /// width * height + 2 * floor(width / 2) * floor(height / 2); -1 when closed, when a side is negative or when that
    /// exceeds 31 bits.
    int bytesPerFrame() const;

private:
    enum class Transfer { none, read, write };
    struct CloseStream {
        void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
    };

    bool openStream(const wchar_t* path, const char* mode);
    bool seek(std::int64_t offset, int origin);
    bool seekFrame(const Img& img, int idx, Transfer next);

    std::unique_ptr<char[]> buffer_;  // the stream's, so it goes after it
    std::unique_ptr<std::FILE, CloseStream> stream_;
    std::int32_t width_ = 0, height_ = 0;
    std::int32_t frameCount_ = -1;  // -1: not counted
    Transfer last_ = Transfer::none;
};

}  // namespace Orvel
