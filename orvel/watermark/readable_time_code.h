#pragma once
#include "orvel/img/types.h"
#include "orvel/sys/api.h"
#include "orvel/watermark/time_code_value.h"

namespace Orvel {

class BGRImg;

/// Levels of the readable image: the text stands out, and yet neither is taken for a part of a grid by a reader that
/// meets them in the plane it searches (4:2:0 and 4:2:2 pictures keep their chroma planes in opposite order).
inline constexpr int readableTextLevel = 192, readableGroundLevel = 128;

/// Renders the text form of a time code (see TimeCodeValue) as an image for UnifiedWatermark::encodeReadable(), for
/// hosts that have no renderer of their own. Blue, green and red of a pixel hold one level, the fourth byte 255.
///
/// The digits are a built-in bitmap font of 4 x 7 dots, the whole text 45 x 7. Dots are whole pixels, as large as fit
/// but in neither direction more than twice as long as in the other; the text stands in the middle.
/// @param size      of the image, such as encode() reports it; at least 45 x 7.
/// @param readable  allocated to that size.
/// @return false, with readable unchanged, when size is too small or a field of value has more than two digits; false,
/// with readable empty, when memory runs out.
[[nodiscard]] ORVEL_API bool renderReadable(const TimeCodeValue& value, FieldFrameSelect select, tagSIZE size,
                                            BGRImg& readable);

}  // namespace Orvel
