#pragma once
#include <cstdint>
#include <optional>
#include <string>

#include "orvel/img/format_info.h"

namespace OrvelTool {

struct Ratio {
    std::uint32_t num = 0, den = 0;
    friend bool operator==(const Ratio&, const Ratio&) = default;
};

/// How the lines of a picture were taken.
enum class Scan { unknown, progressive, topFirst, bottomFirst, mixed };

/// Chroma columns of an odd width in files of planar formats: (width - 1) / 2 as in the library's pictures and raw
/// files, or (width + 1) / 2 as in Y4M files and most other software.
enum class OddChroma { down, up };

enum class Container { raw, y4m };

/// What is known of a sequence of pictures.
struct ClipInfo {
    Container container = Container::raw;
    const Orvel::FormatInfo* format = nullptr;
    int width = 0, height = 0;
    OddChroma oddChroma = OddChroma::down;
    std::optional<Ratio> rate;   ///< frames a second
    std::optional<Ratio> pixel;  ///< width to height of a pixel
    Scan scan = Scan::unknown;
    std::optional<std::int64_t> frames;

    std::string chromaTag;   ///< Y4M: the C tag of a 4:2:0 source ("420mpeg2"), which tells the place of the chroma
    std::string colorRange;  ///< Y4M: value of XCOLORRANGE, empty when not told

    /// Pictures hold two fields. Mixed clips count: their interlaced frames must not be blended.
    bool interlaced() const noexcept { return scan >= Scan::topFirst; }
};

/// "progressive", "top field first", ...
const char* scanName(Scan scan) noexcept;
/// A sentence's worth of the format: "8-bit planar 4:2:0".
const char* formatDescription(const Orvel::FormatInfo& format) noexcept;

}  // namespace OrvelTool
