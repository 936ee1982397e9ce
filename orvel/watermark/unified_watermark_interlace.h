#pragma once
#include "orvel/watermark/unified_watermark.h"

namespace Orvel {

/// UnifiedWatermark for interlaced frames: a grid in each field, so that both survive whatever happens to fields apart.
/// A frame needs 2 x 96 chroma rows. Where memory for the views of the fields runs out, operations return false.
template <class T>
class ORVEL_API UnifiedWatermarkInterlace : public UnifiedWatermark<T> {
public:
    UnifiedWatermarkInterlace() = default;

    /// Stamps tc with topField on into the top field, then with bottomField on into the bottom field; the caller's
    /// values of these two do not count.
    /// @param size  if not null, receives the size of a readable image for a field.
    /// @return false when a field is refused as by UnifiedWatermark: with nothing written for the top field, with the
    /// top field stamped for the bottom field.
    [[nodiscard]] bool encode(T& img, TimeCodeValue tc, tagSIZE* size);
    /// UnifiedWatermark::encodeReadable() on the chosen field, in the place of the grid last written or found.
    /// @return false, with nothing written, also for a select other than FieldFrameTop and FieldFrameBottom.
    bool encodeReadable(T& img, FieldFrameSelect select, BGRImg& readable);
    /// Reads the top field's grid into values[0], then the bottom field's into values[1].
    /// @return false when values is null or the top field has no grid (values is unchanged), or the bottom field has
    /// none (values[0] is read, values[1] unchanged).
    [[nodiscard]] bool decode(T& img, TimeCodeValue* const values);
    /// Reads one field, whatever stands in the other; bits() then tells of this field.
    /// @return false, with value unchanged, for a field without a grid and for any other select.
    [[nodiscard]] bool decode(T& img, FieldFrameSelect select, TimeCodeValue& value);
};

extern template class UnifiedWatermarkInterlace<I420Img>;
extern template class UnifiedWatermarkInterlace<YV16Img>;

}  // namespace Orvel
