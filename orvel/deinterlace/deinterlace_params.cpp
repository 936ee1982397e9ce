#include "orvel/deinterlace/deinterlace_params.h"

#include <new>

namespace Orvel {

DeinterlaceImgParams::~DeinterlaceImgParams() = default;

DeinterlaceImgParams* DeinterlaceImgParams::newAlloc(DeinterlaceType type) {
    switch (type) {
        case DeinterlaceTypeTriangle:
            return new (std::nothrow) DeinterlaceTriangleImgParams;
        case DeinterlaceTypeCAVT:
            return new (std::nothrow) DeinterlaceCAVTImgParams;
        case DeinterlaceTypeBlend:
            return new (std::nothrow) DeinterlaceBlendImgParams;
        default:
            return nullptr;
    }
}

void DeinterlaceImgParams::deleteDealloc(DeinterlaceImgParams*& params) {
    delete params;
    params = nullptr;
}

}  // namespace Orvel
