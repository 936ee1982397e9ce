#pragma once
#include <cstdint>

namespace Orvel::primitives {

/// How a primitive writes its results; the bytes are the same.
enum class Stores : std::uint8_t {
    cached,  ///< into the cache, where the next reader finds them
    /// Past the cache, without reading the lines that are overwritten: faster once an operation's pictures don't stay
    /// in the cache anyway, slower below. Primitives do so where rows begin on vector boundaries.
    streaming,
};

}  // namespace Orvel::primitives
