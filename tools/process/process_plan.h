#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "orvel/deinterlace/deinterlace_params.h"
#include "orvel/resize/resize_types.h"
#include "tools/media/clip_info.h"
#include "tools/parse.h"

namespace OrvelTool {

/// The processing options as they stand on the command line; empty ones were not given.
struct ProcessTexts {
    std::string crop, scale, canvas, place, background, interp;
    std::string deinterlace, rate, rateMode, ends;
    bool keepInterlaced = false, doubleRate = false;
    std::optional<std::int32_t> denoise;  ///< 0 to 7
    int threads = 0;
};

/// What is to be done with each picture.
struct ProcessPlan {
    std::optional<Rectangle> crop;   ///< part of the source
    std::optional<Size> scale;       ///< size after scaling
    std::optional<Size> canvas;      ///< size of the output; else that of the scaled picture
    std::optional<Rectangle> place;  ///< where on the canvas; else centred if scaled, or all of it
    std::array<std::uint8_t, 3> background{16, 128, 128};  ///< Y, U, V around it; black of the limited range
    std::optional<Orvel::ResizeInterp> interp;             ///< else the engine's choice

    /// None: the pictures of an interlaced source keep their fields.
    Orvel::DeinterlaceType deinterlace = Orvel::DeinterlaceTypeNone;
    bool doubleRate = false;              ///< one picture a field; blend only
    std::optional<Ratio> rate;            ///< pictures a second; else as many as there are
    std::int32_t rateBlend = -1;          ///< as ProcessVideoParams::frameRateBlend
    std::optional<std::int32_t> denoise;  ///< strength of the temporal filter; else there is none
    bool repeatEnds = false;              ///< the first and last picture stand in for the neighbours they lack
    int threads = 0;  ///< at most, 0 = one a core; the tasks of the library have a limit of their own
};

/// Throws ToolError (usage).
ProcessPlan parsePlan(const ProcessTexts& texts);
/// The names that --interp takes, separated by commas.
std::string interpNames();

}  // namespace OrvelTool
