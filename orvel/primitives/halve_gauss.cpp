#include "orvel/primitives/halve_gauss.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "orvel/primitives/checks.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/halve_gauss.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/byte_products_inl.h"

// A row of src is filtered across once, into 16-bit sums of at most 16 * 255. Going down, two rows of src come in with
// every row of dst; what the rows before them add to the next result, and the last row's sums for the one after it, is
// carried along. The sum of all weights is 256, so everything fits unsigned 16 bits: 256 * 255 + 128 = 65408.

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// Where the sample with index i of n lies when those outside are mirrored.
inline int mirroredIndex(int i, int n) {
    if (n == 1) return 0;
    const int period = 2 * (n - 1);
    i = std::abs(i) % period;
    return i < n ? i : period - i;
}

/// The pixel columns [begin, end) of the rows [first, last), sample by sample: the edges, and planes without room for
/// a vector.
void halveColumns(ConstViewU8 src, ViewU8 dst, int pixelBytes, int begin, int end, int first, int last) {
    const int pixels = src.width / pixelBytes;
    for (int i = begin * pixelBytes; i < end * pixelBytes; ++i) {
        int at[5];
        for (int k = 0; k < 5; ++k)
            at[k] = mirroredIndex(2 * (i / pixelBytes) + k - 2, pixels) * pixelBytes + i % pixelBytes;
        const auto rowSum = [&](int y) {
            const std::uint8_t* s = src.row(mirroredIndex(y, src.height));
            return s[at[0]] + s[at[4]] + 4 * (s[at[1]] + s[at[3]]) + 6 * s[at[2]];
        };
        int before = rowSum(2 * first);
        int carried = rowSum(2 * first - 2) + 4 * rowSum(2 * first - 1) + 6 * before + 128;
        for (int y = first; y < last; ++y) {
            const int odd = 4 * rowSum(2 * y + 1), even = rowSum(2 * y + 2);
            dst.row(y)[i] = static_cast<std::uint8_t>((carried + odd + even) >> 8);
            carried = before + odd + 6 * even + 128;
            before = even;
        }
    }
}

#if HWY_TARGET != HWY_SCALAR

/// Vectors of destination samples whose pixels have kPixelBytes bytes. A pair of source pixels makes one of them, so
/// that a vector takes whole pairs: of three bytes two pairs in each 16 bytes, the rest of which is left over.
template <int kPixelBytes>
class Lanes {
public:
    using ByteTag = hn::CappedTag<std::uint8_t, kPixelBytes == 3 ? 16 : HWY_MAX_BYTES>;
    using WordTag = hn::Repartition<std::uint16_t, ByteTag>;
    using Words = hn::Vec<WordTag>;

    /// Destination samples that a vector makes.
    static HWY_INLINE int made() { return kPixelBytes == 3 ? 6 : int(hn::Lanes(WordTag())); }
    /// Source samples that sumsAcross() reads, beginning two pixels before s.
    static HWY_INLINE int read() { return 4 * kPixelBytes + int(hn::Lanes(ByteTag())); }

    /// The sums across of destination samples; s: the source sample above the first of them.
    static HWY_INLINE Words sumsAcross(const std::uint8_t* s) {
        const WordTag d;
        const auto before = pairsAt(s - 2 * kPixelBytes), here = pairsAt(s);
        const auto lowBytes = hn::Set(d, std::uint16_t{255});
        const auto after = hn::And(hn::BitCast(d, pairsAt(s + 2 * kPixelBytes)), lowBytes);
#if ORVEL_BYTE_PRODUCTS
        if constexpr (kPixelBytes != 3) {
            const hn::Repartition<std::int8_t, ByteTag> weights;
            const auto oneFour = hn::BitCast(weights, hn::Set(d, std::uint16_t{4 << 8 | 1}));
            const auto sixFour = hn::BitCast(weights, hn::Set(d, std::uint16_t{4 << 8 | 6}));
            const auto products = hn::Add(sumPairProducts(before, oneFour), sumPairProducts(here, sixFour));
            return hn::Add(hn::BitCast(d, products), after);
        }
#endif
        const auto even = [&](auto v) HWY_ATTR { return hn::And(hn::BitCast(d, v), lowBytes); };
        const auto odd = [&](auto v) HWY_ATTR { return hn::ShiftRight<8>(hn::BitCast(d, v)); };
        const auto ones = hn::Add(even(before), after), fours = hn::Add(odd(before), odd(here));
        const auto sixes = hn::Mul(even(here), hn::Set(d, std::uint16_t{6}));
        return hn::Add(hn::Add(ones, sixes), hn::ShiftLeft<2>(fours));
    }

