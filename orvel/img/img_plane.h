#pragma once
#include <cstdint>
#include <memory>

#include "orvel/sys/aligned_mem.h"

namespace Orvel {

/// One plane of a picture: its memory and how its samples lie there. Pixel (x, y) is at the memory object's base +
/// offset + y * step + x * bpp.
class ORVEL_API ImgPl {
public:
    /// A plane without samples, with an empty memory object. Throws std::bad_alloc.
    ImgPl();
    /// Tells the memory object to let go of its memory, then deletes it.
    ~ImgPl();
    ImgPl(const ImgPl&) = delete;
    ImgPl& operator=(const ImgPl&) = delete;

    /// Width, height, step and bpp become 0, the channels 1; the memory object stays.
    void initialize() noexcept;
    /// initialize() after the memory object has let go of its memory.
    void release();
    /// Gives up the present memory object and takes m. @return true; false, with nothing changed, for null.
    bool setMemoryInterface(IAlignedMem* m);
    /// Makes to the same plane over the same memory; to's former memory object is deleted.
    /// @return false when memory runs out: to then keeps its memory object and its fields are those of initialize().
    [[nodiscard]] bool shadowCopy(ImgPl& to) const;

    IAlignedMem& memory() const noexcept { return *memory_; }
    /// Bytes of the memory from the plane's first pixel on; 0 when it holds none.
    std::int64_t bytesHeld() const { return std::int64_t{memory_->getSize()} - memory_->getOffset(); }

    int width() const noexcept { return width_; }        ///< pixels in a row
    int height() const noexcept { return height_; }      ///< rows
    int step() const noexcept { return step_; }          ///< bytes from row to row
    int bpp() const noexcept { return bpp_; }            ///< bytes in a pixel
    int channels() const noexcept { return channels_; }  ///< samples interleaved in one pixel

    void setGeometry(int width, int height, int step, int bpp) noexcept;
    void setChannels(int channels) noexcept { channels_ = channels; }

private:
    std::unique_ptr<IAlignedMem> memory_;  // never null
    std::int32_t width_ = 0, height_ = 0, step_ = 0, bpp_ = 0, channels_ = 1;
};

}  // namespace Orvel
