#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "orvel/img/img.h"
#include "tools/media/clip_info.h"

namespace OrvelTool {

/// How the bytes of one frame lie in a file: planes in the order Y, U, V, or a single packed one, rows without padding,
/// 16-bit samples with the low byte first.
class FrameShape {
public:
    /// The size must have passed sizeProblem().
    FrameShape(const Orvel::FormatInfo& format, int width, int height, OddChroma oddChroma);

    std::size_t bytes() const noexcept { return bytes_; }
    /// True when the file holds a chroma column that the picture has no room for: it is dropped on reading, and the
    /// picture's last column stands in for it on writing.
    bool hasExtraColumn() const noexcept { return extraColumn_; }

    /// Moves a frame of bytes() bytes between a file and a picture of this format and size.
    void unpack(std::span<const std::uint8_t> file, Orvel::Img& picture) const;
    void pack(const Orvel::Img& picture, std::span<std::uint8_t> file) const;

private:
    struct FilePlane {
        int plane;  // of the picture
        std::size_t rows, fileRow, pictureRow, sample;
    };

    std::vector<FilePlane> planes_;
    std::size_t bytes_ = 0;
    bool extraColumn_ = false;
};

/// Largest side and largest frame that are accepted; what exceeds them is taken for a mistake or an attack.
inline constexpr int maxSide = 65535;
inline constexpr std::int64_t maxFrameBytes = std::int64_t{1} << 30;

/// Why pictures of this format and size cannot be handled, as a phrase that names the size; empty when they can.
std::string sizeProblem(const Orvel::FormatInfo& format, int width, int height);

/// The format of a name as it stands in formats[], in any case; null for an unknown one.
const Orvel::FormatInfo* findFormatByName(const std::string& name);
/// The names of all formats in lower case, separated by commas.
std::string formatNames();
/// A format's name in lower case.
std::string lowerName(const Orvel::FormatInfo& format);
/// The format's entry in formats[], for the class of a picture.
template <class T>
const Orvel::FormatInfo& formatOf() {
    return *Orvel::findFormat(T::getClassFormat());
}

/// A picture of the format with memory for the size; throws ToolError when memory runs out.
std::unique_ptr<Orvel::Img> makePicture(const Orvel::FormatInfo& format, int width, int height);

}  // namespace OrvelTool
