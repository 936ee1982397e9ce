#pragma once
#include <algorithm>
#include <cstring>

#include "orvel/primitives/plane_view.h"

namespace Orvel::primitives {

/// A window of samples that may reach outside its frame: where it does, it is a copy in which the frame's edge samples
/// repeat, else the frame's own memory.
template <int maxWidth, int maxHeight>
class ClampedWindow {
public:
    /// width x height samples with the top left one at (x, y) of frame; width and height at most the template's.
    ClampedWindow(ConstViewU8 frame, std::int64_t x, std::int64_t y, int width, int height) noexcept {
        if (x >= 0 && y >= 0 && x + width <= frame.width && y + height <= frame.height) {
            view_ = {frame.row(static_cast<int>(y)) + x, frame.step, width, height};
            return;
        }
        view_ = {copy_, maxWidth, width, height};
        const int before = static_cast<int>(std::clamp<std::int64_t>(-x, 0, width));
        const int upTo = static_cast<int>(std::clamp<std::int64_t>(frame.width - x, 0, width));
        for (int row = 0; row < height; ++row) {
            const std::uint8_t* from =
                frame.row(static_cast<int>(std::clamp<std::int64_t>(y + row, 0, frame.height - 1)));
            std::uint8_t* to = copy_ + row * maxWidth;
            std::memset(to, from[0], static_cast<std::size_t>(before));
            if (upTo > before) std::memcpy(to + before, from + x + before, static_cast<std::size_t>(upTo - before));
            std::memset(to + upTo, from[frame.width - 1], static_cast<std::size_t>(width - upTo));
        }
    }
    ClampedWindow(const ClampedWindow&) = delete;
    ClampedWindow& operator=(const ClampedWindow&) = delete;

    ConstViewU8 view() const noexcept { return view_; }

private:
    ConstViewU8 view_;
    std::uint8_t copy_[maxWidth * maxHeight];
};

}  // namespace Orvel::primitives
