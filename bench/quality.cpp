// Compares deinterlacers with the progressive pictures that the interlaced ones were woven from, and writes the tables
// into a text between two markers. usage: quality MEDIA_DIR FILE.md
#include <cmath>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>

#include "bench/deinterlace_methods.h"
#include "bench/picture_quality.h"

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

std::string fixed(double value, int digits) {
    if (std::isinf(value)) return "exact";
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

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

std::string report(const std::filesystem::path& media) {
    constexpr double sigma = 4;
    constexpr std::uint32_t seed = 20240601;
    const Clip roof = readClip(media / "roof_720x576_50p.yuv"), walkway = readClip(media / "walkway_352x288_30p.yuv");
    std::vector<Table> tables;
    const auto compare = [&](const std::string& content, const Clip& truth, int picturesPerFrame) {
        const Clip interlaced = weave(truth);
        tables.push_back(table(content, truth, interlaced, picturesPerFrame));
        tables.push_back(table(content + " with noise", truth, withNoise(interlaced, sigma, seed), picturesPerFrame));
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

/// Replaces what stands between the markers. Throws std::runtime_error when the file or a marker is missing.
void replaceMarked(const std::filesystem::path& file, const std::string& text) {
    const std::string first = "<!-- deinterlacing: written by ./run quality -->\n",
                      last = "<!-- deinterlacing ends -->";
    std::ifstream in(file, std::ios::binary);
    const std::string old(std::istreambuf_iterator<char>(in), {});
    const std::size_t begin = old.find(first), end = old.find(last);
    if (begin == std::string::npos || end == std::string::npos || end < begin)
        throw std::runtime_error("no place for the tables in " + file.string());
    const std::filesystem::path aside = file.string() + ".new";
    std::ofstream out(aside, std::ios::binary);
    out << old.substr(0, begin + first.size()) << '\n' << text << old.substr(end);
    out.close();
    if (!out) throw std::runtime_error("cannot write " + aside.string());
    std::filesystem::rename(aside, file);
}

}  // namespace
}  // namespace Orvel::bench

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: quality MEDIA_DIR FILE.md\n";
        return 2;
    }
    try {
        const std::string text = Orvel::bench::report(argv[1]);
        Orvel::bench::replaceMarked(argv[2], text);
        std::cout << text;
    } catch (const std::exception& e) {
        std::cerr << "quality: " << e.what() << '\n';
        return 1;
    }
}
