#include "orvel/mctf/pic_data.h"

#include <tbb/blocked_range.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <limits>
#include <new>
#include <stdexcept>

#include "orvel/img/parallel_rows.h"
#include "orvel/img/require.h"
#include "orvel/mctf/block_grid.h"
#include "orvel/mctf/map_me_data.h"
#include "orvel/primitives/block_statistics.h"
#include "orvel/primitives/fill.h"
#include "orvel/primitives/temporal_blend.h"

namespace Orvel {
namespace {

using primitives::ConstViewU8;
using primitives::ViewU8;
using Rows = tbb::blocked_range<int>;

/// As many blocks as the bodies below work on at once; their measures stand on the stack.
constexpr std::size_t blocksAtOnce = 128;

/// Calls body(first, records) for runs of the records of a row of blocks.
template <class Record, class Body>
void forEachRunOf(std::span<Record> row, const Body& body) {
    for (std::size_t first = 0; first < row.size(); first += blocksAtOnce)
        body(static_cast<int>(first), row.subspan(first, std::min(blocksAtOnce, row.size() - first)));
}

/// A run of the blocks in a row of a plane's grid.
template <class T>
primitives::PlaneView<T> runOf(primitives::PlaneView<T> plane, int side, int row, int first,
                               std::size_t count) noexcept {
    return {plane.row(row * side) + std::ptrdiff_t{first} * side, plane.step, static_cast<int>(count) * side, side};
}

/// Measures activities; their sum is added to total.
class CalcPicActivity {
public:
    CalcPicActivity(PicData& pic, std::atomic<std::int64_t>& total)
        : pic_(pic), luma_(planeView<const std::uint8_t>(pic, 0)), total_(total) {}

    void operator()(const Rows& rows) const {
        std::int64_t sum = 0;
        for (int row = rows.begin(); row < rows.end(); ++row)
            forEachRunOf(pic_.blockRow(row), [&](int first, std::span<BlockData> blocks) {
                std::int32_t values[blocksAtOnce];
                require(primitives::blockActivity(runOf(luma_, 8, row, first, blocks.size()), {values, blocks.size()}),
                        "blockActivity failed");
                for (std::size_t i = 0; i < blocks.size(); ++i) sum += blocks[i].activity = values[i];
            });
        total_ += sum;  // whole numbers: the order of the bands does not matter
    }

private:
    PicData& pic_;
    ConstViewU8 luma_;
    std::atomic<std::int64_t>& total_;
};

/// How many of the limits a value reaches.
int limitsReached(int value, const std::array<int, 5>& limits) noexcept {
    return static_cast<int>(std::count_if(limits.begin(), limits.end(), [value](int limit) { return value >= limit; }));
}

/// Measures the edges of a prediction's blocks and sets the reductions.
class CalcBlockiness {
public:
    CalcBlockiness(PicData& pic, const Img& pred, BlockGrid grid) : pic_(pic) {
        for (int p = 0; p < 3; ++p)
            grid_[static_cast<std::size_t>(p)] = grid.of(planeView<const std::uint8_t>(pred, p), p);
    }

    void operator()(const Rows& rows) const {
        for (int row = rows.begin(); row < rows.end(); ++row)
            forEachRunOf(pic_.blockRow(row), [&](int first, std::span<BlockData> blocks) {
                std::int32_t y[blocksAtOnce], u[blocksAtOnce], v[blocksAtOnce];
                measure(0, row, first, {y, blocks.size()});
                measure(1, row, first, {u, blocks.size()});
                measure(2, row, first, {v, blocks.size()});
                for (std::size_t i = 0; i < blocks.size(); ++i) {
                    blocks[i].blockiness = y[i];
                    blocks[i].lumaReduction = limitsReached(y[i], {9, 17, 26, 36, 48});
                    blocks[i].chromaReduction = limitsReached(std::max(u[i], v[i]), {5, 9, 14, 19, 23});
                }
            });
    }

private:
    void measure(int plane, int row, int first, std::span<std::int32_t> steps) const {
        require(primitives::blockEdgeSteps(grid_[static_cast<std::size_t>(plane)], BlockGrid::side(plane), row, first,
                                           steps),
                "ippiNormDiff_L1_8u_C1R failed");
    }

