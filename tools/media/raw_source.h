#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "tools/media/frame_source.h"

namespace OrvelTool {

/// What the file itself does not tell about headerless pictures.
struct RawLayout {
    const Orvel::FormatInfo* format = nullptr;
    int width = 0, height = 0;
    OddChroma oddChroma = OddChroma::down;
};

/// Headerless frames, back to back. A regular file must hold a whole number of frames, at least one, unless the
/// incomplete one at its end is to be ignored; otherwise ToolError (badInput) names sizes that would fit.
class RawSource : public FrameSource {
public:
    RawSource(std::unique_ptr<InputFile> file, const RawLayout& layout, bool ignoreTail);

private:
    void countFrames(std::int64_t fileBytes);
};

/// The size in a file name that holds _WIDTHxHEIGHT_; the last one counts, folders do not.
struct NamedSize {
    int width = 0, height = 0;
};
std::optional<NamedSize> sizeFromName(const std::string& path);

/// Common picture sizes of which a file of so many bytes holds a whole number: "352x288, 720x576"; empty when there are
/// none.
std::string fittingSizes(const Orvel::FormatInfo& format, std::int64_t fileBytes);

}  // namespace OrvelTool
