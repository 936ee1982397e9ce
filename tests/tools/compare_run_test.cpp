// What the built program says of two clips, and the hashes of one.
#include <fmt/format.h>

#include <cmath>

#include "tests/tools/run_support.h"

namespace OrvelTool {
namespace {

using test::Outcome;
using ::testing::AnyOf;
using ::testing::HasSubstr;

class CompareRunTest : public test::ProgramTest {
protected:
    /// What is told as the difference of two headerless clips.
    std::string difference(const std::string& a, const std::string& b, const std::string& name) {
        write("a" + name, a);
        write("b" + name, b);
        last_ = run("compare a" + name + " b" + name);
        EXPECT_EQ(last_.exit, last_.err.empty() ? 0 : 1) << last_.err;
        return field("difference");
    }
    std::string field(const std::string& name) const {
        const auto at = last_.out.find("\n" + name + " ");
        if (at == last_.out.npos) return "missing";
        const auto value = last_.out.find_first_not_of(' ', at + 1 + name.size());
        return last_.out.substr(value, last_.out.find('\n', value) - value);
    }

    Outcome last_;
};

TEST_F(CompareRunTest, EqualClipsAreEqualInAnyContainer) {
    EXPECT_EQ(difference(clip_, clip_, "_48x32_.yuv"), "none");
    ASSERT_EQ(run("convert a_48x32_.yuv a.y4m --rate 50 --field-order tff").exit, 0);
    last_ = run("compare a.y4m b_48x32_.yuv");
    EXPECT_EQ(last_.exit, 0) << last_.err;
    EXPECT_EQ(
        last_.out,
        "a             a.y4m\nb             b_48x32_.yuv\nequal         yes\ndifference    none\nframes        3\n"
        "psnr_y        inf\npsnr_u        inf\npsnr_v        inf\n");
    EXPECT_THAT(
        run("compare - b_48x32_.yuv --json <a.y4m").out,
        HasSubstr("\"equal\": \"yes\",\n  \"difference\": \"none\",\n  \"frames\": 3,\n  \"psnr_y\": \"inf\","));
    write("bare.yuv", clip_);
    EXPECT_EQ(run("compare a.y4m bare.yuv --b-format i420 --b-size 48x32").exit, 0);
}

// One sample of the second frame is off by five in each clip.
TEST_F(CompareRunTest, TheFirstDifferenceIsNamedInEveryFormat) {
    struct Case {
        const char* name;
        std::size_t frameBytes, byte;
        const char *place, *psnr;
        int samples;
    };
    const Case cases[] = {
        {"_4x4_.yuv", 24, 6, "y at (2, 1): 100 and 105", "psnr_y", 16},
        {"_4x4_.yuv", 24, 19, "u at (1, 1): 100 and 105", "psnr_u", 4},
        {"_4x4_.yuv", 24, 20, "v at (0, 0): 100 and 105", "psnr_v", 4},
        {"_4x4_.yv16", 32, 18, "u at (0, 1): 100 and 105", "psnr_u", 8},
        {"_4x4_.yv16", 32, 31, "v at (1, 3): 100 and 105", "psnr_v", 8},
        {"_4x4_.uyvy", 32, 12, "u at (1, 1): 100 and 105", "psnr_u", 8},
        {"_4x4_.uyvy", 32, 13, "y at (2, 1): 100 and 105", "psnr_y", 16},
        {"_4x4_.uyvy", 32, 14, "v at (1, 1): 100 and 105", "psnr_v", 8},
        {"_3x4_.uyvy", 24, 5, "y at (2, 0): 100 and 105", "psnr_y", 12},
        {"_3x4_.uyvy", 24, 4, "u at (1, 0): 100 and 105", "psnr_u", 8},
        {"_4x4_.yuyv", 32, 11, "v at (0, 1): 100 and 105", "psnr_v", 8},
        {"_4x4_.yuyv", 32, 14, "y at (3, 1): 100 and 105", "psnr_y", 16},
        {"_4x4_.bgr", 64, 22, "r at (1, 1): 100 and 105", "psnr_r", 16},
        {"_4x4_.bgr", 64, 23, "a at (1, 1): 100 and 105", "psnr_a", 16},
        {"_4x4_.hy16", 64, 14, "y at (3, 1): 25700 and 25705", "psnr_y", 16},
        {"_4x4_.hy16", 64, 62, "v at (1, 3): 25700 and 25705", "psnr_v", 8},
        {"_4x4_.v216", 64, 20, "v at (0, 1): 25700 and 25705", "psnr_v", 8},
        {"_4x4_.v216", 64, 30, "y at (3, 1): 25700 and 25705", "psnr_y", 16},
    };
    for (const Case& c : cases) {
        const std::string a(2 * c.frameBytes, '\x64');
        std::string b = a;
        b[c.frameBytes + c.byte] += 5;
        EXPECT_EQ(difference(a, b, c.name), std::string("frame 1 differs first in ") + c.place) << c.name;
        const bool wide = std::string(c.place).find("25705") != std::string::npos;
        const double expected = 10 * std::log10((wide ? 65535.0 * 65535 : 255.0 * 255) * 2 * c.samples / 25);
        EXPECT_NEAR(std::atof(field(c.psnr).c_str()), expected, 0.0006) << c.name << " " << c.psnr;
        for (const char* other : {"psnr_y", "psnr_u", "psnr_v", "psnr_b"}) {
            if (other != std::string(c.psnr)) {
                EXPECT_THAT(field(other), AnyOf("inf", "missing")) << c.name;
            }
        }
    }
}

TEST_F(CompareRunTest, OtherLengthsSizesAndFormatsAreToldApart) {
    EXPECT_EQ(difference(clip_, clip_.substr(0, 2 * 2304), "_48x32_.yuv"),
              "b_48x32_.yuv ends after 2 frames, a_48x32_.yuv goes on");
    EXPECT_EQ(field("frames"), "2");
    EXPECT_EQ(field("psnr_y"), "inf");
    std::string other = clip_ + clip_;
    other[2304] = static_cast<char>(~other[2304]);
    EXPECT_THAT(difference(clip_, other, "_48x32_.yuv"), HasSubstr("(0, 0): "));
    EXPECT_THAT(field("difference"), HasSubstr("; a_48x32_.yuv ends after 3 frames, b_48x32_.yuv goes on"));
    write("b_32x48_.yuv", clip_);
    last_ = run("compare a_48x32_.yuv b_32x48_.yuv");
    EXPECT_EQ(last_.exit, 1);
    EXPECT_EQ(field("difference"), "the sizes differ: 48x32 and 32x48");
    EXPECT_EQ(field("psnr_y"), "missing");
    write("b_48x32_.uyvy", clip_ + clip_.substr(0, 2304));
    last_ = run("compare a_48x32_.yuv b_48x32_.uyvy");
    EXPECT_EQ(last_.exit, 1);
    EXPECT_THAT(last_.err, HasSubstr("the formats differ: i420 and uyvy\n"));
    failure(2, "compare a_48x32_.yuv");
    failure(2, "compare - - <a_48x32_.yuv");
}

TEST_F(CompareRunTest, HashesAreThoseOfTheHeaderlessPictures) {
    // FIPS 180-2: the message of 56 bytes, here a picture of 7x4 4:2:2 pixels.
    const std::string message = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
    write("a_7x4_.uyvy", message);
    EXPECT_EQ(run("hash a_7x4_.uyvy").out,
              "frame,sha256\n0,248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1\n");
    write("a_48x32_.yuv", clip_);
    ASSERT_EQ(run("convert a_48x32_.yuv a.y4m").exit, 0);
    const std::string frames = run("hash a_48x32_.yuv").out, whole = run("hash --whole a_48x32_.yuv").out;
    EXPECT_EQ(run("hash a.y4m").out, frames);
    EXPECT_EQ(run("hash --whole a.y4m").out, whole);
    write("b_48x96_.yuv", clip_);  // all bytes as one frame
    const std::string one = run("hash b_48x96_.yuv").out;
    EXPECT_EQ(whole, "frames,sha256\n3," + one.substr(one.find("\n0,") + 3));
    EXPECT_EQ(run("hash b_48x96_.yuv o.json --whole").exit, 0);
    EXPECT_EQ(slurp(path("o.json")),
              "[\n  {\"frames\":1,\"sha256\":\"" + one.substr(one.find("\n0,") + 3, 64) + "\"}\n]\n");
    for (std::size_t i = 0; i < 3; ++i) {
        write("c_48x32_.yuv", clip_.substr(i * 2304, 2304));
        const std::string single = run("hash c_48x32_.yuv").out;
        EXPECT_THAT(frames, HasSubstr(fmt::format("\n{}{}", i, single.substr(single.find("\n0,") + 2))));
    }
}

}  // namespace
}  // namespace OrvelTool
