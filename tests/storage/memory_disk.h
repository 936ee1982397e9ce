#pragma once
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "orvel/storage/video_disk.h"
#include "tests/support/pictures.h"

namespace Orvel::test {

/// A store in memory: a frame is the bytes of its pixels, whatever format it calls itself.
class MemoryDisk : public VideoDisk {
public:
    MemoryDisk(int colorFormat, int width, int height) : colorFormat_(colorFormat), width_(width), height_(height) {}

    bool open(const wchar_t*) override { return false; }
    bool create(const wchar_t*, int, int, bool) override { return false; }
    void close() override {}
    bool readImg(Img& img, int idx) override {
        ++reads;
        std::size_t i = 0;
        const auto& bytes = frames[idx];
        for (int p = 0; p < img.numPlanes(); ++p)
            for (int y = 0; y < img.getHeight(p); ++y)
                for (int x = 0; x < img.getWidth(p) * img.getBpp(p); ++x, ++i) {
                    if (i == bytes.size()) return false;
                    img.getPixel(p, y, 0)[x] = bytes[i];
                }
        return true;
    }
    bool writeImg(Img& img, int idx) override {
        ++writes;
        if (onWrite) onWrite(img);
        if (failsToWrite) return false;
        if (!forgets) frames[idx] = bytesOf(img);
        return true;
    }
    int getWidth() const override { return width_; }
    int getHeight() const override { return height_; }
    int getColorFormat() const override { return colorFormat_; }
    bool isOpened() const override { return true; }
    int numFrames() override { return static_cast<int>(frames.size()); }

    void resize(int width, int height) {
        width_ = width;
        height_ = height;
    }

    std::map<int, std::vector<std::uint8_t>> frames;
    int reads = 0, writes = 0;
    bool failsToWrite = false, forgets = false;
    std::function<void(Img&)> onWrite;

private:
    int colorFormat_, width_, height_;
};

}  // namespace Orvel::test
