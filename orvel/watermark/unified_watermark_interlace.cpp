#include "orvel/watermark/unified_watermark_interlace.h"

#include <new>

#include "orvel/img/i420_img.h"
#include "orvel/img/yv16_img.h"

namespace Orvel {
namespace {

/// Runs body(top, bottom) on views of the fields. @return what it answers; false when memory for the views runs out.
template <class T, class Body>
bool onFields(const T& img, const Body& body) {
    try {
        T top, bottom;
        img.getTopFieldShadow(top);
        img.getBottomFieldShadow(bottom);
        return top.numPlanes() == img.numPlanes() && bottom.numPlanes() == img.numPlanes() && body(top, bottom);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

/// The same on one of them; false for a select that names no field.
template <class T, class Body>
bool onField(const T& img, FieldFrameSelect select, const Body& body) {
    if (select != FieldFrameTop && select != FieldFrameBottom) return false;
    return onFields(img, [&](T& top, T& bottom) { return body(select == FieldFrameTop ? top : bottom); });
}

}  // namespace

template <class T>
bool UnifiedWatermarkInterlace<T>::encode(T& img, TimeCodeValue tc, tagSIZE* size) {
    return onFields(img, [&](T& top, T& bottom) {
        tc.topField = true, tc.bottomField = false;
        if (!UnifiedWatermark<T>::encode(top, tc, nullptr)) return false;
        tc.topField = false, tc.bottomField = true;
        return UnifiedWatermark<T>::encode(bottom, tc, size);
    });
}

template <class T>
bool UnifiedWatermarkInterlace<T>::encodeReadable(T& img, FieldFrameSelect select, BGRImg& readable) {
    return onField(img, select, [&](T& field) { return UnifiedWatermark<T>::encodeReadable(field, readable); });
}

template <class T>
bool UnifiedWatermarkInterlace<T>::decode(T& img, TimeCodeValue* const values) {
    if (values == nullptr) return false;
    return onFields(img, [&](T& top, T& bottom) {
        return UnifiedWatermark<T>::decode(top, values[0]) && UnifiedWatermark<T>::decode(bottom, values[1]);
    });
}

template <class T>
bool UnifiedWatermarkInterlace<T>::decode(T& img, FieldFrameSelect select, TimeCodeValue& value) {
    return onField(img, select, [&](T& field) { return UnifiedWatermark<T>::decode(field, value); });
}

template class UnifiedWatermarkInterlace<I420Img>;
template class UnifiedWatermarkInterlace<YV16Img>;

}  // namespace Orvel
