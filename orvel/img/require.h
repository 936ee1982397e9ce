#pragma once
#include <stdexcept>

#include "orvel/primitives/status.h"

namespace Orvel {

/// How a parallel body says that a primitive failed.
inline void require(primitives::Status status, const char* failure) {
    if (status != primitives::Status::ok) throw std::runtime_error(failure);
}

}  // namespace Orvel
