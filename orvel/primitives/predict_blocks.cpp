#include "orvel/primitives/predict_blocks.h"

#include <cstring>

#include "orvel/primitives/interpolate_chroma.h"
#include "orvel/primitives/interpolate_luma.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/predict_blocks.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/luma_halves_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

/// The square block of a run that starts at column x.
HWY_INLINE ViewU8 blockAt(const ViewU8& run, int x) {
    return {run.base + x, run.step, run.height, run.height};
}

/// Whether width x height samples from (x, y) on exist.
HWY_INLINE bool holds(const ConstViewU8& frame, std::int64_t x, std::int64_t y, int width, int height) {
    return (x | y | (frame.width - width - x) | (frame.height - height - y)) >= 0;  // none of them is negative
}

template <int side>
HWY_INLINE void copyBlock(const std::uint8_t* from, std::ptrdiff_t step, const ViewU8& dst) {
    for (int y = 0; y < side; ++y) std::memcpy(dst.row(y), from + y * step, side);
}

#if HWY_TARGET == HWY_SCALAR

HWY_INLINE bool predictHalves(const std::uint8_t*, std::ptrdiff_t, int, int, const ViewU8&) {
    return false;
}

HWY_INLINE bool predictEighths(const ConstViewU8&, const ConstViewU8&, int, int, const ViewU8&, const ViewU8&) {
    return false;
}

#else

constexpr int rowsAtOnce = pairAtOnce ? 2 : 1;

/// Takes the rows of a block, rowsAtOnce from each call of rows(y), as words that are not yet clipped.
template <class Rows>
HWY_INLINE void storeRows(const ViewU8& dst, const Rows& rows) {
    const hn::Half<D8x16> eight;
    const auto store = [&](auto two, int y) HWY_ATTR {
        hn::StoreU(hn::LowerHalf(eight, two), eight, dst.row(y));
        hn::StoreU(hn::UpperHalf(eight, two), eight, dst.row(y + rowsAtOnce));
    };
    HWY_UNROLL(4)
    for (int y = 0; y < 8; y += 2 * rowsAtOnce) {
        const V8 packed = packBlocks(rows(y), rows(y + rowsAtOnce));
        store(lowerHalf(packed), y);
        if (pairAtOnce) store(upperHalf(packed), y + 1);
    }
}

HWY_INLINE void predictRight(const std::uint8_t* at, std::ptrdiff_t step, const ViewU8& dst) {
    storeRows(dst,
              [&](int y) HWY_ATTR { return halfSampleUnclipped(sumsAlongRow(loadSamples(at + y * step - 2, step))); });
}

HWY_INLINE void predictBelow(const std::uint8_t* at, std::ptrdiff_t step, const ViewU8& dst) {
    V8 pairs[12];  // samples beside the ones below them, from two rows above the block on
    for (int i = 0; i < 12; i += rowsAtOnce) {
        const auto row = [&](int y) HWY_ATTR { return loadSamples(at + y * step, step); };
        pairs[i] = hn::InterleaveLower(D8(), row(i - 2), row(i - 1));
    }
    storeRows(dst, [&](int y) HWY_ATTR {
        return halfSampleUnclipped(sixTapSumOfPairs(pairs[y], pairs[y + 2], pairs[y + 4]));
    });
}

HWY_INLINE void predictCentre(const std::uint8_t* at, std::ptrdiff_t step, const ViewU8& dst) {
    constexpr int n = 14 - rowsAtOnce;
    V16 sums[n];  // of rows, from two above the block on
    for (int i = 0; i < n; ++i) sums[i] = sumsAlongRow(loadSamples(at + (i - 2) * step - 2, step));
    storeRows(dst, [&](int y) HWY_ATTR {
        const V16* s = sums + y;
        return centreSampleUnclipped(hn::Add(s[0], s[5]), hn::Add(s[1], s[4]), hn::Add(s[2], s[3]));
    });
}

/// An 8x8 block of half samples at fractions of 0 or 2; at: the sample of its top left corner, with 2 more to the left
/// and above, 15 to the right and 10 below. @return false for other fractions.
HWY_INLINE bool predictHalves(const std::uint8_t* at, std::ptrdiff_t step, int fx, int fy, const ViewU8& dst) {
    if (fx == 2 && fy == 0) return predictRight(at, step, dst), true;
    if (fx == 0 && fy == 2) return predictBelow(at, step, dst), true;
    if (fx == 2 && fy == 2) return predictCentre(at, step, dst), true;
    return false;
}

/// The weights of two neighbouring samples, for sumPairProducts().
HWY_INLINE hn::Vec<D8Signed> pairWeights(int low, int high) {
    const hn::Repartition<std::uint16_t, D8> d;
    return hn::BitCast(D8Signed(), hn::Set(d, static_cast<std::uint16_t>(high << 8 | low)));
}

