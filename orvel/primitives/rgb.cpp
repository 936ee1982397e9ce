#include "orvel/primitives/rgb.h"

#include "orvel/primitives/rgb_matrix.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/rgb.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/row_loop_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR                // the pairs below need two 16-bit lanes
using D32 = hn::ScalableTag<std::int32_t>;  // one lane is a pixel pair
using D16 = hn::Repartition<std::int16_t, D32>;
using DU16 = hn::Repartition<std::uint16_t, D32>;
using DU8 = hn::Repartition<std::uint8_t, D32>;
using V32 = hn::Vec<D32>;
using V16 = hn::Vec<D16>;

HWY_INLINE int lanes() {
    return static_cast<int>(hn::Lanes(D32()));
}

/// low in the even lanes, high in the odd ones.
HWY_INLINE V16 pairOf(int low, int high) {
    return hn::BitCast(D16(), hn::Set(D32(), (low & 0xFFFF) | static_cast<int>(static_cast<unsigned>(high) << 16)));
}

/// a[2i] * b[2i] + a[2i + 1] * b[2i + 1] in lane i.
HWY_INLINE V32 pairSums(V16 a, V16 b) {
    V32 odd = hn::Zero(D32());
    const V32 even = hn::ReorderWidenMulAccumulate(D32(), a, b, hn::Zero(D32()), odd);
    return hn::RearrangeToOddPlusEven(even, odd);
}

/// The high halves of even and odd, alternating.
HWY_INLINE V16 highHalves(V32 even, V32 odd) {
    return hn::OddEven(hn::BitCast(D16(), odd), hn::BitCast(D16(), hn::ShiftRight<16>(even)));
}

/// Samples arrive times 8, which puts the integer part of a sum into the high half of its 32 bits.
class Decoder {
public:
    /// What a pixel pair takes from its chroma, the constant terms of its sums included.
    struct Chroma {
        V32 b, g, r;
    };

    explicit HWY_INLINE Decoder(const DecodeMatrix& m)
        : lumaEven_(pairOf(m.luma, 0)),
          lumaOdd_(pairOf(0, m.luma)),
          toB_(pairOf(m.bFromCb, 0)),
          toG_(pairOf(m.gFromCb, m.gFromCr)),
          toR_(pairOf(0, m.rFromCr)),
          offsetB_(offset(m, m.bFromCb)),
          offsetG_(offset(m, m.gFromCb + m.gFromCr)),
          // R is handled less 256: clamped to -256..-1 its 16 bits are the bytes R and A = 255.
          offsetR_(hn::Sub(offset(m, m.rFromCr), hn::Set(D32(), 256 << 16))) {}

    HWY_INLINE Chroma chroma(V16 uv) const {
        return {hn::Add(pairSums(uv, toB_), offsetB_), hn::Add(pairSums(uv, toG_), offsetG_),
                hn::Add(pairSums(uv, toR_), offsetR_)};
    }

    HWY_INLINE void store(V16 y, const Chroma& c, std::uint8_t* bgra) const {
        const V32 even = pairSums(y, lumaEven_), odd = pairSums(y, lumaOdd_);
        const auto channel = [&](V32 chroma, int low, int high) HWY_ATTR {
            const V16 value = highHalves(hn::Add(even, chroma), hn::Add(odd, chroma));
            return hn::Min(hn::Max(value, hn::Set(D16(), static_cast<std::int16_t>(low))),
                           hn::Set(D16(), static_cast<std::int16_t>(high)));
        };
        const V16 bg = hn::Or(channel(c.b, 0, 255), hn::ShiftLeft<8>(channel(c.g, 0, 255)));
        hn::StoreInterleaved2(bg, channel(c.r, -256, -1), D16(), reinterpret_cast<std::int16_t*>(bgra));
    }

private:
    static HWY_INLINE V32 offset(const DecodeMatrix& m, int chroma) {
        return hn::Set(D32(), 8 * (4096 - m.luma * m.blackLevel - 128 * chroma));
    }

    V16 lumaEven_, lumaOdd_, toB_, toG_, toR_;
    V32 offsetB_, offsetG_, offsetR_;
};

