#pragma once
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "orvel/img/img.h"
#include "tools/media/clip_info.h"

namespace OrvelTool {

/// Where the samples of one kind lie in the pictures of a format.
struct Component {
    char name;  ///< 'y', 'u', 'v' or 'b', 'g', 'r', 'a'
    int plane;
    int first;  ///< bytes from the start of a row to the first sample
    int step;   ///< bytes from sample to sample
};

/// A sample that differs.
struct Difference {
    std::int64_t frame;
    char component;
    int x, y;  ///< counted in samples of the component
    int a, b;
};

/// Compares two clips of one format and size, picture by picture.
class PictureComparison {
public:
    explicit PictureComparison(const Orvel::FormatInfo& format);

    void add(const Orvel::Img& a, const Orvel::Img& b);

    std::int64_t frames() const noexcept { return frames_; }
    /// The first one: frame by frame, component by component, row by row.
    const std::optional<Difference>& first() const noexcept { return first_; }
    std::span<const Component> components() const noexcept { return components_; }
    /// Peak signal-to-noise ratio in dB of a component over all pictures, with a peak of 255 or 65535; infinite where
    /// all samples are equal.
    double psnr(std::size_t component) const;

private:
    struct RowPair {
        const std::uint8_t *a, *b;
        int bytes;
    };

    template <class Sample>
    void addRow(std::size_t component, int y, const RowPair& rows);

    std::span<const Component> components_;
    const bool wide_;
    std::vector<double> squares_;        // of differences, by component
    std::vector<std::int64_t> samples_;  // by component
    std::optional<Difference> first_;
    std::int64_t frames_ = 0;
};

}  // namespace OrvelTool
