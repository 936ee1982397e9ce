#pragma once
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "orvel/img/i420_img.h"

// Clips of 8-bit 4:2:0 pictures in memory: what the benchmarks and the quality table work on.
namespace Orvel::bench {

using Picture = std::shared_ptr<I420Img>;
using Clip = std::vector<Picture>;

/// A picture of undefined content whose rows are padded to 64 bytes. Throws std::bad_alloc.
Picture newPicture(int width, int height);

/// All frames of a headerless planar 4:2:0 file whose name carries _WIDTHxHEIGHT_.
/// Throws std::runtime_error naming the file when it cannot be read or holds no frame.
Clip readClip(const std::filesystem::path& file);

/// What a clip shows, by its name: "walkway_352x288_30p.yuv" shows "walkway".
std::string contentOf(const std::filesystem::path& clip);

/// Interlaced frame k takes its even lines from frame 2k and its odd lines from frame 2k + 1, in every plane and
/// without a filter: the top field is the earlier one. A last frame without partner is left out.
Clip weave(const Clip& progressive);

/// Copies a picture into another of the same size.
void copyPicture(const I420Img& from, I420Img& to);

/// A clip with pictures of its own.
Clip copyOf(const Clip& clip);

/// A copy with Gaussian noise on all samples, of standard deviation lumaSigma on plane 0 and chromaSigma on the others,
/// rounded and clipped to 0..255; the same noise for the same seed.
Clip withNoise(const Clip& clip, double lumaSigma, double chromaSigma, std::uint32_t seed);

/// The clip repeated side by side and on top of each other until it fills width x height. Fields stay fields when the
/// clip's chroma height is even.
Clip tiled(const Clip& clip, int width, int height);

/// The same pictures, then all but the last and the first in reverse: again and again it has no cut. At least 2
/// pictures.
Clip forthAndBack(const Clip& clip);

}  // namespace Orvel::bench