/// Calls store(load(x), x) for blocks of n items that cover [0, count), the last one overlapping its neighbour. Each
/// block is loaded before the one ahead of it is worked on, so that the long chain of a block does not start by
/// waiting.
/// @return the items done: count, or 0 when there is no room for one block.
template <class Load, class Store>
HWY_INLINE int forEachBlock(int count, int n, const Load& load, const Store& store) {
    if (count < n) return 0;
    auto block = load(0);
    int x = 0;
    for (int next = n; next + n <= count; next += n) {
        const auto following = load(next);
        store(block, x);
        block = following;
        x = next;
    }
    store(block, x);
    if (x + n < count) store(load(count - n), count - n);
    return count;
}
#endif

HWY_INLINE int decodePacked(const DecodeMatrix& m, const std::uint8_t* uyvy, std::uint8_t* bgra, int pairs) {
#if HWY_TARGET != HWY_SCALAR
    const Decoder decoder(m);
    const auto load = [&](int x) HWY_ATTR { return hn::BitCast(DU16(), hn::LoadU(DU8(), uyvy + 4 * x)); };
    return forEachBlock(pairs, lanes(), load, [&](auto words, int x) HWY_ATTR {
        const auto byteTimes8 = hn::Set(DU16(), 255 * 8);
        const auto y = hn::And(hn::ShiftRight<5>(words), byteTimes8), uv = hn::And(hn::ShiftLeft<3>(words), byteTimes8);
        decoder.store(hn::BitCast(D16(), y), decoder.chroma(hn::BitCast(D16(), uv)), bgra + 8 * x);
    });
#else
    (void)m, (void)uyvy, (void)bgra, (void)pairs;
    return 0;
#endif
}

void uyvyToBgrRows(const DecodeMatrix& m, ConstViewU8 uyvy, ViewU8 bgr) {
    const int width = bgr.width / 4;
    for (int row = 0; row < bgr.height; ++row) {
        const std::uint8_t* in = uyvy.row(row);
        std::uint8_t* out = bgr.row(row);
        for (int x = 2 * decodePacked(m, in, out, width / 2); x < width; ++x) {
            const int pair = std::min(x / 2, width / 2 - 1);
            decodePixel(m, in[2 * x + 1], pair < 0 ? 128 : in[4 * pair], pair < 0 ? 128 : in[4 * pair + 2],
                        out + 4 * x);
        }
    }
}

struct Rows420 {
    const std::uint8_t *y[2], *cb, *cr;
    std::uint8_t* bgra[2];
};

HWY_INLINE int decodePlanar(const DecodeMatrix& m, const Rows420& rows, int pairs) {
#if HWY_TARGET != HWY_SCALAR
    const Decoder decoder(m);
    const hn::Rebind<std::uint8_t, D32> quarter;
    const hn::Rebind<std::uint8_t, D16> half;
    struct Block {
        V32 cb, cr;
        V16 y0, y1;
    };
    const auto load = [&](int x) HWY_ATTR {
        return Block{hn::PromoteTo(D32(), hn::LoadU(quarter, rows.cb + x)),
                     hn::PromoteTo(D32(), hn::LoadU(quarter, rows.cr + x)),
                     hn::PromoteTo(D16(), hn::LoadU(half, rows.y[0] + 2 * x)),
                     hn::PromoteTo(D16(), hn::LoadU(half, rows.y[1] + 2 * x))};
    };
    return forEachBlock(pairs, lanes(), load, [&](const Block& b, int x) HWY_ATTR {
        const V32 uv = hn::Or(hn::ShiftLeft<3>(b.cb), hn::ShiftLeft<19>(b.cr));
        const Decoder::Chroma chroma = decoder.chroma(hn::BitCast(D16(), uv));
        decoder.store(hn::ShiftLeft<3>(b.y0), chroma, rows.bgra[0] + 8 * x);
        decoder.store(hn::ShiftLeft<3>(b.y1), chroma, rows.bgra[1] + 8 * x);
    });
#else
    (void)m, (void)rows, (void)pairs;
    return 0;
#endif
}

