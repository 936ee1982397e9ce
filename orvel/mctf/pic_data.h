#pragma once
#include <cstdint>
#include <memory>
#include <span>

#include "orvel/img/i420_img.h"
#include "orvel/mctf/block_data.h"
#include "orvel/sys/api.h"

namespace Orvel {

class MEData;

/// A picture with what the temporal filter measures of its blocks, and the filter's blend.
///
/// allocateBlocks() gives it the block records; its pixels are usually a view of somebody else's picture
/// (Img::shadowCopy()), and the operations need them to have the size given there. The grid consists of the whole 8x8
/// luma blocks; strips narrower than a block belong to none.
///
/// The order of a picture: map the motion into the records (MapMEData), calculatePictureActivity(),
/// calculatePictureBlockiness(), filterPic(); measureAndFilter() does all four. Rows of blocks run in parallel on all
/// cores; all sums are exact, so results never depend on that. Operations return false, with nothing changed, without
/// blocks or with pictures of another size.
class ORVEL_API PicData : public I420Img {
public:
    /// Without pixels and blocks. Throws std::bad_alloc.
    PicData();
    ~PicData() override;

    /// Takes zeroed records for the blocks of a width x height picture and zeroes all measures.
    /// @return false for a picture smaller than one block or when memory runs out: there are then no blocks.
    [[nodiscard]] bool allocateBlocks(int width, int height) noexcept;
    /// Lets go of the records; the pixels stay. May be called twice.
    void deallocateBlocks() noexcept;
    int blkCols() const noexcept { return blkCols_; }
    int blkRows() const noexcept { return blkRows_; }
    /// The records of one row of blocks, from the left; empty for a row that does not exist.
    std::span<BlockData> blockRow(int row) noexcept;
    std::span<const BlockData> blockRow(int row) const noexcept;

    /// Measures the activity of every block; their sum, at most 2^31 - 1, is the picture's.
    [[nodiscard]] bool calculatePictureActivity();
    /// Measures how far the blocks of a prediction stand out from their neighbours, and derives from that by how many
    /// levels each of them is filtered less, luma and chroma apart: a strong edge is the mark of a poor match.
    [[nodiscard]] bool calculatePictureBlockiness(I420Img& pred);
    /// The filter level for a base strength and the noise of the picture before, 0 .. 7; always 0 for a base of 0 or
    /// less. At the base levels 2 and 3 a clean picture (noise below 275) lowers it by up to two; strong noise (above
    /// 375) raises every level by up to two.
    static int calculateFilterStrength(int base, float noise) noexcept;
    /// out = this picture blended with its prediction, each block at the level of the picture less its own reductions
    /// (chroma never above luma, and starting from base alone); strips outside the blocks are copied. Then measures the
    /// picture's noise.
    /// @param noise the noise figure of the picture before.
    /// @return false also when the planes of out have other sizes than this picture's.
    [[nodiscard]] bool filterPic(I420Img& out, I420Img& pred, int base, float noise);
    /// All of the above in one pass over the rows, each of them while it is in the caches: maps the motion, measures
    /// activity and blockiness, and does what filterPic() does.
    /// @param keep whether this picture takes the pixels of out.
    /// @return false also when motion has fewer blocks.
    [[nodiscard]] bool measureAndFilter(I420Img& out, I420Img& pred, const MEData& motion, int base, float noise,
                                        bool keep = false);
    /// Measures the noise of every block and from that, over the blocks that are not almost flat, the noise figure.
    [[nodiscard]] bool calculatePictureNoise();
    /// Measures the noise of the blocks in one row of the grid. It is the smaller one of what the motion match left and
    /// of the fine structure in the block, so that neither motion nor texture passes for noise.
    [[nodiscard]] bool xCalcBlockNoise(int row);

    std::int32_t getPictureActivity() const noexcept { return activity_; }
    float getNoiseFigure() const noexcept { return noise_; }
    /// The level and the chroma base of the last filterPic().
    std::int32_t getStrength() const noexcept { return strength_; }
    std::int32_t getChromaBase() const noexcept { return chromaBase_; }

private:
    bool fits(const Img& out, const Img& pred) const noexcept;
    void setActivity(std::int64_t sum) noexcept;
    void setStrength(int base, float noise) noexcept;
    void copyBelowBlocks(I420Img& out) const;
    void measureNoise(int row);
    void takeRow(int row, const I420Img& out);
    float noiseOfBusyBlocks() const noexcept;

    std::unique_ptr<BlockData[]> blocks_;
    std::int32_t width_ = 0, height_ = 0;  ///< size the blocks were taken for, in luma samples
    std::int32_t blkCols_ = 0, blkRows_ = 0;
    std::int32_t activity_ = 0;
    float noise_ = 0;
    std::int32_t strength_ = 0, chromaBase_ = 0;
};

}  // namespace Orvel
