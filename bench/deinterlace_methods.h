#pragma once
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "bench/clip.h"

// Ways of making progressive pictures from interlaced ones with the top field first, all called alike.
namespace Orvel::bench {

/// Pictures by the index of the progressive frame whose instant they show: 2k is the instant of interlaced frame k's
/// top field, 2k + 1 that of its bottom field.
using Progressive = std::map<int, Picture>;

struct DeinterlaceMethod {
    std::string name;
    std::function<Progressive(const Clip& interlaced)> run;
};

/// One picture a frame, at the instant of its top field.
std::vector<DeinterlaceMethod> frameRateMethods();
/// One picture a field.
std::vector<DeinterlaceMethod> fieldRateMethods();

/// What the methods are called, for who compares two of them. FFmpeg's are missing where it is not installed.
inline constexpr const char *lineDoublingName = "line doubling", *lineAveragingName = "line averaging",
                            *triangleName = "triangle", *cavtName = "CAVT", *blendName = "blend",
                            *yadifName = "FFmpeg yadif", *bwdifName = "FFmpeg bwdif";

}  // namespace Orvel::bench