void planar420ToBgrRows(const DecodeMatrix& m, ConstViewU8 y, ConstViewU8 cb, ConstViewU8 cr, ViewU8 bgr) {
    const int width = bgr.width / 4;
    for (int row = 0; row < bgr.height; row += 2) {
        // Two rows share their chroma terms; the last row of an odd height is its own partner.
        const int next = std::min(row + 1, bgr.height - 1);
        const Rows420 rows{{y.row(row), y.row(next)},
                           width > 1 ? cb.row(row / 2) : nullptr,
                           width > 1 ? cr.row(row / 2) : nullptr,
                           {bgr.row(row), bgr.row(next)}};
        for (int x = 2 * decodePlanar(m, rows, width / 2); x < width; ++x) {
            const int column = std::min(x / 2, width / 2 - 1);
            const int u = column < 0 ? 128 : rows.cb[column], v = column < 0 ? 128 : rows.cr[column];
            for (int i = 0; i < 2; ++i) decodePixel(m, rows.y[i][x], u, v, rows.bgra[i] + 4 * x);
        }
    }
}

#if HWY_TARGET != HWY_SCALAR
/// The sums of products of a pixel pair. Where A stood a constant stands, so that one factor adds the constant terms.
class Encoder {
public:
    static constexpr int unit = 1 << 13;

    explicit HWY_INLINE Encoder(const EncodeMatrix& m)
        : yBr_(pairOf(m.yB, m.yR)),
          yG_(pairOf(m.yG, ((m.blackLevel << 15) + (1 << 14)) / unit)),
          cbBr_(pairOf(m.cbB, m.cbR)),
          cbG_(pairOf(m.cbG, chromaOffset)),
          crBr_(pairOf(m.crB, m.crR)),
          crG_(pairOf(m.crG, chromaOffset)) {}

    /// U, V words and Y, Y words with the luma in the upper byte, from the left and the right pixel of each pair.
    HWY_INLINE void encode(V32 left, V32 right, V16& uv, V16& yy) const {
        const V16 br0 = blueRed(left), br1 = blueRed(right), g0 = green(left), g1 = green(right);
        const V16 br = hn::Add(br0, br1), g = hn::Add(g0, g1);
        uv = highHalves(hn::Add(pairSums(br, cbBr_), pairSums(g, cbG_)),
                        hn::Add(pairSums(br, crBr_), pairSums(g, crG_)));
        const V32 even = hn::Add(pairSums(br0, yBr_), pairSums(g0, yG_)),
                  odd = hn::Add(pairSums(br1, yBr_), pairSums(g1, yG_));
        // Luma has 15 fraction bits; its integer part is at most 255.
        yy = hn::OddEven(hn::BitCast(D16(), hn::ShiftLeft<9>(odd)), hn::BitCast(D16(), hn::ShiftRight<7>(even)));
    }

private:
    static constexpr int chromaOffset = ((128 << 16) + (1 << 15)) / (2 * unit);  // meets the sum of two units

    static HWY_INLINE V16 blueRed(V32 bgra) { return hn::BitCast(D16(), hn::And(bgra, hn::Set(D32(), 0x00FF00FF))); }
    static HWY_INLINE V16 green(V32 bgra) {
        return hn::OddEven(hn::Set(D16(), unit), hn::BitCast(D16(), hn::ShiftRight<8>(hn::BitCast(DU16(), bgra))));
    }

    V16 yBr_, yG_, cbBr_, cbG_, crBr_, crG_;
};
#endif

