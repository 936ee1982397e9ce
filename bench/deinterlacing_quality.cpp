#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "bench/deinterlace_methods.h"
#include "bench/picture_quality.h"
#include "bench/quality.h"
#include "bench/report.h"

namespace Orvel::bench {
namespace {

struct Score {
    std::string method;
    double lumaDb, chromaDb, lumaSsim, chromaSsim;
};

struct Measure {
    const char *name, *unit;
    double Score::*value;
    int digits;
};
constexpr Measure measures[] = {{"luma PSNR", " dB", &Score::lumaDb, 2},
                                {"chroma PSNR", " dB", &Score::chromaDb, 2},
                                {"luma SSIM", "", &Score::lumaSsim, 4},
                                {"chroma SSIM", "", &Score::chromaSsim, 4}};

struct Table {
    std::string title;
    std::vector<Score> rows;
};

/// Errors and similarities are averaged over the pictures; those of chroma also over its two planes.
Score score(const DeinterlaceMethod& method, const Clip& truth, const Clip& interlaced,
            const std::vector<int>& instants) {
    const Progressive made = method.run(interlaced);
    double error[3] = {}, similarity[3] = {};
    for (int instant : instants)
        for (int p = 0; p < 3; ++p) {
            const Img &wanted = *truth[static_cast<std::size_t>(instant)], &got = *made.at(instant);
            error[p] += meanSquaredError(wanted, got, p) / double(instants.size());
            similarity[p] += ssim(wanted, got, p) / double(instants.size());
        }
    return {method.name, psnr(error[0]), psnr((error[1] + error[2]) / 2), similarity[0],
            (similarity[1] + similarity[2]) / 2};
}

/// The instants of all frames but the first and the last, which lack a neighbour that some methods use.
std::vector<int> commonInstants(const Clip& interlaced, int picturesPerFrame) {
    std::vector<int> instants;
    for (int k = 1; k + 1 < static_cast<int>(interlaced.size()); ++k)
        for (int i = 0; i < picturesPerFrame; ++i) instants.push_back(2 * k + i);
    return instants;
}

Table table(const std::string& content, const Clip& truth, const Clip& interlaced, int picturesPerFrame) {
    const auto instants = commonInstants(interlaced, picturesPerFrame);
    const char* rate = picturesPerFrame == 1 ? ", one picture a frame" : ", one picture a field";
    Table t{content + rate, {}};
    for (const DeinterlaceMethod& method : picturesPerFrame == 1 ? frameRateMethods() : fieldRateMethods())
        t.rows.push_back(score(method, truth, interlaced, instants));
    return t;
}

void write(std::ostream& out, const Table& t) {
    out << "### " << t.title << "\n\n| method |";
    for (const Measure& m : measures) out << ' ' << m.name << (*m.unit ? "," : "") << m.unit << " |";
    out << "\n|---|---:|---:|---:|---:|\n";
    for (const Score& row : t.rows) {
        out << "| " << row.method << " |";
        for (const Measure& m : measures) out << ' ' << fixed(row.*m.value, m.digits) << " |";
        out << '\n';
    }
    out << '\n';
}

const Score* find(const Table& t, const std::string& method) {
    for (const Score& row : t.rows)
        if (row.method == method) return &row;
    return nullptr;
}

/// How much lower, as printed, the figures of ours are than those of theirs; empty when none is.
std::string shortfall(const Score& ours, const Score& theirs) {
    std::string text;
    for (const Measure& m : measures) {
        const double gap = theirs.*m.value - ours.*m.value;
        if (!(gap > 0) || fixed(gap, m.digits) == fixed(0, m.digits)) continue;
        text += (text.empty() ? "" : ", ") + std::string(m.name) + " by " + fixed(gap, m.digits) + m.unit;
    }
    return text;
}

void writeWhereBehind(std::ostream& out, const std::vector<Table>& tables) {
    const std::pair<const char*, const char*> rivals[] = {{triangleName, lineAveragingName},
                                                          {cavtName, lineAveragingName},
                                                          {blendName, lineAveragingName},
                                                          {blendName, yadifName},
                                                          {blendName, bwdifName}};
    out << "### Where the library is behind\n\nTriangle and CAVT beside line averaging; blend beside line averaging, "
           "yadif and bwdif:\n\n";
    bool behind = false;
    for (const Table& t : tables)
        for (const auto& [ours, theirs] : rivals) {
            const Score *a = find(t, ours), *b = find(t, theirs);
            const std::string gaps = a && b ? shortfall(*a, *b) : "";
            if (gaps.empty()) continue;
            out << "- " << t.title << ": " << ours << " behind " << theirs << " in " << gaps << ".\n";
            behind = true;
        }
    if (!behind) out << "Nowhere in these tables.\n";
    out << '\n';
}

}  // namespace

std::string deinterlacingReport(const std::filesystem::path& media) {
    constexpr double sigma = 4;
    constexpr std::uint32_t seed = 20240601;
    const Clip roof = readClip(media / "roof_720x576_50p.yuv"), walkway = readClip(media / "walkway_352x288_30p.yuv");
    std::vector<Table> tables;
    const auto compare = [&](const std::string& content, const Clip& truth, int picturesPerFrame) {
        const Clip interlaced = weave(truth);
        tables.push_back(table(content, truth, interlaced, picturesPerFrame));
        tables.push_back(
            table(content + " with noise", truth, withNoise(interlaced, sigma, sigma, seed), picturesPerFrame));
    };
    compare("roof", roof, 1);
    compare("roof", roof, 2);
    compare("walkway", walkway, 1);
    compare("still", Clip(roof.size(), roof[0]), 1);

    std::ostringstream out;
    for (const Table& t : tables) write(out, t);
    writeWhereBehind(out, tables);
    if (!find(tables[0], yadifName)) out << "FFmpeg's rows are missing: its filters were not installed.\n\n";
    return out.str();
}

}  // namespace Orvel::bench
