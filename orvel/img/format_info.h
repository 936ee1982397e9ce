#pragma once
#include <cstdint>

namespace Orvel {

/// The code of a format name: its four characters in memory order.
constexpr std::uint32_t fourCC(const char (&name)[5]) noexcept {
    std::uint32_t code = 0;
    for (int i = 3; i >= 0; --i) code = code << 8 | static_cast<unsigned char>(name[i]);
    return code;
}

/// What distinguishes the picture formats.
struct FormatInfo {
    std::uint32_t code;     ///< four characters in memory order, 0 for BGR
    const char* name;       ///< the code as text, "BGR" for 0
    int planes;             ///< 1 packed, 3 planar
    int classBpp;           ///< bytes per sample handed to allocate()
    int channels;           ///< samples interleaved in one pixel
    bool halfHeightChroma;  ///< 4:2:0: planes 1 and 2 have ceil(height / 2) rows; else all rows
    bool evenWidthOnly;     ///< odd widths are refused
};

/// Planes 1 and 2 of the planar formats are floor(width / 2) wide.
inline constexpr FormatInfo formats[] = {
    {fourCC("I420"), "I420", 3, 1, 1, true, false},
    {fourCC("YV16"), "YV16", 3, 1, 1, false, false},
    {fourCC("HY16"), "HY16", 3, 2, 1, false, true},
    {fourCC("UYVY"), "UYVY", 1, 2, 2, false, false},
    {fourCC("YUYV"), "YUYV", 1, 2, 2, false, false},
    {fourCC("V216"), "V216", 1, 4, 2, false, true},
    {0, "BGR", 1, 4, 3, false, false},
};

/// The table's entry for a format code; null for an unknown one.
constexpr const FormatInfo* findFormat(std::uint32_t code) noexcept {
    for (const FormatInfo& info : formats)
        if (info.code == code) return &info;
    return nullptr;
}

}  // namespace Orvel
