#pragma once
#include <cstdint>
#include <cstring>
#include <new>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "orvel/primitives/plane_view.h"

namespace Orvel::test {

/// Memory on a boundary of the longest vectors.
template <class T>
struct OnVectorBoundary {
    using value_type = T;
    static constexpr std::align_val_t boundary{64};

    T* allocate(std::size_t n) { return static_cast<T*>(::operator new(n * sizeof(T), boundary)); }
    void deallocate(T* p, std::size_t) { ::operator delete(p, boundary); }
    bool operator==(const OnVectorBoundary&) const { return true; }
};

/// A plane inside a larger block of known bytes: everything outside its width x height samples is guard, also the
/// padding between the rows, and guardsIntact() says whether someone wrote there.
template <class T>
class GuardedPlane {
public:
    /// padding: samples between the rows; lead: bytes before the first sample (odd offsets for byte planes).
    GuardedPlane(int width, int height, int padding = 5, int lead = 64 * int(sizeof(T)))
        : width_(width), height_(height), step_((width + padding) * int(sizeof(T))), lead_(lead) {
        bytes_.assign(std::size_t(lead_) + std::size_t(step_) * std::size_t(height_ > 0 ? height_ : 1) + 64, guard);
    }

    /// Random samples in [0, limit].
    void fillRandom(std::mt19937& rng, unsigned limit = T(~T(0))) {
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < width_; ++x) at(x, y) = T(rng() % (limit + 1u));
    }
    void fill(T value) {
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < width_; ++x) at(x, y) = value;
    }

    T& at(int x, int y) { return view().row(y)[x]; }
    T at(int x, int y) const { return view().row(y)[x]; }

    primitives::PlaneView<T> view() { return {reinterpret_cast<T*>(bytes_.data() + lead_), step_, width_, height_}; }
    primitives::PlaneView<const T> view() const {
        return {reinterpret_cast<const T*>(bytes_.data() + lead_), step_, width_, height_};
    }
    /// The same samples bottom-up, with a negative step.
    primitives::PlaneView<T> flipped() { return {view().row(height_ - 1), -step_, width_, height_}; }

    int width() const { return width_; }
    int height() const { return height_; }

    bool guardsIntact() const {
        const auto isGuard = [&](std::size_t from, std::size_t to) {
            for (std::size_t i = from; i < to; ++i)
                if (bytes_[i] != guard) return false;
            return true;
        };
        const std::size_t rowBytes = std::size_t(width_) * sizeof(T);
        std::size_t at = 0;
        for (int y = 0; y < height_; ++y) {
            const std::size_t row = std::size_t(lead_) + std::size_t(y) * std::size_t(step_);
            if (!isGuard(at, row)) return false;
            at = row + rowBytes;
        }
        return isGuard(at, bytes_.size());
    }

    /// "" when both hold the same samples, else the first difference in words.
    std::string difference(const GuardedPlane& other) const {
        if (width_ != other.width_ || height_ != other.height_) return "sizes differ";
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < width_; ++x)
                if (at(x, y) != other.at(x, y))
                    return std::to_string(at(x, y)) + " against " + std::to_string(other.at(x, y)) + " at " +
                           std::to_string(x) + ", " + std::to_string(y) + " in " + std::to_string(width_) + " x " +
                           std::to_string(height_);
        return {};
    }

private:
    static constexpr std::uint8_t guard = 0xA5;
    int width_, height_, step_, lead_;
    std::vector<std::uint8_t, OnVectorBoundary<std::uint8_t>> bytes_;
};

}  // namespace Orvel::test
