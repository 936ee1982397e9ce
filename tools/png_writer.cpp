#include "tools/png_writer.h"

#include <png.h>

#include <span>

#include "tools/errors.h"
#include "tools/media/atomic_file.h"

namespace OrvelTool {

void writePng(const std::string& path, const BgrSheet& sheet) {
    AtomicFile file(path);
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(sheet.width);
    image.height = static_cast<png_uint_32>(sheet.height);
    image.format = PNG_FORMAT_BGR;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::vector<std::uint8_t> bytes(size);
    const int written = png_image_write_to_memory(&image, bytes.data(), &size, 0, sheet.pixels.data(), 0, nullptr);
    if (written == 0) {
        const std::string reason = image.message;
        png_image_free(&image);
        throw ToolError(ExitCode::outputFailed, file.name(), reason);
    }
    file.write(std::span<const std::uint8_t>(bytes.data(), size));
    file.commit();
}

}  // namespace OrvelTool
