#include "tools/media/open_media.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

#include "orvel/img/all_formats.h"
#include "tools/errors.h"
#include "tools/media/raw_source.h"
#include "tools/media/y4m_header.h"
#include "tools/media/y4m_reader.h"
#include "tools/parse.h"

namespace OrvelTool {
namespace {

using namespace Orvel;

struct Extension {
    const char* text;
    std::uint32_t format;
};
constexpr Extension extensions[] = {
    {".yuv", I420Img::getClassFormat()},  {".i420", I420Img::getClassFormat()}, {".yv16", YV16Img::getClassFormat()},
    {".hy16", HY16Img::getClassFormat()}, {".uyvy", UYVYImg::getClassFormat()}, {".yuyv", YUYVImg::getClassFormat()},
    {".yuy2", YUYVImg::getClassFormat()}, {".v216", V216Img::getClassFormat()}, {".bgr", BGRImg::getClassFormat()},
    {".bgra", BGRImg::getClassFormat()},
};

std::string extensionOf(const std::string& path) {
    std::string text = std::filesystem::path(path).extension().string();
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(tolower(c)); });
    return text;
}

const FormatInfo* formatFromExtension(const std::string& extension) {
    for (const auto& entry : extensions)
        if (extension == entry.text) return findFormat(entry.format);
    return nullptr;
}

[[noreturn]] void usage(std::string_view where, std::string_view what, std::string_view hint) {
    throw ToolError(ExitCode::usage, where, what, hint);
}

Scan parseScan(const std::string& text) {
    if (text == "progressive") return Scan::progressive;
    if (text == "tff") return Scan::topFirst;
    if (text == "bff") return Scan::bottomFirst;
    usage("--field-order", fmt::format("{} is unknown", text), "progressive, tff and bff are known");
}

const FormatInfo& parseFormat(const std::string& option, const std::string& text) {
    if (const FormatInfo* format = findFormatByName(text)) return *format;
    usage(option, fmt::format("{} is unknown", text), fmt::format("y4m, {} are known", formatNames()));
}

const FormatInfo& rawFormat(const std::string& path, const InputOptions& options) {
    if (!options.format.empty()) return parseFormat("--format", options.format);
    const FormatInfo* format = formatFromExtension(extensionOf(path));
    if (format == nullptr)
        usage(path == "-" ? "standard input" : path, "the format of its headerless pictures is unknown",
              fmt::format("give --format ({})", formatNames()));
    return *format;
}

Size rawSize(const InputFile& file, const std::string& path, const FormatInfo& format, const InputOptions& options) {
    Size size;
    const auto named = sizeFromName(path);
    if (!options.size.empty()) {
        size = parseSize("--size", options.size);
    } else if (named) {
        size = {named->width, named->height};
    } else {
        const std::string fits = fittingSizes(format, file.size().value_or(0));
        usage(file.name(), "the size of its pictures is unknown",
              "give --size WxH or name the file ..._WIDTHxHEIGHT_..." +
                  (fits.empty() ? "" : "; sizes that fit: " + fits));
    }
    if (const auto problem = sizeProblem(format, size.width, size.height); !problem.empty())
        throw ToolError(ExitCode::usage, file.name(), problem);
    return size;
}

std::unique_ptr<FrameSource> openRaw(std::unique_ptr<InputFile> file, const std::string& path,
                                     const InputOptions& options) {
    const FormatInfo& format = rawFormat(path, options);
    const Size size = rawSize(*file, path, format, options);
    return std::make_unique<RawSource>(std::move(file),
                                       RawLayout{&format, size.width, size.height, parseOddChroma(options.oddChroma)},
                                       options.ignoreTail);
}

bool isY4m(InputFile& file, const std::string& path, const InputOptions& options) {
    if (!options.format.empty()) return options.format == "y4m";
    if (extensionOf(path) == ".y4m" || file.startsWith(y4mMagic)) return true;
    return path == "-" && options.size.empty();
}

const FormatInfo& closestY4mFormat(const FormatInfo& source) {
    if (fitsY4m(source)) return source;
    return source.code == V216Img::getClassFormat() ? formatOf<HY16Img>() : formatOf<YV16Img>();
}

}  // namespace

std::unique_ptr<FrameSource> openSource(const std::string& path, const InputOptions& options) {
    auto file = std::make_unique<InputFile>(path);
    std::unique_ptr<FrameSource> source;
    if (isY4m(*file, path, options))
        source = std::make_unique<Y4mReader>(std::move(file), options.ignoreTail);
    else
        source = openRaw(std::move(file), path, options);
    if (!options.rate.empty()) source->setRate(parseRate("--rate", options.rate));
    if (!options.scan.empty()) source->setScan(parseScan(options.scan));
    return source;
}

OutputKind outputKind(const ClipOutput& output, const FormatInfo& source) {
    const auto& [path, formatName] = output;
    const std::string extension = extensionOf(path);
    const bool named = !formatName.empty() && formatName != "y4m";
    const bool y4m = formatName == "y4m" || extension == ".y4m" || (path == "-" && !named);
    if (named) {
        const FormatInfo& format = parseFormat("--output-format", formatName);
        if (y4m && !fitsY4m(format))
            usage(path, fmt::format("Y4M cannot hold {}", format.name), "i420, yv16 and hy16 fit, or name a raw file");
        return {y4m ? Container::y4m : Container::raw, &format};
    }
    if (y4m) return {Container::y4m, &closestY4mFormat(source)};
    if (const FormatInfo* format = formatFromExtension(extension)) return {Container::raw, format};
    usage(path, "its name does not tell the output's format",
          fmt::format("give --output-format (y4m, {})", formatNames()));
}

FrameWriter openOutput(const ClipOutput& output, const OutputKind& kind, ClipInfo info, const InputOptions& options) {
    info.container = kind.container;
    info.format = kind.format;
    info.oddChroma = kind.container == Container::y4m ? OddChroma::up : parseOddChroma(options.oddChroma);
    return FrameWriter(output.path, info);
}

OddChroma parseOddChroma(const std::string& text) {
    if (text.empty() || text == "down") return OddChroma::down;
    if (text == "up") return OddChroma::up;
    usage("--odd-chroma", fmt::format("{} is unknown", text), "down and up are known");
}

}  // namespace OrvelTool
