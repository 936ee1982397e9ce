#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace OrvelTool {

/// An 8-bit RGB picture in memory: rows of B G R triples without padding.
struct BgrSheet {
    BgrSheet(int w, int h, std::uint8_t grey)
        : width(w), height(h), pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h) * 3, grey) {}

    std::uint8_t* pixel(int x, int y) {
        return pixels.data() +
               (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) * 3;
    }

    int width, height;
    std::vector<std::uint8_t> pixels;
};

/// Writes a PNG file, or to standard output for "-". The file appears when it is whole. Throws ToolError
/// (outputFailed).
void writePng(const std::string& path, const BgrSheet& sheet);

}  // namespace OrvelTool