    /// Stores the upper bytes of the words.
    static HWY_INLINE void storeUpperBytes(Words sums, std::uint8_t* out) {
        const hn::RebindToSigned<WordTag> dSigned;
        const hn::Rebind<std::uint8_t, WordTag> dOut;
        const auto bytes = hn::DemoteTo(dOut, hn::BitCast(dSigned, hn::ShiftRight<8>(sums)));
        if constexpr (kPixelBytes == 3) {
            alignas(8) std::uint8_t whole[8];
            hn::Store(bytes, dOut, whole);
            std::memcpy(out, whole, 6);
        } else {
            hn::StoreU(bytes, dOut, out);
        }
    }

private:
    /// Bytes of source pixels, the two of a pair side by side.
    static HWY_INLINE auto pairsAt(const std::uint8_t* s) {
        const ByteTag d;
        const auto pixels = hn::LoadU(d, s);
        if constexpr (kPixelBytes == 1) {
            return pixels;
        } else {
            alignas(16) static constexpr std::uint8_t order[2][16] = {
                {0, 3, 1, 4, 2, 5, 6, 9, 7, 10, 8, 11, 12, 12, 12, 12},
                {0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15}};
            return hn::TableLookupBytes(pixels, hn::LoadDup128(d, order[kPixelBytes - 3]));
        }
    }
};

/// What goes down a strip of vectors: to the result of the row at hand and, as sums across, to that of the next row.
template <int kPixelBytes>
struct Carried {
    /// Vectors in a strip; what they carry stays in the first-level cache.
    static constexpr int most = 64;
    static constexpr std::size_t words = most * hn::MaxLanes(typename Lanes<kPixelBytes>::WordTag());
    alignas(64) std::uint16_t open[words];
    alignas(64) std::uint16_t before[words];
};

/// Rows of src and dst from the sample that a strip begins with.
struct StripRows {
    ConstViewU8 src;
    ViewU8 dst;
    int begin;
    const std::uint8_t* from(int y) const { return src.row(mirroredIndex(y, src.height)) + 2 * begin; }
    std::uint8_t* to(int y) const { return dst.row(y) + begin; }
};

