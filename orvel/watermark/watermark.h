#pragma once
#include "orvel/sys/api.h"

namespace Orvel {

class I420Img;
class Img;
class UYVYImg;

/// Marks the first six lines of a picture with their own numbers, to find out later whether the top lines were shifted,
/// cropped or split into fields. Luma of marked line r, in a picture W pixels wide:
///
/// | columns           | level                                                      |
/// |-------------------|------------------------------------------------------------|
/// | 0-13, 14-19       | 16, 235                                                    |
/// | 20-23, -27, -31   | bits 2, 1 and 0 of the Gray code of r: 235 for one, else 16 |
/// | W-20 to W-15      | 235                                                        |
/// | W-14 to W-1       | 16                                                         |
///
/// Chroma of these pixels becomes 100: in I420Img the first 16 and the last 10 samples of the rows 0 to 2; in UYVYImg
/// the chroma bytes of the first 32 and the last 20 pixels, also on lines 6 and 7, which a conversion to 4:2:0 brings
/// together with marked ones. Everything else is left alone.
class ORVEL_API Watermark {
public:
    /// @return false, with nothing written, for a picture below 64 x 32 or one that is no I420Img or UYVYImg with that
    /// format's code, or lacks a plane.
    [[nodiscard]] static bool write(Img& img);
    /// Reads the number that a line of an I420Img carries. Chroma is looked at in row line of its planes (not line /
    /// 2), by design, so that lines 0 to 2 can be read; chroma must be one mark's level, near 102 or 154.
    /// @param line  line to read on entry; its decoded number on success.
    /// @return false, with line unchanged, when the picture is refused as by write() or no I420Img, the line is not in
    /// it, or what stands there is no mark.
    [[nodiscard]] static bool read(Img& img, int& line);
    /// Looks for the mark in place, in luma alone: lines 0 to 3 or 2 to 5 (or all) must carry their numbers.
    /// @param allowField  lines 1, 3 and 5, or 0, 2 and 4, are enough.
    /// @return true when found; false also for luma below 64 x 32 and for another format's code.
    [[nodiscard]] static bool searchWatermark(I420Img& img, bool allowField);

private:
    static int valueToGraycode(int value) noexcept;
    static int graycodeToValue(int code) noexcept;
    static void writeI420(I420Img& img);
    static void writeUYVY(UYVYImg& img);
    static bool readI420(I420Img& img, int& line);
    static int lumaNumber(const I420Img& img, int line) noexcept;
    template <class Body>
    static void forEachLumaRun(int line, int width, const Body& body);
};

}  // namespace Orvel
