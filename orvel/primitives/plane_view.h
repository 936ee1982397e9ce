#pragma once
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Orvel::primitives {

/// A window on the samples of one plane: width x height samples of T, step bytes from row to row. It owns nothing.
/// Steps may be negative (bottom-up access). Bytes of a row behind the last sample belong to somebody else.
///
/// Operations that get a view made for each short band take it by reference: a compiler copies a view in larger pieces
/// than it was just written in, and for those a processor waits until all stores before them have reached the cache.
template <class T>
struct PlaneView {
    T* base = nullptr;
    std::ptrdiff_t step = 0;  ///< bytes between rows; doubled in a field view
    int width = 0, height = 0;

    constexpr bool valid() const noexcept { return base != nullptr && width > 0 && height > 0; }
    T* row(int y) const noexcept {
        using Byte = std::conditional_t<std::is_const_v<T>, const std::byte, std::byte>;
        return reinterpret_cast<T*>(reinterpret_cast<Byte*>(base) + y * step);
    }
    /// Rows [first, last); empty when the range is outside the view.
    PlaneView band(int first, int last) const noexcept {
        if (!valid() || first < 0 || first >= last || last > height) return {};
        return {row(first), step, width, last - first};
    }
    /// The top left w x h samples; empty when they are not all inside the view.
    constexpr PlaneView topLeft(int w, int h) const noexcept {
        if (base == nullptr || w > width || h > height) return {};
        return {base, step, w, h};
    }
    /// The w x h samples from column x and row y on; empty when they are not all inside the view.
    PlaneView rect(int x, int y, int w, int h) const noexcept {
        const bool inside = x >= 0 && y >= 0 && w >= 0 && h >= 0 && x <= width - w && y <= height - h;
        if (base == nullptr || !inside) return {};
        return {row(y) + x, step, w, h};
    }
    operator PlaneView<const T>() const noexcept requires(!std::is_const_v<T>) { return {base, step, width, height}; }
};

using ViewU8 = PlaneView<std::uint8_t>;
using ConstViewU8 = PlaneView<const std::uint8_t>;
using ViewU16 = PlaneView<std::uint16_t>;
using ConstViewU16 = PlaneView<const std::uint16_t>;

template <class A, class B>
constexpr bool sameSize(const PlaneView<A>& a, const PlaneView<B>& b) noexcept {
    return a.width == b.width && a.height == b.height;
}

}  // namespace Orvel::primitives
