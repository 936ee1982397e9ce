#pragma once
#include <optional>
#include <string>

#include "orvel/img/bgr_img.h"
#include "orvel/watermark/time_code_bits.h"
#include "orvel/watermark/time_code_value.h"
#include "tools/media/clip_info.h"

namespace OrvelTool {

/// Throws ToolError (refused) when the pictures of a clip, or their fields, are too small to carry a time code.
/// @param format of the pictures that carry it, I420 or YV16.
void requireRoomForCode(const std::string& clip, const ClipInfo& info, const Orvel::FormatInfo& format, bool fields);

/// Stamps time codes into pictures, I420 or YV16.
class CodeStamp {
public:
    /// @param fields    a code for each field, which the code tells; else the flags of the code are stamped as they
    /// are.
    /// @param readable  also for people.
    CodeStamp(bool fields, bool readable) : fields_(fields), readable_(readable) {}

    /// Throws ToolError (refused).
    void write(Orvel::Img& picture, const Orvel::TimeCodeValue& code);

private:
    template <class T>
    bool stampFrame(T& picture, const Orvel::TimeCodeValue& code);
    template <class T>
    bool stampFields(T& picture, const Orvel::TimeCodeValue& code);

    const bool fields_, readable_;
    Orvel::BGRImg strip_;
};

/// The code of a frame or field.
struct CodeReading {
    Orvel::TimeCodeValue code;
    Orvel::TimeCodeBitsFault bitsFault = Orvel::TimeCodeBitsNoFault;
};
struct PictureReading {
    std::optional<CodeReading> frame;   ///< of the whole picture, or of the top field
    std::optional<CodeReading> bottom;  ///< of the bottom field, where fields are read
};

/// Reads a picture, I420 or YV16.
PictureReading readCodes(Orvel::Img& picture, bool fields);

}  // namespace OrvelTool
