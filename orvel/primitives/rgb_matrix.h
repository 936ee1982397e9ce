#pragma once
#include <algorithm>
#include <cstdint>

namespace Orvel::primitives {

/// Y'CbCr to R'G'B' in 13-bit fixed point; every channel is
/// clip8((luma * (Y - blackLevel) + its chroma terms + 4096) >> 13) with chroma counted from 128.
struct DecodeMatrix {
    std::int16_t luma, blackLevel, bFromCb, gFromCb, gFromCr, rFromCr;
};
inline constexpr DecodeMatrix decodeBt601{9535, 16, 16523, -3211, -6660, 13074};
inline constexpr DecodeMatrix decodeBt709Hdtv{8192, 0, 14877, -1499, -3760, 12616};  // luma passes unscaled

/// R'G'B' to Y'CbCr: luma in 15-bit fixed point plus blackLevel, chroma in 15-bit fixed point on the mean of two pixels
/// (16 bits on their sum), every result clamped to 1..254. BT.601 does not reach these limits.
struct EncodeMatrix {
    std::int16_t yB, yG, yR, blackLevel, cbB, cbG, cbR, crB, crG, crR;
};
inline constexpr EncodeMatrix encodeBt601{3211, 16515, 8421, 16, 14385, -9535, -4850, -2326, -12059, 14385};
inline constexpr EncodeMatrix encodeBt709Hdtv{2359, 23429, 6980, 0, 16744, -12910, -3834, -1540, -15204, 16744};

/// One pixel, written as B, G, R, A.
inline void decodePixel(const DecodeMatrix& m, int y, int cb, int cr, std::uint8_t* bgra) noexcept {
    const int luma = m.luma * (y - m.blackLevel) + 4096, u = cb - 128, v = cr - 128;
    const auto channel = [luma](int chroma) { return std::uint8_t(std::clamp((luma + chroma) >> 13, 0, 255)); };
    bgra[0] = channel(m.bFromCb * u);
    bgra[1] = channel(m.gFromCb * u + m.gFromCr * v);
    bgra[2] = channel(m.rFromCr * v);
    bgra[3] = 255;
}

inline std::uint8_t encodeLuma(const EncodeMatrix& m, const std::uint8_t* bgra) noexcept {
    const int sum = m.yB * bgra[0] + m.yG * bgra[1] + m.yR * bgra[2];
    return std::uint8_t(std::clamp(((sum + (1 << 14)) >> 15) + m.blackLevel, 1, 254));
}

/// Chroma of a pixel pair from the sums of its channels.
inline std::uint8_t encodeChroma(int fromB, int fromG, int fromR, int sumB, int sumG, int sumR) noexcept {
    const int sum = fromB * sumB + fromG * sumG + fromR * sumR;
    return std::uint8_t(std::clamp(((sum + (1 << 15)) >> 16) + 128, 1, 254));
}

/// A pixel pair as U, Y, V, Y. A last pixel without a partner is its own partner and has no V, Y.
inline void encodePair(const EncodeMatrix& m, const std::uint8_t* bgra, bool single, std::uint8_t* uyvy) noexcept {
    const std::uint8_t* next = single ? bgra : bgra + 4;
    const int b = bgra[0] + next[0], g = bgra[1] + next[1], r = bgra[2] + next[2];
    uyvy[0] = encodeChroma(m.cbB, m.cbG, m.cbR, b, g, r);
    uyvy[1] = encodeLuma(m, bgra);
    if (single) return;
    uyvy[2] = encodeChroma(m.crB, m.crG, m.crR, b, g, r);
    uyvy[3] = encodeLuma(m, next);
}

}  // namespace Orvel::primitives