    PicData& pic_;
    std::array<ConstViewU8, 3> grid_;
};

/// Levels of a picture before the reductions of its blocks.
struct Strength {
    int luma, chromaBase;
};

/// Blends rows of blocks, and copies what lies right of them.
class FilterPic {
public:
    FilterPic(const PicData& pic, Img& out, const Img& pred, BlockGrid grid, Strength strength)
        : pic_(pic), out_(out), pred_(pred), grid_(grid), strength_(strength) {}

    void operator()(const Rows& rows) const {
        for (int row = rows.begin(); row < rows.end(); ++row) {
            forEachRunOf(pic_.blockRow(row),
                         [&](int first, std::span<const BlockData> blocks) { blend(row, first, blocks); });
            for (int p = 0; p < 3; ++p) copyRightStrip(p, row);
        }
    }

private:
    void blend(int row, int first, std::span<const BlockData> blocks) const {
        std::uint8_t luma[blocksAtOnce], chroma[blocksAtOnce];
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            luma[i] = static_cast<std::uint8_t>(std::max(0, strength_.luma - blocks[i].lumaReduction));
            const int level = std::max(0, strength_.chromaBase - blocks[i].chromaReduction);
            chroma[i] = static_cast<std::uint8_t>(std::min(int{luma[i]}, level));
        }
        for (int p = 0; p < 3; ++p) {
            const auto run = [&](auto plane) { return runOf(plane, BlockGrid::side(p), row, first, blocks.size()); };
            require(primitives::temporalBlend(
                        run(planeView<const std::uint8_t>(pic_, p)), run(planeView<const std::uint8_t>(pred_, p)),
                        {p == 0 ? luma : chroma, blocks.size()}, run(planeView<std::uint8_t>(out_, p))),
                    "temporalBlend failed");
        }
    }

    void copyRightStrip(int plane, int row) const {
        const int side = BlockGrid::side(plane);
        const auto strip = [&](auto view) { return grid_.rightOf(view, plane).band(row * side, (row + 1) * side); };
        if (const auto from = strip(planeView<const std::uint8_t>(pic_, plane)); from.valid())
            require(primitives::copy(from, strip(planeView<std::uint8_t>(out_, plane))), "ippiCopy_8u_C1R failed");
    }

    const PicData& pic_;
    Img& out_;
    const Img& pred_;
    BlockGrid grid_;
    Strength strength_;
};

/// Noise of a block from its match and its fine structure. Both measures expect about 83 times the deviation of white
/// noise. The value follows straight pieces whose knots put the limits of calculateFilterStrength() where the levels
/// they switch to are the better ones.
int blockNoise(std::int32_t sad, std::int32_t fineStructure) noexcept {
    const int temporal = (std::clamp(sad, 0, 16320) * 294 + 128) >> 8;
    const int spatial = (fineStructure * 123 + 128) >> 8;
    const int raw = std::min(temporal, spatial);
    if (raw <= 320) return (9 * raw) >> 4;
    if (raw <= 1344) return 180 + ((11 * (raw - 320)) >> 7);
    if (raw <= 1456) return 268 + (raw - 1344);
    return 380 + ((3 * (raw - 1456)) >> 3);
}

bool samePlaneSizes(const Img& a, const Img& b) noexcept {
    for (int p = 0; p < 3; ++p)
        if (a.getWidth(p) != b.getWidth(p) || a.getHeight(p) != b.getHeight(p)) return false;
    return true;
}

}  // namespace

PicData::PicData() = default;
PicData::~PicData() = default;

