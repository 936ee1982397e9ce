#include "orvel/primitives/rgb.h"

#include "orvel/primitives/rgb_matrix.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/rgb.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/byte_products_inl.h"
#include "orvel/primitives/dealt_blocks_inl.h"
#include "orvel/primitives/stores_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR                // the pairs below need two 16-bit lanes
using D32 = hn::ScalableTag<std::int32_t>;  // one lane is a pixel pair
using D16 = hn::Repartition<std::int16_t, D32>;
using DU16 = hn::Repartition<std::uint16_t, D32>;
using DU8 = hn::Repartition<std::uint8_t, D32>;
using DS8 = hn::Repartition<std::int8_t, D32>;
using V32 = hn::Vec<D32>;
using V16 = hn::Vec<D16>;
using V8 = hn::Vec<DU8>;

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

/// The even bytes times 8.
HWY_INLINE V16 evenTimes8(V8 bytes) {
#if ORVEL_BYTE_PRODUCTS
    return sumPairProducts(bytes, hn::BitCast(DS8(), hn::Set(D16(), 8)));
#else
    return hn::And(hn::BitCast(D16(), hn::ShiftLeft<3>(hn::BitCast(DU16(), bytes))), hn::Set(D16(), 255 * 8));
#endif
}

/// The odd bytes times 8.
HWY_INLINE V16 oddTimes8(V8 bytes) {
#if ORVEL_BYTE_PRODUCTS
    return sumPairProducts(bytes, hn::BitCast(DS8(), hn::Set(D16(), 8 << 8)));
#else
    return hn::And(hn::BitCast(D16(), hn::ShiftRight<5>(hn::BitCast(DU16(), bytes))), hn::Set(D16(), 255 * 8));
#endif
}

/// Two vectors of packed samples, U Y V Y, with their groups of eight bytes dealt out to the blocks.
struct Packed {
    V8 lower, upper;
};

/// Samples are taken times 8, which puts the integer part of a sum into the high half of its 32 bits.
class Decoder {
public:
    explicit HWY_INLINE Decoder(const DecodeMatrix& m)
        : lumaLeft_(pairOf(m.luma, 0)),
          lumaRight_(pairOf(0, m.luma)),
          b_{pairOf(m.bFromCb, 0), offset(m, m.bFromCb)},
          g_{pairOf(m.gFromCb, m.gFromCr), offset(m, m.gFromCb + m.gFromCr)},
          r_{pairOf(0, m.rFromCr), offset(m, m.rFromCr)} {}

    /// Stores four vectors of pixels.
    template <Stores stores>
    HWY_INLINE void decode(const Packed& in, std::uint8_t* bgra) const {
        const DU8 d8;
        const Pairs lower = split(in.lower), upper = split(in.upper);
        const V8 b = channel(b_, lower, upper), g = channel(g_, lower, upper);
        const V8 bgLower = hn::InterleaveLower(d8, b, g), bgUpper = hn::InterleaveUpper(d8, b, g);
        const V8 r = channel(r_, lower, upper), a = hn::Set(d8, 255);
        const auto store = [=](V8 bg, V8 ra, std::uint8_t* out) HWY_ATTR {
            const V16 words = hn::BitCast(D16(), bg), others = hn::BitCast(D16(), ra);
            put<stores>(hn::BitCast(d8, hn::InterleaveLower(D16(), words, others)), d8, out);
            put<stores>(hn::BitCast(d8, hn::InterleaveUpper(D16(), words, others)), d8, out + hn::Lanes(d8));
        };
        store(bgLower, hn::InterleaveLower(d8, r, a), bgra);
        store(bgUpper, hn::InterleaveUpper(d8, r, a), bgra + 2 * hn::Lanes(d8));
    }

private:
    /// What makes a channel of luma: factors of Cb and Cr, and the constant terms.
    struct Channel {
        V16 fromChroma;
        V32 offset;
    };
    /// The luma terms of the left and the right pixels, and their chroma.
    struct Pairs {
        V32 left, right;
        V16 uv;
    };

    static HWY_INLINE V32 offset(const DecodeMatrix& m, int chroma) {
        return hn::Set(D32(), 8 * (4096 - m.luma * m.blackLevel - 128 * chroma));
    }

    HWY_INLINE Pairs split(V8 packed) const {
        const V16 y = oddTimes8(packed);
        return {pairSums(y, lumaLeft_), pairSums(y, lumaRight_), evenTimes8(packed)};
    }

