#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "orvel/img/img.h"
#include "tools/media/clip_info.h"

namespace OrvelTool {

/// What a conversion has to know besides the formats.
struct ConversionMode {
    bool interlaced = false;  ///< the fields are kept apart where chroma is resampled
    bool hdtv = false;        ///< RGB by BT.709 at 16..235 instead of BT.601 at 0..255
};

/// Converts pictures of one size from any format to any other, in the fewest steps. Steps on the way lose nothing that
/// the target could hold: they are 4:2:2, and 16-bit ones where both ends have 16 bits.
class FormatConverter {
public:
    /// Throws ToolError (refused) when a step cannot handle the size: odd heights between 4:2:0 and 4:2:2, odd widths
    /// and 16-bit formats, widths below 2.
    FormatConverter(const Orvel::FormatInfo& from, const Orvel::FormatInfo& to, int width, int height,
                    ConversionMode mode);
    ~FormatConverter();

    /// The picture in the target format: picture itself when the formats are the same, else the converter's own, valid
    /// until the next call. A step from V216 to UYVY clears the low bytes of its source, also of picture.
    Orvel::Img& convert(Orvel::Img& picture);
    /// The formats on the way, "HY16 > V216 > UYVY".
    std::string route() const;

private:
    struct Stage;
    std::string first_;
    std::vector<Stage> stages_;
    ConversionMode mode_;
};

}  // namespace OrvelTool
