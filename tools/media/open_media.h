#pragma once
#include <memory>
#include <string>

#include "tools/media/clip_info.h"
#include "tools/media/frame_source.h"

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

/// Container and format of an output.
struct OutputKind {
    Container container = Container::raw;
    const Orvel::FormatInfo* format = nullptr;
};

/// @param formatName a format's name, "y4m", or empty; the format option rules over the extension.
/// @param source format of the pictures to come: a Y4M output takes the one of its own formats that loses nothing
/// against it (BGR: 8-bit 4:2:2).
/// Throws ToolError (usage) when neither tells the kind, or Y4M cannot hold the format.
OutputKind outputKind(const std::string& path, const std::string& formatName, const Orvel::FormatInfo& source);

/// The value of --odd-chroma; empty is down.
OddChroma parseOddChroma(const std::string& text);

}  // namespace OrvelTool
