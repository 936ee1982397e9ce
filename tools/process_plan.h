#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "orvel/pipeline/process_video_params.h"
#include "tools/media/clip_info.h"
#include "tools/parse.h"

namespace OrvelTool {

/// The processing options as they stand on the command line; empty texts were not given.
struct ProcessTexts {
    std::string crop, scale, canvas, place, background, interp;
};

/// What is to be done with each picture.
struct ProcessPlan {
    std::optional<Rectangle> crop;   ///< part of the source
    std::optional<Size> scale;       ///< size after scaling
    std::optional<Size> canvas;      ///< size of the output; else that of the scaled picture
    std::optional<Rectangle> place;  ///< where on the canvas; else centred if scaled, or all of it
    std::array<std::uint8_t, 3> background{16, 128, 128};  ///< Y, U, V around it; black of the limited range
    std::optional<Orvel::ResizeInterp> interp;             ///< else the engine's choice
};

/// Throws ToolError (usage).
ProcessPlan parsePlan(const ProcessTexts& texts);
/// The names that --interp takes, separated by commas.
std::string interpNames();

/// The format the pictures are processed in. @param name i420, yv16, hy16, or empty for the one closest to the source.
/// Throws ToolError: usage for another name, refused when the engine for it does not take the source.
const Orvel::FormatInfo& workingFormat(const ClipInfo& source, const std::string& name);

/// The engine's parameters, complete, for pictures of source processed as T. Throws ToolError (refused) with a line
/// that names what is wrong, also for what the engine would accept but not do well: cuts between the samples of a
/// chroma sample, between fields, and a canvas around a picture that is not scaled.
template <class T>
Orvel::ProcessVideoParams<T> planParams(const ProcessPlan& plan, const ClipInfo& source);

/// What the pictures are after processing, in the working format; the container is left as it was.
template <class T>
ClipInfo processedInfo(const ClipInfo& source, const Orvel::ProcessVideoParams<T>& params);

}  // namespace OrvelTool
