#pragma once
// From source pictures to the working formats, and the edges that a conversion or a cut leaves open. Internal.
#include "orvel/img/all_formats.h"

namespace Orvel {

/// Converts src, of a format that dst's accepts beside its own; sizes as ConvertImg wants them.
/// @return false for any other format, or when the conversion fails.
bool convertTo(I420Img& dst, Img& src, bool interlaced);
bool convertTo(YV16Img& dst, Img& src, bool interlaced);
bool convertTo(HY16Img& dst, Img& src, bool interlaced);

/// Fills what of each plane of img lies behind the size of view's: the last row and column are repeated, planes
/// without any become 128. Scaled to the chroma planes of odd sizes, a rectangle may come out a row or column smaller
/// than the plane it is to fill.
void fillFromEdges(Img& img, const Img& view);
/// The same for an odd last row, which the conversion to 4:2:0 leaves out.
void fillOddRow(Img& img);

}  // namespace Orvel
