#pragma once
#include "orvel/pipeline/process_video_params.h"

namespace Orvel::test {

/// Default parameters for sources of this size.
template <class T>
ProcessVideoParams<T> sized(int width, int height) {
    ProcessVideoParams<T> p;
    p.srcWidth = width;
    p.srcHeight = height;
    return p;
}

}  // namespace Orvel::test
