#pragma once
#include <cstdint>

#include "orvel/sys/api.h"

namespace Orvel {

/// The deinterlacers. Other values name none.
enum DeinterlaceType : std::int32_t {
    DeinterlaceTypeNone = -1,
    DeinterlaceTypeTriangle = 1,  ///< vertical three-tap filter; the only one for 16-bit pictures
    DeinterlaceTypeCAVT = 2,      ///< content-adaptive vertical-temporal filter
    DeinterlaceTypeBlend = 7,     ///< motion-adaptive over three frames
};

/// What every deinterlacer is told. Made and destroyed by newAlloc() and deleteDealloc(); records made otherwise with
/// new may be destroyed by deleteDealloc() as well.
struct ORVEL_API DeinterlaceImgParams {
    std::int32_t width = 0;  ///< picture size that the deinterlacer accepts, in pixels
    std::int32_t height = 0;
    std::uint8_t planeEnable[4] = {1, 1, 1, 1};  ///< per plane: nonzero deinterlaces it
    std::int32_t nonDeinterlacedMode = 1;  ///< planes not enabled: 1 copies them, other values leave them untouched
    bool keepUserData = false;             ///< move the user data of the frames used into the output

    DeinterlaceImgParams() = default;
    DeinterlaceImgParams(const DeinterlaceImgParams&) = default;
    DeinterlaceImgParams& operator=(const DeinterlaceImgParams&) = default;
    virtual ~DeinterlaceImgParams();

    /// A record of the kind that belongs to type, with its defaults, owned by the caller; null for an unknown type or
    /// when memory runs out.
    [[nodiscard]] static DeinterlaceImgParams* newAlloc(DeinterlaceType type);
    /// Frees the record, of whatever kind, and sets the pointer to null.
    static void deleteDealloc(DeinterlaceImgParams*& params);
};

struct ORVEL_API DeinterlaceTriangleImgParams : DeinterlaceImgParams {
    std::uint32_t centerWeight = 128;  ///< weight of the centre line, 256 is 1.0; its neighbours share the rest
    std::int32_t layout = 21;          ///< border rows that are picture edges: 1 upper, 4 centre, 16 lower, added up
};

struct ORVEL_API DeinterlaceCAVTImgParams : DeinterlaceImgParams {
    bool topField = true;            ///< keep the top field and generate the bottom one; false: the other way round
    std::uint16_t threshold = 1000;  ///< 0 purely spatial ... 2041 always vertical-temporal
};

struct ORVEL_API DeinterlaceBlendImgParams : DeinterlaceImgParams {
    bool topFirst = true;                   ///< field order of the source
    std::int32_t blendThresh[2] = {5, 9};   ///< motion thresholds, 0 to 255
    double blendConstants[2] = {0.3, 0.7};  ///< weight of the interpolated value below each threshold, 0.0 to 1.0
    bool doubleRate = false;                ///< one picture per field instead of one per frame
};

}  // namespace Orvel