/// @tparam limited whether results can leave 1..254 at all.
template <bool limited>
HWY_INLINE int encodePairs(const EncodeMatrix& m, const std::uint8_t* bgra, std::uint8_t* uyvy, int pairs) {
#if HWY_TARGET != HWY_SCALAR
    const Encoder encoder(m);
    struct Block {
        V32 left, right;
    };
    const auto load = [&](int x) HWY_ATTR {
        Block b;
        hn::LoadInterleaved2(D32(), reinterpret_cast<const std::int32_t*>(bgra + 8 * x), b.left, b.right);
        return b;
    };
    return forEachBlock(pairs, lanes(), load, [&](const Block& b, int x) HWY_ATTR {
        V16 uv, yy;
        encoder.encode(b.left, b.right, uv, yy);
        if constexpr (limited) uv = hn::Min(hn::Max(uv, hn::Set(D16(), 1)), hn::Set(D16(), 254));
        auto bytes = hn::OddEven(hn::BitCast(DU8(), yy), hn::BitCast(DU8(), uv));
        if constexpr (limited) bytes = hn::Min(hn::Max(bytes, hn::Set(DU8(), 1)), hn::Set(DU8(), 254));
        hn::StoreU(bytes, DU8(), uyvy + 4 * x);
    });
#else
    (void)m, (void)bgra, (void)uyvy, (void)pairs;
    return 0;
#endif
}

template <bool limited>
HWY_INLINE void encodeRows(const EncodeMatrix& m, ConstViewU8 bgr, ViewU8 uyvy) {
    const int width = bgr.width / 4;
    for (int row = 0; row < bgr.height; ++row) {
        const std::uint8_t* in = bgr.row(row);
        std::uint8_t* out = uyvy.row(row);
        for (int x = 2 * encodePairs<limited>(m, in, out, width / 2); x < width; x += 2)
            encodePair(m, in + 4 * x, x + 1 == width, out + 2 * x);
    }
}

void bgrToUyvyRows(RgbMatrix matrix, ConstViewU8 bgr, ViewU8 uyvy) {
    if (matrix == RgbMatrix::bt709Hdtv)
        encodeRows<true>(encodeBt709Hdtv, bgr, uyvy);
    else
        encodeRows<false>(encodeBt601, bgr, uyvy);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {
namespace {

/// Four bytes a pixel in bgr, yuvPixelBytes in the other view, the same pixels in both.
Status checkPair(ConstViewU8 bgr, ConstViewU8 yuv, int yuvPixelBytes) {
    if (bgr.base == nullptr || yuv.base == nullptr) return Status::nullPointer;
    const bool fits =
        bgr.valid() && bgr.width % 4 == 0 && yuv.height == bgr.height && yuv.width == bgr.width / 4 * yuvPixelBytes;
    return fits ? Status::ok : Status::badSize;
}

const DecodeMatrix& decodeMatrix(RgbMatrix matrix) {
    return matrix == RgbMatrix::bt709Hdtv ? decodeBt709Hdtv : decodeBt601;
}

}  // namespace

HWY_EXPORT(uyvyToBgrRows);
HWY_EXPORT(planar420ToBgrRows);
HWY_EXPORT(bgrToUyvyRows);

Status uyvyToBgr(ConstViewU8 uyvy, ViewU8 bgr, RgbMatrix matrix) noexcept {
    if (const Status fault = checkPair(bgr, uyvy, 2); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(uyvyToBgrRows)(decodeMatrix(matrix), uyvy, bgr);
    return Status::ok;
}

Status planar420ToBgr(ConstViewU8 y, ConstViewU8 cb, ConstViewU8 cr, ViewU8 bgr, RgbMatrix matrix) noexcept {
    const bool coloured = bgr.width / 4 != 1;
    if (coloured && (cb.base == nullptr || cr.base == nullptr)) return Status::nullPointer;
    if (const Status fault = checkPair(bgr, y, 1); fault != Status::ok) return fault;
    const auto fits = [&](ConstViewU8 c) { return c.width == y.width / 2 && c.height == (y.height + 1) / 2; };
    if (coloured && !(fits(cb) && fits(cr))) return Status::badSize;
    HWY_DYNAMIC_DISPATCH(planar420ToBgrRows)(decodeMatrix(matrix), y, cb, cr, bgr);
    return Status::ok;
}

Status bgrToUyvy(ConstViewU8 bgr, ViewU8 uyvy, RgbMatrix matrix) noexcept {
    if (const Status fault = checkPair(bgr, uyvy, 2); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(bgrToUyvyRows)(matrix, bgr, uyvy);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