/// The rows [first, last) of a strip of so many vectors. The last one, which may overlap its neighbour, begins with the
/// destination sample lastBegin of the strip.
template <int kPixelBytes>
void halveStrip(const StripRows& rows, int vectors, int lastBegin, int first, int last) {
    using L = Lanes<kPixelBytes>;
    const typename L::WordTag d;
    const int made = L::made(), lanes = int(hn::Lanes(d));
    Carried<kPixelBytes> carried;
    const auto carriedSums = [&](auto before, auto fourOdd, auto even) HWY_ATTR {
        const auto middle = hn::Add(hn::Mul(even, hn::Set(d, std::uint16_t{6})), hn::Set(d, std::uint16_t{128}));
        return hn::Add(hn::Add(before, fourOdd), middle);
    };
    const auto forEachVector = [&](const auto& body) HWY_ATTR {
        for (int v = 0; v < vectors - 1; ++v) body(v * made, v * lanes);
        body(lastBegin, (vectors - 1) * lanes);
    };

    const std::uint8_t *above2 = rows.from(2 * first - 2), *above1 = rows.from(2 * first - 1),
                       *middle = rows.from(2 * first);
    forEachVector([&](int x, int at) HWY_ATTR {
        const auto fourOdd = hn::ShiftLeft<2>(L::sumsAcross(above1 + 2 * x)), even = L::sumsAcross(middle + 2 * x);
        hn::StoreU(carriedSums(L::sumsAcross(above2 + 2 * x), fourOdd, even), d, carried.open + at);
        hn::StoreU(even, d, carried.before + at);
    });
    for (int y = first; y < last; ++y) {
        const std::uint8_t *oddRow = rows.from(2 * y + 1), *evenRow = rows.from(2 * y + 2);
        std::uint8_t* const out = rows.to(y);
        forEachVector([&](int x, int at) HWY_ATTR {
            const auto fourOdd = hn::ShiftLeft<2>(L::sumsAcross(oddRow + 2 * x)), even = L::sumsAcross(evenRow + 2 * x);
            L::storeUpperBytes(hn::Add(hn::Add(hn::LoadU(d, carried.open + at), fourOdd), even), out + x);
            hn::StoreU(carriedSums(hn::LoadU(d, carried.before + at), fourOdd, even), d, carried.open + at);
            hn::StoreU(even, d, carried.before + at);
        });
    }
}

#endif  // HWY_TARGET != HWY_SCALAR

template <int kPixelBytes>
void halveBand(ConstViewU8 src, ViewU8 dst, int first, int last) {
    int begin = 0, end = 0;  // the pixel columns that vectors reach
#if HWY_TARGET != HWY_SCALAR
    using L = Lanes<kPixelBytes>;
    if (src.width >= L::read()) {
        // A vector that begins with the pixel column x reads from the source column 2x - 2 on.
        const int lastX = (src.width - L::read()) / kPixelBytes / 2 + 1;
        const int pixels = L::made() / kPixelBytes, vectors = (lastX - 1 + pixels - 1) / pixels + 1;
        begin = 1, end = lastX + pixels;
        for (int v = 0; v < vectors; v += Carried<kPixelBytes>::most) {
            const int count = std::min(Carried<kPixelBytes>::most, vectors - v), x = begin + v * pixels;
            const StripRows rows{src, dst, x * kPixelBytes};
            halveStrip<kPixelBytes>(rows, count, std::min((count - 1) * pixels, lastX - x) * kPixelBytes, first, last);
        }
    }
#endif
    halveColumns(src, dst, kPixelBytes, 0, begin, first, last);
    halveColumns(src, dst, kPixelBytes, end, dst.width / kPixelBytes, first, last);
}

void halveRows(ConstViewU8 src, ViewU8 dst, int pixelBytes, int first, int last) {
    switch (pixelBytes) {
        case 1:
            return halveBand<1>(src, dst, first, last);
        case 3:
            return halveBand<3>(src, dst, first, last);
        default:
            return halveBand<4>(src, dst, first, last);
    }
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {
HWY_EXPORT(halveRows);

namespace {

/// Half of a side, rounded up.
constexpr int half(int side) {
    return side / 2 + side % 2;
}

constexpr int longestSide = (1 << 30) - 1;  // so that positions behind the mirrored end still are an int

}  // namespace

Status halveGaussRows(ConstViewU8 src, ViewU8 dst, int pixelBytes, int first, int last) noexcept {
    if (src.base == nullptr || dst.base == nullptr) return Status::nullPointer;
    if (!src.valid() || std::max(src.width, src.height) > longestSide) return Status::badSize;
    if (!dst.valid() || !holdsBand(dst.height, first, last)) return Status::badSize;
    if (pixelBytes != 1 && pixelBytes != 3 && pixelBytes != 4) return Status::badArgument;
    const bool halved = src.width % pixelBytes == 0 && dst.width == half(src.width / pixelBytes) * pixelBytes &&
                        dst.height == half(src.height);
    if (!halved) return Status::badSize;
    HWY_DYNAMIC_DISPATCH(halveRows)(src, dst, pixelBytes, first, last);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
