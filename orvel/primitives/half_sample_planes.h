#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>

#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// The half samples of a whole luma plane (formulas and edges as in interpolateLuma()): between a sample and the next
/// one to the right, the next one below, and between these four. They exist for x in [-1, width) and y in [-1, height).
/// Blocks are then compared with half samples at the price of whole ones.
class HalfSamplePlanes {
public:
    /// Makes room for the half samples of a width x height plane.
    /// @return false when a side is below 1 or memory runs out: there is then no room.
    [[nodiscard]] bool allocate(int width, int height) noexcept;
    void deallocate() noexcept;

    /// The work comes in bands of rows that may be done in any order and by different threads.
    int numBands() const noexcept { return height_ == 0 ? 0 : height_ / bandRows + 1; }
    /// Computes one band from a plane of the allocated size.
    Status fillBand(ConstViewU8 plane, int band) noexcept;

    /// Half samples right of, below and right below sample (x, y), followed by those of x + 1, x + 2, ...
    const std::uint8_t* right(int x, int y) const noexcept { return at(0, x, y); }
    const std::uint8_t* below(int x, int y) const noexcept { return at(1, x, y); }
    const std::uint8_t* centre(int x, int y) const noexcept { return at(2, x, y); }
    /// Bytes from one row of any of them to the next.
    std::ptrdiff_t step() const noexcept { return 3 * rowBytes_; }

private:
    static constexpr int bandRows = 32;

    // Rows of the three kinds alternate, so that what one block needs lies close together.
    std::uint8_t* at(int kind, int x, int y) const noexcept {
        return samples_.get() + (3 * std::ptrdiff_t{y + 1} + kind) * rowBytes_ + (x + 1);
    }

    std::unique_ptr<std::uint8_t[]> samples_;
    std::ptrdiff_t rowBytes_ = 0;
    int width_ = 0, height_ = 0;
};

}  // namespace Orvel::primitives