bool PicData::allocateBlocks(int width, int height) noexcept {
    deallocateBlocks();
    if (width < 8 || height < 8) return false;
    const auto grid = BlockGrid::of(width, height);
    const std::int64_t count = std::int64_t{grid.cols} * grid.rows;
    if (count > std::numeric_limits<std::int32_t>::max() / std::int64_t{sizeof(BlockData)}) return false;
    blocks_.reset(new (std::nothrow) BlockData[static_cast<std::size_t>(count)]);
    if (blocks_ == nullptr) return false;
    width_ = width;
    height_ = height;
    blkCols_ = grid.cols;
    blkRows_ = grid.rows;
    return true;
}

void PicData::deallocateBlocks() noexcept {
    blocks_.reset();
    width_ = height_ = blkCols_ = blkRows_ = 0;
    activity_ = strength_ = chromaBase_ = 0;
    noise_ = 0;
}

std::span<BlockData> PicData::blockRow(int row) noexcept {
    if (row < 0 || row >= blkRows_) return {};
    const auto cols = static_cast<std::size_t>(blkCols_);
    return {blocks_.get() + static_cast<std::size_t>(row) * cols, cols};
}

std::span<const BlockData> PicData::blockRow(int row) const noexcept {
    return const_cast<PicData*>(this)->blockRow(row);
}

void PicData::setActivity(std::int64_t sum) noexcept {
    activity_ = static_cast<std::int32_t>(std::min<std::int64_t>(sum, std::numeric_limits<std::int32_t>::max()));
}

bool PicData::calculatePictureActivity() {
    if (blocks_ == nullptr || !isPictureOf(*this, width_, height_)) return false;
    std::atomic<std::int64_t> total{0};
    if (!parallelRows(blkRows_, CalcPicActivity(*this, total))) return false;
    setActivity(total);
    return true;
}

bool PicData::calculatePictureBlockiness(I420Img& pred) {
    if (blocks_ == nullptr || !isPictureOf(pred, width_, height_)) return false;
    return parallelRows(blkRows_, CalcBlockiness(*this, pred, {blkCols_, blkRows_}));
}

int PicData::calculateFilterStrength(int base, float noise) noexcept {
    if (base <= 0) return 0;
    int level = std::min(base, 100);  // far above what the clamp lets pass
    if (base == 2 || base == 3)
        level -= noise < 180 ? 2 : noise < 275 ? 1 : 0;
    else
        level -= noise < 180 ? 1 : 0;
    level += noise > 575 ? 2 : noise > 375 ? 1 : 0;
    return std::clamp(level, 0, primitives::temporalBlendLevels - 1);
}

bool PicData::fits(const Img& out, const Img& pred) const noexcept {
    return blocks_ != nullptr && isPictureOf(*this, width_, height_) && isPictureOf(out, width_, height_) &&
           isPictureOf(pred, width_, height_) && samePlaneSizes(*this, out);
}

void PicData::setStrength(int base, float noise) noexcept {
    strength_ = calculateFilterStrength(base, noise);
    chromaBase_ = base;
}

void PicData::copyBelowBlocks(I420Img& out) const {
    const BlockGrid grid{blkCols_, blkRows_};
    for (int p = 0; p < 3; ++p)
        if (const auto strip = grid.below(planeView<const std::uint8_t>(*this, p), p); strip.valid())
            static_cast<void>(primitives::copy(strip, grid.below(planeView<std::uint8_t>(out, p), p)));
}

/// Copies a row of blocks; all else in out is this picture's in any case.
void PicData::takeRow(int row, const I420Img& out) {
    for (int p = 0; p < 3; ++p) {
        const int side = BlockGrid::side(p);
        const auto blocks = [&](auto plane) { return runOf(plane, side, row, 0, static_cast<std::size_t>(blkCols_)); };
        require(
            primitives::copy(blocks(planeView<const std::uint8_t>(out, p)), blocks(planeView<std::uint8_t>(*this, p))),
            "ippiCopy_8u_C1R failed");
    }
}

