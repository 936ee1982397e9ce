#include "tools/media/y4m_header.h"

#include <fmt/format.h>

#include <charconv>

#include "orvel/img/all_formats.h"
#include "tools/errors.h"
#include "tools/media/frame_shape.h"

namespace OrvelTool {
namespace {

using namespace Orvel;

constexpr Ratio defaultRate{30, 1};

struct ChromaTag {
    std::string_view tag;
    std::uint32_t format;
};
// The first tag of a format is the one that is written.
constexpr ChromaTag chromaTags[] = {
    {"420", I420Img::getClassFormat()},      {"420jpeg", I420Img::getClassFormat()},
    {"420mpeg2", I420Img::getClassFormat()}, {"420paldv", I420Img::getClassFormat()},
    {"422", YV16Img::getClassFormat()},      {"422p16", HY16Img::getClassFormat()},
};

struct ScanTag {
    char tag;
    Scan scan;
};
constexpr ScanTag scanTags[] = {{'?', Scan::unknown},
                                {'p', Scan::progressive},
                                {'t', Scan::topFirst},
                                {'b', Scan::bottomFirst},
                                {'m', Scan::mixed}};

constexpr std::string_view rangeKey = "COLORRANGE=";

class HeaderParser {
public:
    explicit HeaderParser(const std::string& name) : name_(name) {
        info_.container = Container::y4m;
        info_.oddChroma = OddChroma::up;
        info_.format = &formatOf<I420Img>();
    }

    void parameter(std::string_view text) {
        const std::string_view value = text.substr(1);
        switch (text.front()) {
            case 'W':
                info_.width = static_cast<int>(number(text, value, maxSide));
                break;
            case 'H':
                info_.height = static_cast<int>(number(text, value, maxSide));
                break;
            case 'F':
                info_.rate = ratio(text, value);
                break;
            case 'A':
                info_.pixel = ratio(text, value);
                break;
            case 'I':
                info_.scan = scan(text, value);
                break;
            case 'C':
                chroma(text, value);
                break;
            case 'X':
                if (value.substr(0, rangeKey.size()) == rangeKey) info_.colorRange = value.substr(rangeKey.size());
                break;
            default:
                break;  // readers skip what later versions of the format may add
        }
    }

    ClipInfo finish() {
        if (info_.width == 0 || info_.height == 0) fail("Y4M header gives no size", "W and H are needed");
        if (const auto problem = sizeProblem(*info_.format, info_.width, info_.height); !problem.empty()) fail(problem);
        return std::move(info_);
    }

private:
    std::uint32_t number(std::string_view text, std::string_view digits, std::uint32_t limit) const {
        std::uint32_t value = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
        if (error != std::errc() || end != digits.data() + digits.size() || value == 0 || value > limit)
            fail(fmt::format("Y4M parameter {} is not a number from 1 to {}", text, limit));
        return value;
    }

    // 0:0 stands for unknown.
    std::optional<Ratio> ratio(std::string_view text, std::string_view value) const {
        if (value == "0:0") return std::nullopt;
        const auto colon = value.find(':');
        if (colon == value.npos) fail(fmt::format("Y4M parameter {} is no ratio", text));
        return Ratio{number(text, value.substr(0, colon), 0x7FFFFFFF),
                     number(text, value.substr(colon + 1), 0x7FFFFFFF)};
    }

    Scan scan(std::string_view text, std::string_view value) const {
        for (const auto& entry : scanTags)
            if (value.size() == 1 && value.front() == entry.tag) return entry.scan;
        fail(fmt::format("Y4M parameter {} is no interlacing", text), "?, p, t, b and m are");
    }

    void chroma(std::string_view text, std::string_view value) {
        for (const auto& entry : chromaTags) {
            if (value != entry.tag) continue;
            info_.format = findFormat(entry.format);
            info_.chromaTag = info_.format->halfHeightChroma ? value : "";
            return;
        }
        fail(fmt::format("Y4M chroma {} is not supported", text), "C420*, C422 and C422p16 are");
    }

    [[noreturn]] void fail(std::string_view what, std::string_view hint = {}) const {
        throw ToolError(ExitCode::badInput, name_, what, hint);
    }

    const std::string& name_;
    ClipInfo info_;
};

std::string ratioText(const std::optional<Ratio>& ratio) {
    return ratio ? fmt::format("{}:{}", ratio->num, ratio->den) : "0:0";
}

}  // namespace

ClipInfo parseY4mHeader(std::string_view line, const std::string& name) {
    HeaderParser parser(name);
    line.remove_prefix(std::min(line.size(), y4mMagic.size()));
    while (!line.empty()) {
        const auto space = std::min(line.find(' '), line.size());
        if (space > 0) parser.parameter(line.substr(0, space));
        line.remove_prefix(std::min(space + 1, line.size()));
    }
    return parser.finish();
}

std::string formatY4mHeader(const ClipInfo& info) {
    char scan = '?';
    for (const auto& entry : scanTags)
        if (entry.scan == info.scan && entry.scan != Scan::mixed) scan = entry.tag;
    std::string_view chroma;
    for (const auto& entry : chromaTags)
        if (chroma.empty() && entry.format == info.format->code) chroma = entry.tag;
    if (info.format->halfHeightChroma && !info.chromaTag.empty()) chroma = info.chromaTag;
    return fmt::format("{}W{} H{} F{} I{} A{} C{}{}\n", y4mMagic, info.width, info.height,
                       ratioText(info.rate.value_or(defaultRate)), scan, ratioText(info.pixel), chroma,
                       info.colorRange.empty() ? "" : fmt::format(" X{}{}", rangeKey, info.colorRange));
}

bool fitsY4m(const FormatInfo& format) noexcept {
    for (const auto& entry : chromaTags)
        if (entry.format == format.code) return true;
    return false;
}

}  // namespace OrvelTool
