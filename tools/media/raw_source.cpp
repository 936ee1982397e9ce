#include "tools/media/raw_source.h"

#include <fmt/format.h>

#include <filesystem>
#include <regex>

#include "tools/errors.h"

namespace OrvelTool {
namespace {

constexpr NamedSize commonSizes[] = {
    {176, 144},  {320, 240},   {352, 240},   {352, 288},   {416, 240},   {512, 288},   {640, 360},   {640, 480},
    {704, 480},  {704, 576},   {720, 480},   {720, 486},   {720, 576},   {720, 608},   {768, 576},   {832, 480},
    {960, 540},  {1024, 576},  {1024, 768},  {1280, 720},  {1280, 1080}, {1440, 1080}, {1920, 1080}, {1920, 1088},
    {2048, 858}, {2048, 1080}, {2560, 1440}, {3840, 2160}, {4096, 2160}, {7680, 4320}, {8192, 4320},
};

}  // namespace

RawSource::RawSource(std::unique_ptr<InputFile> file, const RawLayout& layout, bool ignoreTail)
    : FrameSource(std::move(file), ignoreTail) {
    info_.container = Container::raw;
    info_.format = layout.format;
    info_.width = layout.width;
    info_.height = layout.height;
    info_.oddChroma = layout.oddChroma;
    settle();
    if (file_->size()) countFrames(*file_->size());
}

void RawSource::countFrames(std::int64_t fileBytes) {
    const auto bytes = static_cast<std::int64_t>(frameBytes());
    info_.frames = fileBytes / bytes;
    const std::int64_t tail = fileBytes % bytes;
    if (*info_.frames > 0 && (tail == 0 || ignoreTail_)) return;
    if (fileBytes == 0) throw ToolError(ExitCode::badInput, name(), "is empty");

    const std::string fits = fittingSizes(*info_.format, fileBytes);
    std::string hint = fits.empty() ? "no common size fits, perhaps the format is another" : "sizes that fit: " + fits;
    if (*info_.frames > 0) hint += fmt::format("; --ignore-tail takes the {} whole frames", *info_.frames);
    throw ToolError(ExitCode::badInput, name(),
                    fmt::format("{} bytes are {} {} frames of {}x{} ({} bytes each) and {} bytes more", fileBytes,
                                *info_.frames, info_.format->name, info_.width, info_.height, bytes, tail),
                    hint);
}

std::optional<NamedSize> sizeFromName(const std::string& path) {
    static const std::regex pattern("_([0-9]{1,5})x([0-9]{1,5})(?=_)");
    const std::string name = std::filesystem::path(path).filename().string();
    std::optional<NamedSize> found;
    for (std::sregex_iterator it(name.begin(), name.end(), pattern), end; it != end; ++it)
        found = NamedSize{std::stoi((*it)[1]), std::stoi((*it)[2])};
    return found;
}

std::string fittingSizes(const Orvel::FormatInfo& format, std::int64_t fileBytes) {
    std::string list;
    for (const auto& [width, height] : commonSizes) {
        const auto bytes = static_cast<std::int64_t>(FrameShape(format, width, height, OddChroma::down).bytes());
        if (fileBytes > 0 && fileBytes % bytes == 0)
            list += fmt::format("{}{}x{}", list.empty() ? "" : ", ", width, height);
    }
    return list;
}

}  // namespace OrvelTool