bool PicData::filterPic(I420Img& out, I420Img& pred, int base, float noise) {
    if (!fits(out, pred)) return false;
    setStrength(base, noise);
    if (!parallelRows(blkRows_, FilterPic(*this, out, pred, {blkCols_, blkRows_}, {strength_, chromaBase_})))
        return false;
    copyBelowBlocks(out);
    return calculatePictureNoise();
}

bool PicData::measureAndFilter(I420Img& out, I420Img& pred, const MEData& motion, int base, float noise, bool keep) {
    if (!fits(out, pred) || motion.numBlocks() < std::int64_t{blkCols_} * blkRows_) return false;
    setStrength(base, noise);
    const BlockGrid grid{blkCols_, blkRows_};
    std::atomic<std::int64_t> activity{0};
    const MapMEData map(*this, motion);
    const CalcPicActivity measureActivity(*this, activity);
    const CalcBlockiness measureBlockiness(*this, pred, grid);
    const FilterPic blend(*this, out, pred, grid, {strength_, chromaBase_});
    const auto allSteps = [&](const Rows& rows) {
        for (int row = rows.begin(); row < rows.end(); ++row) {
            const Rows one(row, row + 1);
            map(one);
            measureActivity(one);
            measureBlockiness(one);
            blend(one);
            measureNoise(row);
            if (keep) takeRow(row, out);  // which nothing reads any more
        }
    };
    if (!parallelRows(blkRows_, allSteps)) return false;
    setActivity(activity);
    copyBelowBlocks(out);
    noise_ = noiseOfBusyBlocks();
    return true;
}

bool PicData::xCalcBlockNoise(int row) {
    const std::span<BlockData> records = blockRow(row);
    if (records.empty() || !isPictureOf(*this, width_, height_)) return false;
    const auto luma = planeView<const std::uint8_t>(*this, 0);
    bool measured = true;
    forEachRunOf(records, [&](int first, std::span<BlockData> blocks) {
        std::int32_t structure[blocksAtOnce];
        measured = measured && primitives::blockFineStructure(runOf(luma, 8, row, first, blocks.size()),
                                                              {structure, blocks.size()}) == primitives::Status::ok;
        for (std::size_t i = 0; measured && i < blocks.size(); ++i)
            blocks[i].noise = blockNoise(blocks[i].sad, structure[i]);
    });
    return measured;
}

void PicData::measureNoise(int row) {
    if (!xCalcBlockNoise(row)) throw std::runtime_error("blockFineStructure failed");
}

bool PicData::calculatePictureNoise() {
    if (blocks_ == nullptr || !isPictureOf(*this, width_, height_)) return false;
    const auto rowsOfBlocks = [this](const Rows& rows) {
        for (int row = rows.begin(); row < rows.end(); ++row) measureNoise(row);
    };
    if (!parallelRows(blkRows_, rowsOfBlocks)) return false;
    noise_ = noiseOfBusyBlocks();
    return true;
}

/// Mean noise of the blocks whose activity exceeds a threshold, which starts at an eighth of the mean activity and
/// rises while fewer than a tenth of the blocks exceed it.
float PicData::noiseOfBusyBlocks() const noexcept {
    const std::int64_t blocks = std::int64_t{blkCols_} * blkRows_;
    const auto all = static_cast<float>(blocks);
    float threshold = static_cast<float>(activity_) / all * 0.125f;
    std::int64_t sum = 0, count = 0;
    for (int pass = 0; pass < 10; ++pass) {
        sum = count = 0;
        for (const BlockData& block : std::span(blocks_.get(), static_cast<std::size_t>(blocks))) {
            if (!(static_cast<float>(block.activity) > threshold)) continue;
            sum += std::max(block.noise, 0);
            ++count;
        }
        const float next = threshold - static_cast<float>(count - blocks / 10) * threshold / (2 * all);
        if (!(next > threshold)) break;  // every further pass would be this one again
        threshold = next;
    }
    return count == 0 ? 0.0f : static_cast<float>(static_cast<double>(sum) / static_cast<double>(count));
}

}  // namespace Orvel
