#include "bench/performance_rows.h"

#include <map>
#include <set>
#include <utility>

namespace Orvel::bench {
namespace {

using Names = std::vector<std::string>;

/// Takes down rows under the heading given last.
class Table {
public:
    void heading(std::string text) { heading_ = std::move(text); }

    /// Every operation at every size beside its fastest peer, at one thread and at all.
    void beside(const Names& peers, const Names& operations, const Names& sizes, double one, double all) {
        for (const std::string& operation : operations)
            for (const std::string& size : sizes) {
                add({heading_, operation, size, Figure::ratio, Threads::one, peers, one});
                add({heading_, operation, size, Figure::ratio, Threads::all, peers, all});
            }
    }
    void beside(const Names& peers, const Names& operations, const Names& sizes, double target) {
        beside(peers, operations, sizes, target, target);
    }
    /// A comparison that nothing is aimed at, at one thread.
    void besideForComparison(const Names& peers, const std::string& operation, const std::string& size) {
        add({heading_, operation, size, Figure::ratio, Threads::one, peers, {}});
    }
    void millions(const std::string& operation, const std::string& size, double target) {
        add({heading_, operation, size, Figure::rate, Threads::one, {}, target});
    }
    void scaling(const std::string& operation, const std::string& size, double target) {
        add({heading_, operation, size, Figure::scaling, Threads::all, {}, target});
    }
    std::vector<PerformanceRow> take() { return std::move(rows_); }

private:
    void add(PerformanceRow row) { rows_.push_back(std::move(row)); }