/// 4x4 blocks of both planes at eighths of samples, side by side; 8 samples of 5 rows exist. @return true.
HWY_INLINE bool predictEighths(const ConstViewU8& u, const ConstViewU8& v, int dx, int dy, const ViewU8& dstU,
                               const ViewU8& dstV) {
    HWY_ALIGN static constexpr std::uint8_t neighbours[32] = {0, 1, 1, 2, 2, 3, 3, 4, 8, 9, 9, 10, 10, 11, 11, 12,
                                                              0, 1, 1, 2, 2, 3, 3, 4, 8, 9, 9, 10, 10, 11, 11, 12};
    const V8 order = hn::Load(D8(), neighbours);
    const auto across = pairWeights(8 - dx, dx);
    const auto samples = [&](int y) HWY_ATTR {
        const hn::Half<D8x16> eight;
        return hn::Combine(D8x16(), hn::LoadU(eight, v.row(y)), hn::LoadU(eight, u.row(y)));
    };
    const auto along = [&](int y) HWY_ATTR {
        const V8 rows = fromHalves(D8(), samples(y), samples(y + rowsAtOnce - 1));
        return sumPairProducts(hn::TableLookupBytes(rows, order), across);
    };
    const auto word = [](int w) HWY_ATTR { return hn::Set(D16(), static_cast<std::int16_t>(w)); };
    const auto upper = word(8 - dy), lower = word(dy), half = word(32);
    const auto rows = [&](int y) HWY_ATTR {
        return hn::ShiftRight<6>(hn::Add(hn::Add(hn::Mul(along(y), upper), hn::Mul(along(y + 1), lower)), half));
    };
    const auto store = [&](auto two, int y) HWY_ATTR {
        HWY_ALIGN std::uint8_t bytes[16];
        hn::Store(two, D8x16(), bytes);
        std::memcpy(dstU.row(y), bytes, 4);
        std::memcpy(dstV.row(y), bytes + 4, 4);
        std::memcpy(dstU.row(y + rowsAtOnce), bytes + 8, 4);
        std::memcpy(dstV.row(y + rowsAtOnce), bytes + 12, 4);
    };
    for (int y = 0; y < 4; y += 2 * rowsAtOnce) {
        const V8 packed = packBlocks(rows(y), rows(y + rowsAtOnce));
        store(lowerHalf(packed), y);
        if (pairAtOnce) store(upperHalf(packed), y + 1);
    }
    return true;
}

#endif

void predictLumaRun(const ConstViewU8& frame, int left, int top, std::span<const BlockVector> vectors,
                    const ViewU8& dst) {
    for (int i = 0; i < static_cast<int>(vectors.size()); ++i) {
        const BlockVector v = vectors[static_cast<std::size_t>(i)];
        const ViewU8 block = blockAt(dst, 8 * i);
        const std::int64_t x = std::int64_t{left} + 8 * i + (v.x >> 2), y = std::int64_t{top} + (v.y >> 2);
        const auto at = [&] { return frame.row(static_cast<int>(y)) + x; };
        if (((v.x | v.y) & 3) == 0 && holds(frame, x, y, 8, 8)) {
            copyBlock<8>(at(), frame.step, block);
        } else if (!holds(frame, x - 2, y - 2, 18, 13) || !predictHalves(at(), frame.step, v.x & 3, v.y & 3, block)) {
            static_cast<void>(interpolateLuma(frame, left + 8 * i, top, v.x, v.y, block));
        }
    }
}

void predictChromaRun(const ConstViewU8& frameU, const ConstViewU8& frameV, int left, int top,
                      std::span<const BlockVector> vectors, const ViewU8& dstU, const ViewU8& dstV) {
    for (int i = 0; i < static_cast<int>(vectors.size()); ++i) {
        const BlockVector v = vectors[static_cast<std::size_t>(i)];
        const ViewU8 blockU = blockAt(dstU, 4 * i), blockV = blockAt(dstV, 4 * i);
        const std::int64_t x = std::int64_t{left} + 4 * i + (v.x >> 2), y = std::int64_t{top} + (v.y >> 2);
        const auto window = [&](const ConstViewU8& frame) {
            return ConstViewU8{frame.row(static_cast<int>(y)) + x, frame.step, 8, 5};
        };
        const bool inside = holds(frameU, x, y, 8, 5);
        if (inside && ((v.x | v.y) & 3) == 0) {
            copyBlock<4>(window(frameU).base, frameU.step, blockU);
            copyBlock<4>(window(frameV).base, frameV.step, blockV);
        } else if (!inside ||
                   !predictEighths(window(frameU), window(frameV), 2 * (v.x & 3), 2 * (v.y & 3), blockU, blockV)) {
            static_cast<void>(interpolateChroma(frameU, frameV, left + 4 * i, top, v.x, v.y, blockU, blockV));
        }
    }
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {

HWY_EXPORT(predictLumaRun);
HWY_EXPORT(predictChromaRun);

namespace {

Status checkRun(const ConstViewU8& frame, const ViewU8& dst, int side, std::size_t blocks) noexcept {
    if (frame.base == nullptr || dst.base == nullptr) return Status::nullPointer;
    if (!frame.valid() || dst.height != side || dst.width < side || blocks > static_cast<std::size_t>(dst.width / side))
        return Status::badSize;
    return Status::ok;
}

}  // namespace

Status predictLuma(const ConstViewU8& frame, int left, int top, std::span<const BlockVector> vectors,
                   const ViewU8& dst) noexcept {
    if (const Status fault = checkRun(frame, dst, 8, vectors.size()); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(predictLumaRun)(frame, left, top, vectors, dst);
    return Status::ok;
}

Status predictChroma(const ConstViewU8& frameU, const ConstViewU8& frameV, int left, int top,
                     std::span<const BlockVector> vectors, const ViewU8& dstU, const ViewU8& dstV) noexcept {
    if (const Status fault = checkRun(frameU, dstU, 4, vectors.size()); fault != Status::ok) return fault;
    if (const Status fault = checkRun(frameV, dstV, 4, vectors.size()); fault != Status::ok) return fault;
    if (!sameSize(frameU, frameV)) return Status::badSize;
    HWY_DYNAMIC_DISPATCH(predictChromaRun)(frameU, frameV, left, top, vectors, dstU, dstV);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