    /// In each block the pixels of lower, then those of upper.
    static HWY_INLINE V8 channel(const Channel& c, const Pairs& lower, const Pairs& upper) {
        const V32 fromLower = hn::Add(pairSums(lower.uv, c.fromChroma), c.offset);
        const V32 fromUpper = hn::Add(pairSums(upper.uv, c.fromChroma), c.offset);
        // The clamped integer parts are the odd bytes; the even ones are left over from the fractions.
        const auto clamped = [=](V32 lowerLuma, V32 upperLuma) HWY_ATTR {
            return packBlocks(hn::BitCast(D16(), hn::Add(lowerLuma, fromLower)),
                              hn::BitCast(D16(), hn::Add(upperLuma, fromUpper)));
        };
        const V8 left = clamped(lower.left, upper.left), right = clamped(lower.right, upper.right);
        return hn::OddEven(right, hn::BitCast(DU8(), hn::ShiftRight<8>(hn::BitCast(DU16(), left))));
    }

    V16 lumaLeft_, lumaRight_;
    Channel b_, g_, r_;
};

/// Calls store(load(x), x, how) for blocks of n items that cover [0, count), the last one overlapping its neighbour and
/// stored into the cache as it is on no boundary. Each block is loaded before the one ahead of it is worked on, so that
/// the long chain of a block does not start by waiting.
/// @return the items done: count, or 0 when there is no room for one block.
template <Stores stores, class Load, class Store>
HWY_INLINE int forEachBlock(int count, int n, const Load& load, const Store& store) {
    if (count < n) return 0;
    auto block = load(0);
    std::ptrdiff_t x = 0;
    for (; x + 2 * n <= count; x += n) {
        const auto following = load(x + n);
        store(block, x, std::integral_constant<Stores, stores>());
        block = following;
    }
    store(block, x, std::integral_constant<Stores, stores>());
    if (x + n < count) store(load(count - n), count - n, std::integral_constant<Stores, Stores::cached>());
    return count;
}
#endif

#if HWY_TARGET != HWY_SCALAR
/// @param load gives the Packed samples from a pixel pair on
template <Stores stores, class Load>
HWY_INLINE int decodePairs(const DecodeMatrix& m, const Load& load, std::uint8_t* bgra, int pairs) {
    const Decoder decoder(m);
    return forEachBlock<stores>(pairs, 2 * lanes(), load, [&](const Packed& in, std::ptrdiff_t x, auto how) HWY_ATTR {
        decoder.template decode<how()>(in, bgra + 8 * x);
    });
}
#endif

template <Stores stores>
HWY_INLINE int decodePacked(const DecodeMatrix& m, const std::uint8_t* uyvy, std::uint8_t* bgra, int pairs) {
#if HWY_TARGET != HWY_SCALAR
    const auto load = [=](std::ptrdiff_t x) HWY_ATTR {
        const DU8 d;
        return Packed{loadDealtEights(d, uyvy + 4 * x), loadDealtEights(d, uyvy + 4 * x + hn::Lanes(d))};
    };
    return decodePairs<stores>(m, load, bgra, pairs);
#else
    (void)m, (void)uyvy, (void)bgra, (void)pairs;
    return 0;
#endif
}

void uyvyToBgrRows(const DecodeMatrix& m, ConstViewU8 uyvy, ViewU8 bgr, Stores stores) {
    const int width = bgr.width / 4;
    const auto rows = [&](auto how) HWY_ATTR {
        for (int row = 0; row < bgr.height; ++row) {
            const std::uint8_t* in = uyvy.row(row);
            std::uint8_t* out = bgr.row(row);
            for (int x = 2 * decodePacked<how()>(m, in, out, width / 2); x < width; ++x) {
                const int pair = std::min(x / 2, width / 2 - 1);
                decodePixel(m, in[2 * x + 1], pair < 0 ? 128 : in[4 * pair], pair < 0 ? 128 : in[4 * pair + 2],
                            out + 4 * x);
            }
        }
    };
    withStores(stores, rows, bgr);
}

struct PlanarRow {
    const std::uint8_t *y, *cb, *cr;
};

template <Stores stores>
HWY_INLINE int decodePlanar(const DecodeMatrix& m, const PlanarRow& in, std::uint8_t* bgra, int pairs) {
#if HWY_TARGET != HWY_SCALAR
    const auto load = [=](std::ptrdiff_t x) HWY_ATTR {
        const DU8 d;
        const V8 uv = interleaveDealtFours(d, in.cb + x, in.cr + x);
        const V8 y = dealtFours(d, hn::LoadU(d, in.y + 2 * x));
        return Packed{hn::InterleaveLower(d, uv, y), hn::InterleaveUpper(d, uv, y)};
    };
    return decodePairs<stores>(m, load, bgra, pairs);
#else
    (void)m, (void)in, (void)bgra, (void)pairs;
    return 0;
#endif
}

