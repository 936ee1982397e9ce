#pragma once
#include <array>
#include <cstdint>
#include <string>

#include "tools/media/clip_info.h"

// Values of options. A text that does not fit throws ToolError (usage), which names the option and shows the form.
namespace OrvelTool {

struct Size {
    int width = 0, height = 0;
};
struct Rectangle {
    int width = 0, height = 0, x = 0, y = 0;
};

/// "WIDTHxHEIGHT", none of them 0.
Size parseSize(const std::string& option, const std::string& text);
/// "WIDTHxHEIGHT+X+Y", with a size that is not 0.
Rectangle parseRectangle(const std::string& option, const std::string& text);
/// "25", "30000/1001", or the usual name of a rate over 1001: "23.976", "29.97", "59.94", "119.88".
Ratio parseRate(const std::string& option, const std::string& text);
/// "Y,U,V", 0 to 255 each.
std::array<std::uint8_t, 3> parseColour(const std::string& option, const std::string& text);

}  // namespace OrvelTool
