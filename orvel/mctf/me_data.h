#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "orvel/mctf/me_block_data.h"
#include "orvel/sys/api.h"

namespace Orvel {

/// The motion of one picture: a record for every 8x8 block, row by row from the top left. Different records may be used
/// from different threads.
class ORVEL_API MEData {
public:
    /// Without blocks.
    MEData() noexcept;
    ~MEData();
    MEData(const MEData&) = delete;
    MEData& operator=(const MEData&) = delete;

    /// Takes n records and zeroes them; what was held before is let go of.
    /// @return false when n is negative or memory runs out: there are then no blocks.
    [[nodiscard]] bool allocate(int n) noexcept;
    /// Zeroes all records.
    void clear() noexcept;

    int numBlocks() const noexcept { return count_; }
    /// A copy of record i; a zeroed one when there is no such block.
    MEBlockData getBlockData(int i) const noexcept {
        return i >= 0 && i < count_ ? blocks_[static_cast<std::size_t>(i)] : MEBlockData{};
    }
    /// All records, in place.
    std::span<const MEBlockData> blocks() const noexcept { return {blocks_.get(), static_cast<std::size_t>(count_)}; }
    /// Stores record i; does nothing when there is no such block.
    void setBlockData(MEBlockData data, int i) noexcept {
        if (i >= 0 && i < count_) blocks_[static_cast<std::size_t>(i)] = data;
    }

private:
    std::unique_ptr<MEBlockData[]> blocks_;
    std::int32_t count_ = 0;
};

}  // namespace Orvel
