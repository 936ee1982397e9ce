#include "orvel/mctf/map_me_data.h"

#include <algorithm>

namespace Orvel {

void MapMEData::operator()(const tbb::blocked_range2d<int>& blocks) const {
    for (int row = blocks.rows().begin(); row < blocks.rows().end(); ++row) {
        const std::span<BlockData> records = pic_.blockRow(row);
        const int last = std::min(blocks.cols().end(), static_cast<int>(records.size()));
        for (int col = std::max(blocks.cols().begin(), 0); col < last; ++col) {
            BlockData& to = records[static_cast<std::size_t>(col)];
            const MEBlockData from = data_.getBlockData(row * pic_.blkCols() + col);
            to.mvx = from.mvx;
            to.mvy = from.mvy;
            to.mvxU = to.mvxV = from.mvx >> 1;
            to.mvyU = to.mvyV = from.mvy >> 1;
            to.sad = from.sad;
            to.aux1 = from.aux1;
            to.aux2 = from.aux2;
        }
    }
}

void MapMEData::operator()(const tbb::blocked_range<int>& rows) const {
    (*this)(tbb::blocked_range2d<int>(rows.begin(), rows.end(), 0, pic_.blkCols()));
}

}  // namespace Orvel