void planar420ToBgrRows(const DecodeMatrix& m, ConstViewU8 y, ConstViewU8 cb, ConstViewU8 cr, ViewU8 bgr,
                        Stores stores) {
    const int width = bgr.width / 4;
    const auto rows = [&](auto how) HWY_ATTR {
        for (int row = 0; row < bgr.height; ++row) {
            const PlanarRow in{y.row(row), width > 1 ? cb.row(row / 2) : nullptr,
                               width > 1 ? cr.row(row / 2) : nullptr};
            std::uint8_t* out = bgr.row(row);
            for (int x = 2 * decodePlanar<how()>(m, in, out, width / 2); x < width; ++x) {
                const int column = std::min(x / 2, width / 2 - 1);
                decodePixel(m, in.y[x], column < 0 ? 128 : in.cb[column], column < 0 ? 128 : in.cr[column],
                            out + 4 * x);
            }
        }
    };
    withStores(stores, rows, bgr);
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
template <Stores stores, bool limited>
HWY_INLINE int encodePairs(const EncodeMatrix& m, const std::uint8_t* bgra, std::uint8_t* uyvy, int pairs) {
#if HWY_TARGET != HWY_SCALAR
    const Encoder encoder(m);
    struct Block {
        V32 left, right;
    };
    const auto load = [&](std::ptrdiff_t x) HWY_ATTR {
        Block b;
        hn::LoadInterleaved2(D32(), reinterpret_cast<const std::int32_t*>(bgra + 8 * x), b.left, b.right);
        return b;
    };
    return forEachBlock<stores>(pairs, lanes(), load, [&](const Block& b, std::ptrdiff_t x, auto how) HWY_ATTR {
        V16 uv, yy;
        encoder.encode(b.left, b.right, uv, yy);
        if constexpr (limited) uv = hn::Min(hn::Max(uv, hn::Set(D16(), 1)), hn::Set(D16(), 254));
        auto bytes = hn::OddEven(hn::BitCast(DU8(), yy), hn::BitCast(DU8(), uv));
        if constexpr (limited) bytes = hn::Min(hn::Max(bytes, hn::Set(DU8(), 1)), hn::Set(DU8(), 254));
        put<how()>(bytes, DU8(), uyvy + 4 * x);
    });
#else
    (void)m, (void)bgra, (void)uyvy, (void)pairs;
    return 0;
#endif
}

template <bool limited>
HWY_INLINE void encodeRows(const EncodeMatrix& m, ConstViewU8 bgr, ViewU8 uyvy, Stores stores) {
    const int width = bgr.width / 4;
    const auto rows = [&](auto how) HWY_ATTR {
        for (int row = 0; row < bgr.height; ++row) {
            const std::uint8_t* in = bgr.row(row);
            std::uint8_t* out = uyvy.row(row);
            for (int x = 2 * encodePairs<how(), limited>(m, in, out, width / 2); x < width; x += 2)
                encodePair(m, in + 4 * x, x + 1 == width, out + 2 * x);
        }
    };
    withStores(stores, rows, uyvy);
}

void bgrToUyvyRows(RgbMatrix matrix, ConstViewU8 bgr, ViewU8 uyvy, Stores stores) {
    if (matrix == RgbMatrix::bt709Hdtv)
        encodeRows<true>(encodeBt709Hdtv, bgr, uyvy, stores);
    else
        encodeRows<false>(encodeBt601, bgr, uyvy, stores);
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

Status uyvyToBgr(ConstViewU8 uyvy, ViewU8 bgr, RgbMatrix matrix, Stores stores) noexcept {
    if (const Status fault = checkPair(bgr, uyvy, 2); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(uyvyToBgrRows)(decodeMatrix(matrix), uyvy, bgr, stores);
    return Status::ok;
}

Status planar420ToBgr(ConstViewU8 y, ConstViewU8 cb, ConstViewU8 cr, ViewU8 bgr, RgbMatrix matrix,
                      Stores stores) noexcept {
    const bool coloured = bgr.width / 4 != 1;
    if (coloured && (cb.base == nullptr || cr.base == nullptr)) return Status::nullPointer;
    if (const Status fault = checkPair(bgr, y, 1); fault != Status::ok) return fault;
    const auto fits = [&](ConstViewU8 c) { return c.width == y.width / 2 && c.height == (y.height + 1) / 2; };
    if (coloured && !(fits(cb) && fits(cr))) return Status::badSize;
    HWY_DYNAMIC_DISPATCH(planar420ToBgrRows)(decodeMatrix(matrix), y, cb, cr, bgr, stores);
    return Status::ok;
}

Status bgrToUyvy(ConstViewU8 bgr, ViewU8 uyvy, RgbMatrix matrix, Stores stores) noexcept {
    if (const Status fault = checkPair(bgr, uyvy, 2); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(bgrToUyvyRows)(matrix, bgr, uyvy, stores);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
