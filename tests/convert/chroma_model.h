#pragma once
#include <vector>

#include "orvel/img/all_formats.h"

namespace Orvel::test {

/// A picture as plain numbers: luma w x h and two chroma planes cw x ch, whatever the format it came from.
struct Samples {
    int w = 0, h = 0, cw = 0, ch = 0;
    std::vector<int> y, u, v;

    static Samples sized(int w, int h, int ch) {
        const auto chroma = std::size_t(w / 2) * std::size_t(ch);
        return {w,
                h,
                w / 2,
                ch,
                std::vector<int>(std::size_t(w) * std::size_t(h)),
                std::vector<int>(chroma),
                std::vector<int>(chroma)};
    }
    int& luma(int x, int row) { return y[std::size_t(row * w + x)]; }
    int& cb(int x, int row) { return u[std::size_t(row * cw + x)]; }
    int& cr(int x, int row) { return v[std::size_t(row * cw + x)]; }
    bool operator==(const Samples&) const = default;
};

/// Reads the top left w x h pixels of a picture of any YUV format.
inline Samples read(const Img& img, int w, int h) {
    const auto code = img.getFormat();
    const bool is420 = code == I420Img::getClassFormat(),
               wide = code == HY16Img::getClassFormat() || code == V216Img::getClassFormat();
    Samples s = Samples::sized(w, h, is420 ? (h + 1) / 2 : h);
    const auto sample = [&](int plane, int x, int row) {
        const auto* at = img.getPixels(plane) + std::ptrdiff_t{row} * img.getStep(plane) + x * (wide ? 2 : 1);
        return wide ? at[0] | at[1] << 8 : at[0];
    };
    const bool packed = img.numPlanes() == 1, yFirst = code == YUYVImg::getClassFormat();
    const int cbPlane = code == YV16Img::getClassFormat() ? 2 : 1, crPlane = 3 - cbPlane;
    for (int row = 0; row < h; ++row)
        for (int x = 0; x < w; ++x)
            s.luma(x, row) = packed ? sample(0, 2 * x + (yFirst ? 0 : 1), row) : sample(0, x, row);
    for (int row = 0; row < s.ch; ++row)
        for (int x = 0; x < s.cw; ++x) {
            s.cb(x, row) = packed ? sample(0, 4 * x + (yFirst ? 1 : 0), row) : sample(cbPlane, x, row);
            s.cr(x, row) = packed ? sample(0, 4 * x + (yFirst ? 3 : 2), row) : sample(crPlane, x, row);
        }
    return s;
}

/// Chroma of one plane, 4:2:2 -> 4:2:0 or back, over the rows that a conversion covers; other rows of to stay.
struct ChromaModel {
    int w, h;  ///< chroma columns, luma rows

    void downProgressive(const std::vector<int>& c, std::vector<int>& to, int firstPair, int lastPair) const {
        for (int k = firstPair; k < lastPair; ++k)
            for (int x = 0; x < w; ++x) at(to, x, k) = (at(c, x, 2 * k) + at(c, x, 2 * k + 1) + 1) / 2;
    }
    void upProgressive(const std::vector<int>& c, std::vector<int>& to, int firstPair, int lastPair) const {
        for (int row = 2 * firstPair; row < 2 * lastPair; ++row)
            for (int x = 0; x < w; ++x) at(to, x, row) = at(c, x, row / 2);
    }
    /// Field by field: the chroma sample lies 1/4 (top) or 3/4 (bottom) of the way between two lines of its field.
    void downInterlaced(const std::vector<int>& c, std::vector<int>& to) const {
        for (int k = 0; k < h / 4; ++k)
            for (int x = 0; x < w; ++x)
                for (int field : {0, 1}) {
                    const int first = at(c, x, 4 * k + field), second = at(c, x, 4 * k + 2 + field);
                    at(to, x, 2 * k + field) = ((field == 0 ? 3 : 1) * first + (field == 0 ? 1 : 3) * second + 2) / 4;
                }
    }
    void upInterlaced(const std::vector<int>& c, std::vector<int>& to) const {
        const int rows = h / 4;  // of each field
        for (int field : {0, 1})
            for (int line = 0; line < 2 * rows; ++line)
                for (int x = 0; x < w; ++x) {
                    const int k = line / 2, other = line % 2 == 0 ? k - 1 : k + 1;
                    const int near = at(c, x, 2 * k + field);
                    const int far = at(c, x, 2 * std::clamp(other, 0, rows - 1) + field);
                    // Eighths by which the line is away from its own chroma sample.
                    const int away = (field == 0) == (line % 2 == 0) ? 1 : 3;
                    at(to, x, 2 * line + field) = ((8 - away) * near + away * far + 4) / 8;
                }
    }

private:
    int& at(std::vector<int>& c, int x, int row) const { return c[std::size_t(row * w + x)]; }
    int at(const std::vector<int>& c, int x, int row) const { return c[std::size_t(row * w + x)]; }
};

}  // namespace Orvel::test