    std::string heading_;
    std::vector<PerformanceRow> rows_;
};

const Names limit{"copy"}, libyuv{"libyuv"}, zimg{"zimg"}, opencv{"opencv"}, packers{"libyuv", "swscale"};
const Names inCache{"1080p"}, fromMemory{"2160p"}, bothSizes{"1080p", "2160p"};

void addConversions(Table& table) {
    table.heading("Format conversions, 8 bit");
    const Names toI420{"UYVYToI420", "YUYVToI420"}, fromI420{"I420ToUYVY", "I420ToYUYV"};
    table.beside(libyuv, toI420, inCache, 1.25);
    table.beside(limit, toI420, inCache, 0.80);
    table.beside(libyuv, toI420, fromMemory, 1.4);
    table.beside(libyuv, {"UYVYToI420 interlaced"}, bothSizes, 1.5);
    table.beside(packers, {"UYVYToYV16"}, inCache, 1.05);
    table.beside(packers, {"UYVYToYV16"}, fromMemory, 1.3);
    table.beside(packers, {"YUYVToYV16"}, bothSizes, 1.5);
    table.beside(libyuv, fromI420, inCache, 0.97);
    table.beside(libyuv, fromI420, fromMemory, 1.4);
    const Names repacking{"YV16ToUYVY", "YV16ToYUYV", "UYVYToYUYV", "YUYVToUYVY", "UYVYToV216"};
    table.beside(packers, repacking, inCache, 1.0);
    table.beside(packers, repacking, fromMemory, 1.1);
    table.beside(libyuv, {"I420ToYV16"}, bothSizes, 1.25);
    table.beside(libyuv, {"UYVYToBGR"}, bothSizes, 1.25);
    table.beside(libyuv, {"I420ToBGR"}, bothSizes, 1.3);
    table.beside(libyuv, {"BGRToUYVY"}, bothSizes, 1.5);

    table.heading("Format conversions, 16 bit");
    table.beside(limit, {"V216ToHY16", "HY16ToV216"}, bothSizes, 0.75);
}

void addScaling(Table& table) {
    const Names down{"1080p-720p", "1080p-480p"}, up{"720p-1080p"};
    table.heading("Scaling, 8 bit");
    table.beside(zimg, {"cubic 8 bit", "cubic antialiased 8 bit"}, down, 1.6);
    table.beside({"swscale", "zimg"}, {"cubic 8 bit"}, up, 1.25);
    table.beside(zimg, {"Lanczos 8 bit", "Lanczos antialiased 8 bit"}, down, 1.5);
    table.beside(zimg, {"Lanczos 8 bit"}, up, 1.25);
    table.beside({"swscale"}, {"super-sampling 8 bit"}, {"1080p-720p", "1080p-480p", "2160p-1080p"}, 1.6);
    table.beside({"zimg", "opencv"}, {"linear 8 bit"}, {"1080p-720p", "1080p-480p", "720p-1080p"}, 1.3);

    table.heading("Scaling, 16 bit");
    const Names plain{"cubic 16 bit", "Lanczos 16 bit"}, wide{"cubic antialiased 16 bit", "Lanczos antialiased 16 bit"};
    table.beside(zimg, plain, down, 1.1);
    table.beside(zimg, wide, down, 1.1);
    table.beside(zimg, plain, up, 1.0);
}

void addDeinterlacing(Table& table) {
    table.heading("Deinterlacing");
    table.beside(libyuv, {"triangle luma"}, {"1080i"}, 1.6);
    table.beside({"ffmpeg w3fdif"}, {"CAVT 4:2:0"}, {"1080i"}, 1.3);
    table.beside({"ffmpeg yadif"}, {"CAVT 4:2:0"}, {"1080i"}, 3.5);
    table.beside({"ffmpeg bwdif"}, {"blend 4:2:0"}, {"1080i"}, 2);
}

void addFrameRate(Table& table) {
    table.heading("Blending and frame rate");
    table.beside({"libyuv", "opencv"}, {"frameInterpolate 8 bit"}, inCache, 0.95);
    table.beside({"libyuv", "opencv"}, {"frameInterpolate 16 bit"}, inCache, 2);
    table.beside({"ffmpeg framerate"}, {"FrameRateConvert 25-50, two mixed"}, inCache, 1.0);
}

void addMotion(Table& table) {
    table.heading("Motion search by 8x8 blocks");
    table.millions("whole samples", "1080p", 6);
    table.besideForComparison({"ffmpeg mestimate"}, "whole samples", "1080p");
    table.scaling("whole samples", "1080p", 1.85);
    table.millions("half samples", "1080p", 4);
    table.scaling("half samples", "1080p", 1.85);
    table.millions("one 8x8 difference", "288p", 200);
    table.millions("four 8x8 differences", "288p", 290);
}

void addPictures(Table& table) {
    table.heading("Noise filter, pyramid and pipeline");
    table.beside({"ffmpeg hqdn3d"}, {"noise filter"}, {"720p"}, 0.95);
    table.scaling("noise filter", "720p", 1.85);
    table.beside(opencv, {"pyramid of 4 levels 4:2:0"}, bothSizes, 2);
    table.beside({"ffmpeg"}, {"1080i25 UYVY to 720p50 I420"}, inCache, 1.3, 1.4);
}

/// The text as a regular expression that matches it and nothing else.
std::string literally(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        if (std::string(R"(.[]{}()\*+?|^$)").find(c) != std::string::npos) escaped += '\\';
        escaped += c;
    }
    return escaped;
}

}  // namespace

std::string benchmarkName(const std::string& operation, const std::string& size, int threads, const std::string& who) {
    return operation + "/" + size + "/" + std::to_string(threads) + "T/" + who;
}

std::vector<PerformanceRow> performanceRows() {
    Table table;
    addConversions(table);
    addScaling(table);
    addDeinterlacing(table);
    addFrameRate(table);
    addMotion(table);
    addPictures(table);
    return table.take();
}

std::string benchmarkFilter(const std::vector<PerformanceRow>& rows) {
    std::map<std::string, std::set<std::string>> wanted;  // who at which operation and size
    for (const PerformanceRow& row : rows) {
        auto& who = wanted[literally(row.operation) + "/" + literally(row.size)];
        who.insert(literally(ourselves));
        for (const std::string& peer : row.peers) who.insert(literally(peer));
    }
    std::string filter;
    for (const auto& [pictures, who] : wanted) {
        std::string names;
        for (const std::string& name : who) names += (names.empty() ? "" : "|") + name;
        filter += (filter.empty() ? "^(" : "|") + pictures + "/[0-9]+T/(" + names + ")";
    }
    return filter + ")/";
}

}  // namespace Orvel::bench
