#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <stdexcept>

#include "bench/measurements.h"
#include "bench/performance_report.h"
#include "bench/performance_rows.h"
#include "bench/report.h"

namespace Orvel::bench {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/// Result files as the benchmark programs write them.
class PerformanceTest : public testing::Test {
protected:
    ~PerformanceTest() override { std::filesystem::remove_all(folder_); }

    static json result(const std::string& threads = "2") {
        json file;
        file["context"] = {{"date", "2024-05-06T07:08:09+00:00"}, {"num_cpus", 2}, {"load_avg", {0.25, 1.5, 2.0}}};
        file["context"]["caches"] = {{{"level", 1}, {"size", 32768}}, {{"level", 3}, {"size", 8 << 20}}};
        for (const auto* keys : {&runKeys, &peerKeys})
            for (const std::string& key : *keys) file["context"][key] = key + " version";
        file["context"]["threads"] = threads;
        file["context"]["zimg"] = notInstalled;
        file["benchmarks"] = json::array();
        return file;
    }
    static void add(json& file, const std::string& name, const std::vector<double>& rates,
                    const std::string& unit = "bytes") {
        const json common = {{"run_name", name + "/process_time/real_time"}, {"real_time", 17.0}};
        for (const double rate : rates) {
            json run = common;
            run["run_type"] = "iteration";
            run[unit + "/s"] = rate;
            file["benchmarks"].push_back(run);
        }
        json mean = common;
        mean["run_type"] = "aggregate";
        mean["aggregate_name"] = "mean";
        mean[unit + "/s"] = 1e12;  // would spoil everything
        file["benchmarks"].push_back(mean);
    }
    std::filesystem::path write(const std::string& name, const std::string& text) const {
        std::filesystem::create_directories(folder_);
        std::ofstream(folder_ / name, std::ios::binary) << text;
        return folder_ / name;
    }
    Measurements measured(const json& file) const { return readMeasurements({write("one.json", file.dump())}); }

private:
    std::filesystem::path folder_ =
        std::filesystem::path(testing::TempDir()) /
        ("performance_test_" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
};

PerformanceRow ratioRow(std::vector<std::string> peers, std::optional<double> target) {
    return {"Heading", "op", "1080p", Figure::ratio, Threads::one, std::move(peers), target};
}

TEST_F(PerformanceTest, TakesTheRatesOfAllRounds) {
    EXPECT_EQ(median({3, 1, 2}), 2);
    EXPECT_EQ(median({8, 1, 2, 4}), 3);
    json first = result(), second = result();
    add(first, "UYVYToI420 interlaced/1080p/2T/ffmpeg pp=lb", {5, 900, 7});
    add(second, "noise/720p/1T/orvel/iterations:2", {2, 4}, "pictures");
    const Measurements all = readMeasurements({write("a.json", first.dump()), write("b.json", second.dump())});
    ASSERT_EQ(all.rates.size(), 2U);
    EXPECT_THAT(all.rates.at("UYVYToI420 interlaced/1080p/2T/ffmpeg pp=lb").perSecond, ElementsAre(5, 900, 7));
    EXPECT_THAT(all.rates.at("noise/720p/1T/orvel").perSecond, ElementsAre(2, 4));
    EXPECT_EQ(all.rates.at("noise/720p/1T/orvel").unit, "pictures");
    EXPECT_EQ(all.allThreads, 2);
    EXPECT_EQ(all.loadBefore, 0.25);
    EXPECT_EQ(all.lastCacheBytes, 8 << 20);
}

TEST_F(PerformanceTest, RefusesFilesThatAreNotOneRunsResults) {
    const auto good = write("good.json", result().dump());
    json withoutPeers = result();
    withoutPeers["context"].erase("libyuv");
    for (const std::string& text : {std::string(), std::string("{\"context\":"), std::string("[]"), std::string("{}"),
                                    withoutPeers.dump(), result("4").dump(), result("many").dump()}) {
        const auto bad = write("bad.json", text);
        try {
            readMeasurements({good, bad});
            ADD_FAILURE() << text;
        } catch (const std::runtime_error& e) {
            EXPECT_THAT(e.what(), HasSubstr(bad.string()));
        }
    }
    EXPECT_THROW(readMeasurements({good.string() + "x"}), std::runtime_error);
}

TEST_F(PerformanceTest, ComparesWithTheFastestPeerAndNoOther) {
    json file = result();
    add(file, "op/1080p/1T/orvel", {30});
    add(file, "op/1080p/1T/slow", {10});
    add(file, "op/1080p/1T/fast", {20});
    add(file, "op/1080p/1T/unasked", {90});
    add(file, "op/1080p/2T/fast", {80});
    const Measurements all = measured(file);
    for (const auto& peers : {std::vector<std::string>{"slow", "fast"}, {"fast", "slow"}}) {
        const Outcome outcome = outcomeOf(ratioRow(peers, 1.5), all);
        EXPECT_EQ(outcome.figure, 1.5);
        EXPECT_EQ(outcome.fastest, "fast");
        EXPECT_EQ(outcome.verdict, Verdict::met);
    }
    EXPECT_EQ(outcomeOf(ratioRow({"slow"}, 3.01), all).verdict, Verdict::missed);
    EXPECT_EQ(outcomeOf(ratioRow({"slow"}, {}), all).verdict, Verdict::noTarget);
}

TEST_F(PerformanceTest, ComparesWhatWasMeasuredInTheSameRound) {
    json first = result(), second = result(), third = result();
    for (const auto& [file, slowness] : {std::pair{&first, 1}, {&second, 10}, {&third, 5}}) {
        add(*file, "op/1080p/1T/orvel", {30.0 / slowness});
        add(*file, "op/1080p/1T/peer", {(file == &third ? 80.0 : 20.0) / slowness});
    }
    const auto files = {write("1.json", first.dump()), write("2.json", second.dump()), write("3.json", third.dump())};
    EXPECT_EQ(outcomeOf(ratioRow({"peer"}, 1.5), readMeasurements(files)).figure, 1.5);
    PerformanceRow rate = ratioRow({}, 1);
    rate.figure = Figure::rate;
    EXPECT_EQ(outcomeOf(rate, readMeasurements(files)).figure, 6e-6);

    add(third, "op/1080p/1T/peer", {20});
    EXPECT_THROW(outcomeOf(ratioRow({"peer"}, 1.5), measured(third)), std::runtime_error);
}

TEST_F(PerformanceTest, AMissingBenchmarkLeavesARowOpenUnlessItIsMissedAlready) {
    json file = result();
    add(file, "op/1080p/1T/orvel", {30});
    add(file, "op/1080p/1T/slow", {10});
    const Measurements all = measured(file);
    const Outcome without = outcomeOf(ratioRow({"slow", "gone"}, 2), all);
    EXPECT_EQ(without.figure, 3);
    EXPECT_EQ(without.verdict, Verdict::open);
    EXPECT_THAT(without.missing, ElementsAre("op/1080p/1T/gone"));
    EXPECT_EQ(outcomeOf(ratioRow({"slow", "gone"}, 4), all).verdict, Verdict::missed);
    const Outcome alone = outcomeOf(ratioRow({"gone"}, 2), all);
    EXPECT_FALSE(alone.figure);
    EXPECT_EQ(alone.verdict, Verdict::open);

    PerformanceRow ours = ratioRow({"slow"}, 2);
    ours.threads = Threads::all;
    EXPECT_THAT(outcomeOf(ours, all).missing, ElementsAre("op/1080p/2T/orvel", "op/1080p/2T/slow"));
}

TEST_F(PerformanceTest, RatesAreInMillionsAndScalingIsOurOwn) {
    json file = result();
    add(file, "op/1080p/1T/orvel", {4e6}, "blocks");
    add(file, "op/1080p/2T/orvel", {7.2e6}, "blocks");
    add(file, "op/1080p/1T/other", {1}, "bytes");
    const Measurements all = measured(file);
    PerformanceRow row = ratioRow({}, 4);
    row.figure = Figure::rate;
    EXPECT_EQ(outcomeOf(row, all).figure, 4);
    EXPECT_EQ(outcomeOf(row, all).verdict, Verdict::met);
    row.figure = Figure::scaling, row.threads = Threads::all, row.target = 1.85;
    EXPECT_DOUBLE_EQ(outcomeOf(row, all).figure.value(), 1.8);
    EXPECT_EQ(outcomeOf(row, all).verdict, Verdict::missed);
    EXPECT_THROW(outcomeOf(ratioRow({"other"}, 1), all), std::runtime_error) << "blocks beside bytes";
}

TEST_F(PerformanceTest, TheTextShowsEveryRowAndNamesWhatIsMissing) {
    json file = result();
    add(file, "op/1080p/1T/orvel", {2.5e9});
    add(file, "op/1080p/1T/copy", {2e9});
    json failed = {{"run_name", "op/1080p/1T/broken/real_time"}, {"run_type", "iteration"}};
    failed["error_occurred"] = true, failed["error_message"] = "the call failed";
    file["benchmarks"].push_back(failed);
    PerformanceRow rate = ratioRow({}, 3000);
    rate.heading = "Rates", rate.figure = Figure::rate;
    const std::string text = performanceReport(
        {ratioRow({"copy"}, 1.25), ratioRow({"broken"}, 0.8), ratioRow({"gone"}, {}), rate}, measured(file));
    EXPECT_THAT(text,
                HasSubstr("- 2024-05-06, cpu version, 2 cores, last-level cache of 8 MiB; load average before the "
                          "run 0.25\n- compiler: compiler version\n"
                          "- peers: libyuv libyuv version, zimg not installed, OpenCV OpenCV version"));
    EXPECT_THAT(text, HasSubstr("\n3 targets: 1 met, 1 missed, 1 open.\n"));
    EXPECT_THAT(text, HasSubstr("### Heading\n\n| operation |"));
    EXPECT_THAT(text, HasSubstr("\n| op | 1080p | 1 | limit | 1.25 | ≥ 1.25 | yes |\n"
                                "| op | 1080p | 1 | broken | not measured | ≥ 0.8 | open |\n"
                                "| op | 1080p | 1 | gone | not measured |  |  |\n\n### Rates\n"));
    EXPECT_THAT(text, HasSubstr("\n| op | 1080p | 1 |  | 2500 M bytes/s | ≥ 3000 M bytes/s | **no**, 17 % short |\n"));
    EXPECT_THAT(text, HasSubstr("### Not measured\n\n- `op/1080p/1T/broken`: the call failed\n"
                                "- `op/1080p/1T/gone`: no such benchmark in this run\n"));
}

TEST_F(PerformanceTest, AFigureJustBelowItsTargetLooksSmaller) {
    json file = result();
    add(file, "op/1080p/1T/orvel", {1.2499});
    add(file, "op/1080p/1T/peer", {1});
    EXPECT_THAT(performanceReport({ratioRow({"peer"}, 1.25)}, measured(file)),
                HasSubstr("| 1.24 | ≥ 1.25 | **no**, 1 % short |"));
}

TEST_F(PerformanceTest, TheTextSaysWhenTheMachineWasBusy) {
    json busy = result();
    busy["context"]["load_avg"][0] = 2.01;
    EXPECT_THAT(performanceReport({}, measured(busy)), HasSubstr("was busy"));
    EXPECT_THAT(performanceReport({}, measured(result())), Not(HasSubstr("was busy")));
}

TEST_F(PerformanceTest, OneCoreHasNoRowsAtAllThreads) {
    json file = result("1");
    add(file, "op/1080p/1T/orvel", {2});
    PerformanceRow scaling = ratioRow({}, 1.85);
    scaling.figure = Figure::scaling, scaling.threads = Threads::all;
    const std::string text = performanceReport({scaling}, measured(file));
    EXPECT_THAT(text, HasSubstr("one core only"));
    EXPECT_THAT(text, HasSubstr("\n0 targets:"));
    EXPECT_THAT(text, Not(HasSubstr("itself")));
}

TEST_F(PerformanceTest, TheFilterFindsWhatTheRowsNeedAndNothingElse) {
    const std::regex filter(benchmarkFilter({ratioRow({"ffmpeg a=b", "c++"}, 1)}));
    const auto found = [&](const std::string& name) { return std::regex_search(name, filter); };
    for (const std::string who : {"orvel", "ffmpeg a=b", "c++"})
        EXPECT_TRUE(found("op/1080p/16T/" + who + "/process_time/real_time")) << who;
    for (const std::string name : {"op/1080p/1T/zimg/real_time", "op/1080i/1T/orvel/real_time", "op/1080p/1T/ccc/x",
                                   "top/1080p/1T/orvel/x", "op/1080p/1T/orvel2/x"})
        EXPECT_FALSE(found(name)) << name;
}

TEST_F(PerformanceTest, RowsOfTheDocumentAreToldApartAndHavePeersWhereTheyCompare) {
    std::set<std::tuple<std::string, std::string, Figure, Threads, std::vector<std::string>>> seen;
    for (const PerformanceRow& row : performanceRows()) {
        EXPECT_TRUE(seen.insert({row.operation, row.size, row.figure, row.threads, row.peers}).second) << row.operation;
        EXPECT_EQ(row.peers.empty(), row.figure != Figure::ratio) << row.operation;
    }
}

TEST_F(PerformanceTest, TheDocumentHasAPlaceForTheFigures) {
    std::ifstream in(ORVEL_PERFORMANCE_TEXT);
    const auto copy = write("performance.md", {std::istreambuf_iterator<char>(in), {}});
    replaceMarked(copy, "measurements", "figures\n");
    std::ifstream out(copy);
    EXPECT_THAT(std::string(std::istreambuf_iterator<char>(out), {}), HasSubstr("\n\nfigures\n<!--"));
}

}  // namespace
}  // namespace Orvel::bench
