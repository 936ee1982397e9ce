#pragma once
#include <cstdint>

namespace Orvel {

/// A size in pixels.
struct tagSIZE {
    std::int32_t cx = 0;  ///< width
    std::int32_t cy = 0;  ///< height
};

/// A position in pixels, from the top left corner.
struct tagPOINT {
    std::int32_t x = 0;
    std::int32_t y = 0;
};

/// Which lines of a picture an operation works on. Values other than 1 and 2 mean the whole frame unless the
/// operation says otherwise.
enum FieldFrameSelect : std::int32_t {
    FieldFrameTop = 1,     ///< lines 0, 2, 4, ...
    FieldFrameBottom = 2,  ///< lines 1, 3, 5, ...
    FieldFrameBoth = 3,    ///< the whole frame
};

}  // namespace Orvel
