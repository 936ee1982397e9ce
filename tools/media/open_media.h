#pragma once
#include <memory>
#include <string>

#include "tools/media/clip_info.h"
#include "tools/media/frame_source.h"
#include "tools/media/frame_writer.h"

namespace OrvelTool {

/// What the command line says about an input, as it stands there; empty texts were not given.
struct InputOptions {
    std::string size;       ///< "WIDTHxHEIGHT" of headerless pictures
    std::string format;     ///< a format's name, or "y4m"
    std::string rate;       ///< frames a second, "25" or "30000/1001"
    std::string scan;       ///< "progressive", "tff" or "bff"
    std::string oddChroma;  ///< "down" or "up"; headerless files only
    bool ignoreTail = false;
};

/// Opens "-" or a file. Whatever begins with the magic of Y4M is Y4M unless a format is given; else the extension or
/// the format option tells the format, and the name or the size option the size. Throws ToolError: usage when the
/// options do not tell enough, badInput when the file is at fault.
std::unique_ptr<FrameSource> openSource(const std::string& path, const InputOptions& options);

/// What the command line says about a clip that is written.
struct ClipOutput {
    std::string path;    ///< "-" is standard output
    std::string format;  ///< a format's name, "y4m", or empty; it rules over the extension
};

/// Container and format of an output.
struct OutputKind {
    Container container = Container::raw;
    const Orvel::FormatInfo* format = nullptr;
};

/// @param source format of the pictures to come: a Y4M output takes the one of its own formats that loses nothing
/// against it (BGR: 8-bit 4:2:2).
/// Throws ToolError (usage) when neither path nor format tells the kind, or Y4M cannot hold the format.
OutputKind outputKind(const ClipOutput& output, const Orvel::FormatInfo& source);

/// Opens the output for pictures like those of info, but in the format of kind. @param options of the input, which also
/// say how odd widths are written.
FrameWriter openOutput(const ClipOutput& output, const OutputKind& kind, ClipInfo info, const InputOptions& options);

/// The value of --odd-chroma; empty is down.
OddChroma parseOddChroma(const std::string& text);

}  // namespace OrvelTool
