#include "tools/process/clip_run.h"

#include <gmock/gmock.h>

#include <cstdio>

#include "orvel/img/all_formats.h"
#include "tests/tools/tool_support.h"
#include "tools/media/frame_shape.h"
#include "tools/media/open_media.h"
#include "tools/process/working_format.h"

namespace OrvelTool {
namespace {

using namespace Orvel;

struct Account {
    long read = -1, added = -1, written = -1, dropped = -1, held = -1;
    long taken = 0;  // pictures that were received
};

struct Method {
    const char* name;
    bool doubleRate, interlaced;
};
constexpr Method methods[] = {{"", false, false},    {"", false, true},      {"triangle", false, true},
                              {"cavt", false, true}, {"blend", false, true}, {"blend", true, true}};

class ClipRunTest : public test::FolderTest {
protected:
    /// Processes a clip of pictures as small as the stages allow, 25 a second.
    template <class T>
    Account process(const ProcessTexts& texts, const char* format, int pictures, bool interlaced) {
        const int side = texts.denoise ? 64 : 16;
        const FrameShape shape(*findFormatByName(format), side, side, OddChroma::down);
        InputOptions input;
        input.size = std::to_string(side) + "x" + std::to_string(side);
        input.format = format;
        input.rate = "25";
        input.scan = interlaced ? "tff" : "progressive";
        const auto bytes = shape.bytes() * static_cast<std::size_t>(pictures);
        const auto source = openSource(write("clip", test::randomBytes(bytes)), input);
        const auto plan = parsePlan(texts);
        const auto setup = setUpProcess<T>(plan, source->info());
        ProcessChain chain(setup);
        Account account;
        ClipRun run(*source, engineInput(source->info(), formatOf<T>()), chain, [&](Img& picture) {
            EXPECT_EQ(picture.getFormat(), T::getClassFormat());
            ++account.taken;
        });
        run.wholeClip(plan.repeatEnds ? std::optional(setup.ends) : std::nullopt);
        const std::string text = run.ledger().text();
        EXPECT_EQ(std::sscanf(text.c_str(), "%ld read, %ld added, %ld written, %ld dropped, %ld held back",
                              &account.read, &account.added, &account.written, &account.dropped, &account.held),
                  5)
            << text;
        return account;
    }

    /// Runs every combination of rate, mode, ends and length.
    template <class T, class Check>
    void forEachRun(const char* format, const Method& method, const Check& check,
                    std::optional<std::int32_t> denoise = std::nullopt) {
        ProcessTexts texts;
        texts.denoise = denoise;
        texts.deinterlace = method.name;
        texts.doubleRate = method.doubleRate;
        for (const Ratio rate :
             {Ratio{0, 1}, Ratio{25, 1}, Ratio{50, 1}, Ratio{30, 1}, Ratio{24000, 1001}, Ratio{25, 2}, Ratio{3, 1}}) {
            if (method.interlaced && texts.deinterlace.empty() && rate.num != 0 && rate != Ratio{25, 1}) continue;
            texts.rate = rate.num == 0 ? "" : std::to_string(rate.num) + "/" + std::to_string(rate.den);
            for (const char* mode : {"blend", "nearest"})
                for (const char* ends : {"drop", "repeat"})
                    for (int pictures : {1, 2, 3, 4, 9}) {
                        texts.rateMode = mode;
                        texts.ends = ends;
                        SCOPED_TRACE(std::string(format) + " " + method.name + (method.doubleRate ? " double" : "") +
                                     (denoise ? " denoised " : " ") + texts.rate + " " + mode + " " + ends + " " +
                                     std::to_string(pictures));
                        check(process<T>(texts, format, pictures, method.interlaced), texts, rate, pictures);
                    }
        }
    }
};

/// What should come out of so many pictures: the deinterlacer makes none of the first and the last, the filter none of
/// its first, and the rate converter one for each moment from the first to the last picture that it is given.
long expected(const Method& method, bool denoise, Ratio rate, bool repeat, long pictures) {
    const long yield = method.doubleRate ? 2 : 1, sourceRate = 25 * yield;
    if (rate.num == 0) rate = {static_cast<std::uint32_t>(sourceRate), 1};
    const long num = rate.num, den = sourceRate * rate.den;  // pictures of the output for each that is converted
    if (repeat) return (pictures * yield * num + den - 1) / den;
    if (method.name == std::string("blend")) pictures = std::max(0L, pictures - 2) * yield;
    if (denoise) pictures = std::max(0L, pictures - 1);
    if (num == den) return pictures;
    return pictures < 2 ? 0 : (pictures - 1) * num / den + 1;
}

TEST_F(ClipRunTest, EveryPictureIsAccountedForWhateverTheStagesDo) {
    for (const Method& method : methods) {
        const auto check = [&](const Account& a, const ProcessTexts& texts, Ratio rate, long pictures) {
            EXPECT_EQ(a.read, pictures);
            EXPECT_EQ(a.written, a.taken);
            EXPECT_EQ(a.written, expected(method, texts.denoise.has_value(), rate, texts.ends == "repeat", pictures));
            EXPECT_EQ(a.read + a.added, a.written + a.dropped + a.held);
            if (texts.ends == "repeat" && (rate.num == 0 || a.written >= pictures)) {
                EXPECT_EQ(std::tuple(a.dropped, a.held, a.added), std::tuple(0, 0, a.written - pictures));
            }
        };
        forEachRun<I420Img>("i420", method, check);
        forEachRun<I420Img>("i420", method, check, 3);
        forEachRun<YV16Img>("yuyv", method, check);
        if (method.name == std::string() || method.name == std::string("triangle"))
            forEachRun<HY16Img>("v216", method, check);
    }
}

TEST_F(ClipRunTest, TheThreePictureDeinterlacerLosesTheEndsOfTheClip) {
    ProcessTexts blend;
    blend.deinterlace = "blend";
    for (const bool doubleRate : {false, true}) {
        blend.doubleRate = doubleRate;
        const Account few = process<I420Img>(blend, "i420", 2, true), many = process<I420Img>(blend, "i420", 6, true);
        EXPECT_EQ(std::tuple(few.written, few.dropped, few.held), std::tuple(0, 0, 2));
        EXPECT_EQ(std::tuple(many.written, many.dropped, many.held), std::tuple(doubleRate ? 8 : 4, 1, 1));
    }
}

}  // namespace
}  // namespace OrvelTool
