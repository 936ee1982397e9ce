#pragma once
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "bench/clip.h"

// Ways of making quieter pictures from noisy ones, all called alike.
namespace Orvel::bench {

/// Pictures by the index of the one in the clip that they show.
using Filtered = std::map<int, Picture>;

struct NoiseMethod {
    std::string name;
    std::function<Filtered(const Clip& noisy)> run;  ///< leaves the clip as it is
};

/// The clip as it is, the library's temporal filter at each strength, and FFmpeg's filters where they are installed, at
/// their defaults and then at settings for stronger noise. All but FFmpeg's adaptive averaging use no later picture
/// than the one they filter.
/// @param interlaced whether the clips are: fields are then filtered apart, by FFmpeg's filters as halves of a picture.
std::vector<NoiseMethod> noiseMethods(bool interlaced);

/// What the methods are called, for who compares them. FFmpeg's filters go by their names with the settings that are
/// not defaults behind them.
inline constexpr const char *strengthPrefix = "strength ", *usualStrengthName = "strength 3",
                            *ffmpegNames[] = {"FFmpeg hqdn3d", "FFmpeg atadenoise", "FFmpeg nlmeans"};

}  // namespace Orvel::bench
