#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace OrvelSys {

/// Appends one code point, which must be below 0x110000 and no surrogate.
inline void appendUtf8(std::string& text, std::uint32_t point) {
    const auto byte = [&](std::uint32_t value) {
        text.push_back(static_cast<char>(static_cast<unsigned char>(value)));
    };
    const auto trail = [&](int shift) { byte(0x80 | (point >> shift & 0x3F)); };
    if (point < 0x80) return byte(point);
    if (point < 0x800) {
        byte(0xC0 | point >> 6);
    } else if (point < 0x10000) {
        byte(0xE0 | point >> 12);
        trail(6);
    } else {
        byte(0xF0 | point >> 18);
        trail(12);
        trail(6);
    }
    trail(0);
}

/// Converts UTF-16 (2-byte units) or UTF-32 (4-byte units) to UTF-8.
/// @return false, with utf8 unchanged, for a lone surrogate or a value that is no code point. Throws std::bad_alloc.
template <class Unit>
bool toUtf8(std::basic_string_view<Unit> wide, std::string& utf8) {
    static_assert(sizeof(Unit) == 2 || sizeof(Unit) == 4);
    const auto isHigh = [](std::uint32_t unit) { return unit >= 0xD800 && unit < 0xDC00; };
    const auto isLow = [](std::uint32_t unit) { return unit >= 0xDC00 && unit < 0xE000; };
    const auto unit = [&](std::size_t i) { return static_cast<std::uint32_t>(wide[i]); };
    std::string text;
    text.reserve(wide.size());
    for (std::size_t i = 0; i < wide.size(); ++i) {
        std::uint32_t point = unit(i);
        if (sizeof(Unit) == 2 && isHigh(point) && i + 1 < wide.size() && isLow(unit(i + 1)))
            point = 0x10000 + ((point - 0xD800) << 10) + (unit(++i) - 0xDC00);
        if (isHigh(point) || isLow(point) || point > 0x10FFFF) return false;
        appendUtf8(text, point);
    }
    utf8 = std::move(text);
    return true;
}

}  // namespace OrvelSys
