#pragma once
#include "orvel/img/img.h"
#include "orvel/sys/api.h"

namespace Orvel {

/// A store of video frames of one size, addressed by frame index from 0. The index -1 stands for the store's current
/// position, behind the frame that was read or written last.
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
    [[nodiscard]] virtual bool readImg(Img& img, int idx) = 0;
    [[nodiscard]] virtual bool writeImg(Img& img, int idx) = 0;
    virtual int getWidth() const = 0;   ///< pixels; 0 when closed
    virtual int getHeight() const = 0;  ///< lines; 0 when closed
    /// What the frames are: 420 (I420Img) or 422 (UYVYImg), decimal.
    virtual int getColorFormat() const = 0;
    virtual bool isOpened() const = 0;
    virtual int numFrames() = 0;  ///< 0 on failure

protected:
    VideoDisk() = default;
    VideoDisk(const VideoDisk&) = default;
    VideoDisk& operator=(const VideoDisk&) = default;
};

}  // namespace Orvel
