#include "tools/process/process_plan.h"

#include <fmt/format.h>

#include "tools/errors.h"

namespace OrvelTool {
namespace {

using namespace Orvel;

template <class Value>
struct Named {
    const char* name;
    Value value;
};
constexpr Named<ResizeInterp> interps[] = {
    {"nearest", ResizeInterpNearest},
    {"linear", ResizeInterpLinear},
    {"cubic", ResizeInterpCubic},
    {"super", ResizeInterpSuper},
    {"supersampling", ResizeInterpSuperSampling},
    {"lanczos", ResizeInterpLanczos},
    {"lanczos-filter", ResizeInterpLanczosFilter},
    {"hann-filter", ResizeInterpHannFilter},
};
constexpr Named<DeinterlaceType> deinterlacers[] = {
    {"off", DeinterlaceTypeNone},
    {"triangle", DeinterlaceTypeTriangle},
    {"cavt", DeinterlaceTypeCAVT},
    {"blend", DeinterlaceTypeBlend},
};
constexpr Named<std::int32_t> rateModes[] = {{"auto", -1}, {"blend", 1}, {"nearest", 0}};
constexpr Named<bool> ends[] = {{"drop", false}, {"repeat", true}};

template <class Value, std::size_t N>
std::string namesOf(const Named<Value> (&table)[N]) {
    std::string names;
    for (const auto& entry : table) names += fmt::format("{}{}", names.empty() ? "" : ", ", entry.name);
    return names;
}

template <class Value, std::size_t N>
Value parseName(const char* option, const std::string& text, const Named<Value> (&table)[N], const Value& unsaid) {
    if (text.empty()) return unsaid;
    for (const auto& [name, value] : table)
        if (text == name) return value;
    throw ToolError(ExitCode::usage, option, fmt::format("{} is unknown", text), namesOf(table) + " are known");
}

void parseFields(const ProcessTexts& texts, ProcessPlan& plan) {
    plan.deinterlace = parseName("--deinterlace", texts.deinterlace, deinterlacers, DeinterlaceTypeNone);
    plan.doubleRate = texts.doubleRate;
    if (texts.keepInterlaced && plan.deinterlace != DeinterlaceTypeNone)
        throw ToolError(ExitCode::usage, "--keep-interlaced",
                        fmt::format("contradicts --deinterlace {}", texts.deinterlace), "leave one of them out");
    if (plan.doubleRate && plan.deinterlace != DeinterlaceTypeBlend)
        throw ToolError(ExitCode::usage, "--double-rate",
                        "only one deinterlacer makes a picture of each field, and it is not the one chosen",
                        "add --deinterlace blend");
}

void parseRates(const ProcessTexts& texts, ProcessPlan& plan) {
    if (!texts.rate.empty()) plan.rate = parseRate("--fps", texts.rate);
    plan.rateBlend = parseName("--fps-mode", texts.rateMode, rateModes, -1);
    plan.repeatEnds = parseName("--ends", texts.ends, ends, false);
}

}  // namespace

ProcessPlan parsePlan(const ProcessTexts& texts) {
    ProcessPlan plan;
    if (!texts.crop.empty()) plan.crop = parseRectangle("--crop", texts.crop);
    if (!texts.scale.empty()) plan.scale = parseSize("--scale", texts.scale);
    if (!texts.canvas.empty()) plan.canvas = parseSize("--canvas", texts.canvas);
    if (!texts.place.empty()) plan.place = parseRectangle("--place", texts.place);
    if (!texts.background.empty()) plan.background = parseColour("--background", texts.background);
    if (texts.interp != "auto" && !texts.interp.empty())
        plan.interp = parseName("--interp", texts.interp, interps, ResizeInterpNone);
    parseFields(texts, plan);
    parseRates(texts, plan);
    plan.denoise = texts.denoise;
    plan.threads = texts.threads;
    return plan;
}

std::string interpNames() {
    return "auto, " + namesOf(interps);
}

}  // namespace OrvelTool
