#pragma once
#include <tbb/blocked_range.h>
#include <tbb/blocked_range2d.h>

#include "orvel/mctf/me_data.h"
#include "orvel/mctf/pic_data.h"
#include "orvel/sys/api.h"

namespace Orvel {

/// Copies the motion of a range of blocks (rows x columns of the grid) into the records of a picture: the vector, half
/// of it, rounded toward minus infinity, for each chroma plane, the cost and the two further words. Blocks outside the
/// picture's grid are left out. Run it with tbb::parallel_for; picture and motion must outlive the loop.
class ORVEL_API MapMEData {
public:
    MapMEData(PicData& pic, const MEData& data) noexcept : pic_(pic), data_(data) {}
    void operator()(const tbb::blocked_range2d<int>& blocks) const;
    /// The same for whole rows of blocks.
    void operator()(const tbb::blocked_range<int>& rows) const;

private:
    PicData& pic_;
    const MEData& data_;
};

}  // namespace Orvel
