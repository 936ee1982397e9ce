// The measures of the built program on clips whose motion, noise and cuts are known.
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/tools/moving_clip.h"
#include "tests/tools/run_support.h"

namespace OrvelTool {
namespace {

using test::noisyClip;
using test::pan;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::HasSubstr;
using ::testing::Le;

class AnalyzeRunTest : public test::ProgramTest {
protected:
    using Record = nlohmann::json;

    /// The records of a headerless 4:2:0 clip.
    Record records(const std::string& clip, const std::string& size, const std::string& options = "") {
        write("a.yuv", clip);
        const auto outcome = run("analyze a.yuv --to json --size " + size + " " + options);
        EXPECT_EQ(outcome.exit, 0) << outcome.err;
        return Record::parse(outcome.out, nullptr, false);
    }

    /// What a field holds from the second record on.
    template <class T>
    static std::vector<T> values(const Record& records, const char* field) {
        std::vector<T> values;
        for (std::size_t i = 1; i < records.size(); ++i) values.push_back(records.at(i).at(field).get<T>());
        return values;
    }
};

TEST_F(AnalyzeRunTest, ARecordForEachFrameAsCsvOrJson) {
    const std::string names = "frame,mean_cost,noise,level,scene_cut,mean_x,mean_y\n";
    write("a_48x32_.yuv", pan(1, 48, 32, 0, 0) + pan(2, 48, 32, 0, 0));
    EXPECT_EQ(run("analyze a_48x32_.yuv").out, names + "0,,,,,,\n1,0.0,0.0,1,0,0.0,0.0\n2,0.0,0.0,1,0,0.0,0.0\n");
    EXPECT_EQ(run("analyze a_48x32_.yuv b.json --denoise 7").exit, 0);
    const std::string json = slurp(path("b.json"));
    EXPECT_EQ(json.substr(0, json.find("},\n  {\"frame\":2")),
              "[\n  {\"frame\":0,\"mean_cost\":null,\"noise\":null,\"level\":null,\"scene_cut\":null,\"mean_x\":null,"
              "\"mean_y\":null},\n  {\"frame\":1,\"mean_cost\":0.0,\"noise\":0.0,\"level\":6,\"scene_cut\":0,"
              "\"mean_x\":0.0,\"mean_y\":0.0");

    const std::string clip = pan(4, 64, 48, 2, 1);
    std::ostringstream csv;
    csv << names;
    for (const auto& record : records(clip, "64x48")) {
        for (const char* field : {"frame", "mean_cost", "noise", "level", "scene_cut", "mean_x", "mean_y"})
            csv << (record.at(field).is_null() ? "" : record.at(field).dump())
                << (field == std::string("mean_y") ? "\n" : ",");
    }
    EXPECT_EQ(run("analyze - --format i420 --size 64x48 <a.yuv").out, csv.str());
    EXPECT_EQ(run("analyze a.yuv b.txt --size 64x48").exit, 0);
    EXPECT_EQ(slurp(path("b.txt")), csv.str());
    EXPECT_EQ(run("analyze a.yuv b.json --size 64x48 --output-format csv").exit, 0);
    EXPECT_EQ(slurp(path("b.json")), csv.str());
}

TEST_F(AnalyzeRunTest, VectorsPointToWhereThingsWereInTheFrameBefore) {
    // Blocks at the edges that content enters by have no match.
    const auto measured = records(pan(4, 160, 128, 3, -2), "160x128");
    EXPECT_THAT(values<double>(measured, "mean_x"), Each(AllOf(Ge(-3.1), Le(-2.7))));
    EXPECT_THAT(values<double>(measured, "mean_y"), Each(AllOf(Ge(1.7), Le(2.1))));
    EXPECT_THAT(values<double>(measured, "mean_cost"), Each(AllOf(Ge(1), Le(200))));
    EXPECT_TRUE(measured.at(0).at("mean_x").is_null());
}

TEST_F(AnalyzeRunTest, NoiseIsMeasuredAndSetsTheLevelOfTheNextFrame) {
    const auto some = records(noisyClip(4, 128, 96, 6), "128x96");
    EXPECT_THAT(values<double>(some, "noise"), Each(AllOf(Ge(180), Le(275))));
    EXPECT_THAT(values<int>(some, "level"), ElementsAre(1, 2, 2));
    // The mean difference of two pictures with noise of deviation s is 1.13 s; a search finds a little less.
    EXPECT_THAT(values<double>(some, "mean_cost"), Each(AllOf(Ge(0.8 * 64 * 1.13 * 6), Le(64 * 1.13 * 6))));

    const std::string strong = noisyClip(3, 128, 96, 28);
    EXPECT_THAT(values<double>(records(strong, "128x96"), "noise"), Each(AllOf(Ge(375), Le(575))));
    for (const auto& [strength, first, second] :
         {std::tuple(0, 0, 0), std::tuple(1, 0, 2), std::tuple(2, 0, 3), std::tuple(3, 1, 4), std::tuple(7, 6, 7)})
        EXPECT_THAT(values<int>(records(strong, "128x96", "--denoise " + std::to_string(strength)), "level"),
                    ElementsAre(first, second))
            << strength;
}

TEST_F(AnalyzeRunTest, ACutIsTheFirstFrameOfItsScene) {
    const auto measured = records(pan(3, 96, 64, 2, 1, 0) + pan(3, 96, 64, 2, 1, 2), "96x64");
    EXPECT_THAT(values<int>(measured, "scene_cut"), ElementsAre(0, 0, 1, 0, 0));
}

TEST_F(AnalyzeRunTest, InterlacedClipsAreMeasuredByTheirTopFields) {
    std::string woven, tops;
    for (int k = 0; k < 3; ++k) {
        const auto top = [&](int x, int y) { return test::sceneLuma(0, x - 4 * k, y); };
        tops += test::greyFrame(64, 32, top);
        woven += test::greyFrame(64, 64, [&](int x, int y) { return y % 2 == 0 ? top(x, y / 2) : 40 + 9 * k; });
    }
    const auto expected = records(tops, "64x32");
    EXPECT_NE(records(woven, "64x64"), expected);
    EXPECT_EQ(records(woven, "64x64", "--field-order tff"), expected);
    EXPECT_EQ(records(woven, "64x64", "--field-order bff"), expected);
    const auto outcome = run("analyze a.yuv --size 64x64 --field-order tff");
    EXPECT_THAT(outcome.err, HasSubstr("note: a.yuv: frames hold two fields: the top fields are analysed\n"));
    ASSERT_EQ(run("convert a.yuv b.y4m --size 64x64 --to y4m --field-order tff").exit, 0);
    EXPECT_EQ(run("analyze b.y4m").out, outcome.out);
}

TEST_F(AnalyzeRunTest, OtherFormatsAreMeasuredByTheirLuma) {
    write("a_64x48_.yuv", pan(3, 64, 48, 2, 1));
    const std::string expected = run("analyze a_64x48_.yuv").out;
    for (const char* name : {"b_64x48_.uyvy", "b_64x48_.yuyv", "b_64x48_.yv16", "b_64x48_.v216", "b_64x48_.hy16"}) {
        ASSERT_EQ(run(std::string("convert a_64x48_.yuv ") + name).exit, 0);
        EXPECT_EQ(run(std::string("analyze ") + name).out, expected) << name;
    }
}

TEST_F(AnalyzeRunTest, FailuresSayWhatToDoAndLeaveNoOutput) {
    write("a_48x32_.yuv", clip_);
    write("a_48x32_.bin", clip_);
    write("b_6x8_.yuv", std::string(3 * 72, 'x'));
    write("c_48x14_.yuv", std::string(3 * 48 * 21, 'x'));
    write("d_48x15_.uyvy", std::string(3 * 48 * 30, 'x'));
    for (const char* arguments : {"analyze", "analyze a_48x32_.yuv o.csv --to xml", "analyze a_48x32_.yuv --denoise 8",
                                  "analyze a_48x32_.yuv --denoise some", "analyze a_48x32_.bin o.csv"})
        EXPECT_THAT(failure(2, arguments), HasSubstr("; ")) << arguments;
    EXPECT_THAT(failure(4, "analyze b_6x8_.yuv o.csv"), HasSubstr("no block of 8x8 fits into 6x8; use"));
    EXPECT_THAT(failure(4, "analyze c_48x14_.yuv o.csv --field-order tff"), HasSubstr("fits into 48x7; use"));
    EXPECT_THAT(failure(4, "analyze d_48x15_.uyvy o.csv"), HasSubstr("process --crop"));
    failure(5, "analyze c_48x14_.yuv >/dev/full");
    write("cut.y4m", "YUV4MPEG2 W16 H16 F25:1 Ip\nFRAME\n" + std::string(384, 'x') + "FRAME\nx");
    failure(3, "analyze - o.json <cut.y4m");
}

}  // namespace
}  // namespace OrvelTool
