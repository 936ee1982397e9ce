#pragma once
#include <memory>

#include "orvel/img/img.h"
#include "orvel/sys/api.h"

namespace Orvel {

class I420Img;
class UYVYImg;

/// A store of video frames of one size, addressed by frame index from 0. The index -1 stands for the store's current
/// position, behind the frame that was read or written last.
///
/// A kind of store implements the virtual operations. Frames and fields of 4:2:0 are then read and written whatever the
/// store holds: frames of format 420 as they are, frames of format 422 by conversion; of other formats all four
/// operations answer false without touching the store. The pictures in between are kept for the next call.
///
/// Operations answer failure by false, print nothing and throw nothing. One store serves one thread at a time.
class ORVEL_API VideoDisk {
public:
    virtual ~VideoDisk();

    /// Closes what is open and opens an existing store for reading and writing. @return false: the store is closed.
    [[nodiscard]] virtual bool open(const wchar_t* path) = 0;
    /// Closes what is open and begins a store of frames of the given size, to write to.
    /// @param overwrite true: what the path held is lost; false: it is kept and frames are appended.
    /// @return false: the store is closed.
    [[nodiscard]] virtual bool create(const wchar_t* path, int width, int height, bool overwrite) = 0;
    /// May be called twice.
    virtual void close() = 0;
    /// A store that implements these must not keep img or a view of it: its memory may be used again after the call.
    [[nodiscard]] virtual bool readImg(Img& img, int idx) = 0;
    [[nodiscard]] virtual bool writeImg(Img& img, int idx) = 0;
    virtual int getWidth() const = 0;   ///< pixels; 0 when closed
    virtual int getHeight() const = 0;  ///< lines; 0 when closed
    /// What the frames are: 420 (I420Img) or 422 (UYVYImg), decimal.
    virtual int getColorFormat() const = 0;
    virtual bool isOpened() const = 0;
    virtual int numFrames() = 0;  ///< 0 on failure

    /// Reads a frame. From a store of format 422 it is converted, progressively, as ConvertImg::UYVYToI420() does: into
    /// the top left corner of img, which must have the store's size at least. In format 420 readImg() sizes img.
    /// @return false when reading or converting fails or memory runs out; img may then be partly overwritten.
    [[nodiscard]] bool readI420Frame(I420Img& img, int idx);
    /// Reads a frame, of format 422 by the interlaced conversion, and copies its fields to the top left of top and
    /// bottom, as Img::getTopField() and getBottomField() do: of a plane of h rows each gets floor(h / 2). What a field
    /// picture has beyond these keeps its value, such as the last chroma row when height mod 4 is 2. The last chroma
    /// row of an odd height in format 422, whose line has no pair, is grey (128).
    /// @return false, with the store untouched, when a field does not fit top or bottom; false when reading or
    /// converting fails or memory runs out. Both pictures are then unchanged.
    [[nodiscard]] bool readI420Fields(I420Img& top, I420Img& bottom, int idx);
    /// Writes img as a frame. For a store of format 422 it is converted progressively and may be smaller than the
    /// store; the rest of the frame, and the last line of an odd height, which has no pair, is then grey (128).
    /// @return false, with nothing written, when img does not fit or memory runs out; else as writeImg().
    [[nodiscard]] bool writeI420Frame(I420Img& img, int idx);
    /// Writes a frame whose lines 0, 2, 4 .. are those of top and 1, 3, 5 .. those of bottom; for a store of format 422
    /// it is converted as interlaced, the last line of an odd height being grey. The planes of both pictures must be as
    /// wide as the frame's and half as high, rounded either way: a row too many is left out, in place of a missing one
    /// the last is repeated.
    /// @return false, with nothing written, when they are not or memory runs out; else as writeImg().
    [[nodiscard]] bool writeI420Fields(I420Img& top, I420Img& bottom, int idx);

protected:
    VideoDisk() noexcept;
    /// Copying copies nothing: the pictures kept for the next call stay where they are.
    VideoDisk(const VideoDisk&) noexcept;
    VideoDisk& operator=(const VideoDisk&) noexcept;

private:
    struct Pictures;

    Pictures* pictures() noexcept;
    UYVYImg* sizedPacked();
    I420Img* sizedFrame();
    bool readPacked(I420Img& to, int idx, bool interlaced);
    bool writePacked(const I420Img& from, int idx, bool interlaced);

    std::unique_ptr<Pictures> pictures_;  // null until the first call that needs them
};

}  // namespace Orvel
