#include <algorithm>
#include <cmath>
#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/noise_methods.h"
#include "bench/picture_quality.h"
#include "bench/quality.h"
#include "bench/report.h"

namespace Orvel::bench {
namespace {

/// Standard deviations of the noise on luma; chroma gets half of it. 0 is the clean clip.
constexpr double sigmas[] = {0, 3, 6, 10};

/// Closeness to the clean pictures, PSNR.
struct Score {
    double luma, chroma;
};

struct Row {
    std::string method;
    std::vector<Score> scores;  // one for each of sigmas
};

struct Table {
    std::string title;
    std::vector<Row> rows;
};

std::string sigmaName(std::size_t column) {
    return sigmas[column] > 0 ? "σ " + fixed(sigmas[column], 0) : "clean";
}

/// The errors of all pictures from the fourth on, in which every method has settled, are taken together.
Score score(const Clip& clean, const Filtered& made) {
    const int first = 3, end = static_cast<int>(clean.size());
    if (first >= end) throw std::runtime_error("a clip of fewer than four pictures");
    double error[3] = {};
    for (int k = first; k < end; ++k)
        for (int p = 0; p < 3; ++p)
            error[p] += meanSquaredError(*clean[static_cast<std::size_t>(k)], *made.at(k), p) / (end - first);
    return {psnr(error[0]), psnr((error[1] + error[2]) / 2)};
}

Table table(const std::string& title, const Clip& clean, bool interlaced) {
    constexpr std::uint32_t seed = 20240601;
    std::vector<Clip> noisy;
    for (double sigma : sigmas) noisy.push_back(withNoise(clean, sigma, sigma / 2, seed));
    Table t{title, {}};
    for (const NoiseMethod& method : noiseMethods(interlaced)) {
        t.rows.push_back({method.name, {}});
        for (const Clip& clip : noisy) t.rows.back().scores.push_back(score(clean, method.run(clip)));
    }
    return t;
}

constexpr std::size_t columns = std::size(sigmas), firstNoisy = 1;

/// The head of a Markdown table whose columns are sigmas from first on.
void writeHead(std::ostream& out, const std::string& corner, std::size_t first) {
    out << "| " << corner << " |";
    for (std::size_t i = first; i < columns; ++i) out << ' ' << sigmaName(i) << " |";
    out << "\n|---|";
    for (std::size_t i = first; i < columns; ++i) out << "---:|";
    out << '\n';
}

void write(std::ostream& out, const Table& t) {
    out << "### " << t.title << "\n\n";
    writeHead(out, "luma / chroma PSNR, dB", 0);
    bool adjusted = false;
    for (const Row& row : t.rows) {
        if (!adjusted && row.method.find('=') != std::string::npos) {
            out << "| **adjusted to stronger noise:** | | | | |\n";
            adjusted = true;
        }
        out << "| " << row.method << " |";
        for (const Score& s : row.scores) out << ' ' << fixed(s.luma, 2) << " / " << fixed(s.chroma, 2) << " |";
        out << '\n';
    }
    out << '\n';
}

const Row* find(const Table& t, const std::string& method) {
    for (const Row& row : t.rows)
        if (row.method == method) return &row;
    return nullptr;
}

/// The best figures among the rows whose names begin with that, for each noise, luma and chroma apart.
Row bestOf(const Table& t, const std::string& beginning) {
    Row best{"the best " + beginning, std::vector<Score>(columns)};
    for (const Row& row : t.rows)
        if (row.method.starts_with(beginning))
            for (std::size_t i = 0; i < columns; ++i) {
                best.scores[i].luma = std::max(best.scores[i].luma, row.scores[i].luma);
                best.scores[i].chroma = std::max(best.scores[i].chroma, row.scores[i].chroma);
            }
    return best;
}

/// Which strength is best for which noise, and what it gains over doing nothing.
void writeBestStrengths(std::ostream& out, const Table& t) {
    const auto best = [&](std::size_t column, double Score::*value) {
        const Row* winner = find(t, usualStrengthName);
        for (const Row& row : t.rows)
            if (row.method.starts_with(strengthPrefix) && row.scores[column].*value > winner->scores[column].*value)
                winner = &row;
        const double gain = winner->scores[column].*value - t.rows[0].scores[column].*value;
        return winner->method.substr(std::string(strengthPrefix).size()) + " (" + fixed(gain, 2) + ")";
    };
    out << "| " << t.title << " |";
    for (std::size_t i = firstNoisy; i < columns; ++i)
        out << ' ' << best(i, &Score::luma) << " / " << best(i, &Score::chroma) << " |";
    out << '\n';
}

/// One row: by how much theirs is above ours.
void writeLead(std::ostream& out, const std::string& name, const Row& theirs, const Row& ours, std::size_t first) {
    const auto lead = [&](std::size_t column, double Score::*value) {
        const double gap = theirs.scores[column].*value - ours.scores[column].*value;
        return std::string(gap > 0 ? "+" : "") + fixed(gap, 2);
    };
    out << "| " << name << " |";
    for (std::size_t i = first; i < columns; ++i)
        out << ' ' << lead(i, &Score::luma) << " / " << lead(i, &Score::chroma) << " |";
    out << '\n';
}

void writeLeads(std::ostream& out, const std::vector<Table>& tables) {
    const auto eachPeer = [&](const auto& body) {
        for (const Table& t : tables)
            for (const std::string name : ffmpegNames) body(t, name, t.title + ", " + name);
        out << '\n';
    };
    out << "Lead of FFmpeg's filters at their defaults over strength 3; a minus where strength 3 is ahead:\n\n";
    writeHead(out, "luma / chroma, dB", 0);
    eachPeer([&](const Table& t, const std::string& name, const std::string& title) {
        writeLead(out, title, *find(t, name), *find(t, usualStrengthName), 0);
    });
    out << "Lead of each filter's best settings in the tables above over the best strength, chosen anew for each noise "
           "and for luma and chroma apart:\n\n";
    writeHead(out, "luma / chroma, dB", firstNoisy);
    eachPeer([&](const Table& t, const std::string& name, const std::string& title) {
        writeLead(out, title, bestOf(t, name), bestOf(t, strengthPrefix), firstNoisy);
    });
}

/// @param where stands behind the titles of what concerns all tables
std::string report(const std::vector<Table>& tables, const std::string& where) {
    std::ostringstream out;
    for (const Table& t : tables) write(out, t);
    out << "### The best strengths" << where << "\n\nIn brackets the gain over no filter:\n\n";
    writeHead(out, "luma / chroma, dB", firstNoisy);
    for (const Table& t : tables) writeBestStrengths(out, t);
    out << "\n### Beside other noise filters" << where << "\n\n";
    if (find(tables[0], ffmpegNames[0]))
        writeLeads(out, tables);
    else
        out << "FFmpeg's filters were not installed.\n\n";
    return out.str();
}

}  // namespace

std::string noiseReport(const std::filesystem::path& media) {
    const Clip roof = readClip(media / "roof_720x576_50p.yuv");
    return report({table("noise on walkway", readClip(media / "walkway_352x288_30p.yuv"), false),
                   table("noise on roof", roof, false), table("noise on roof, interlaced", weave(roof), true)},
                  "");
}

std::string noiseReport(const std::vector<std::filesystem::path>& clips) {
    std::vector<Table> tables;
    for (const auto& clip : clips) tables.push_back(table("noise on " + contentOf(clip), readClip(clip), false));
    return report(tables, ", further clips");
}

}  // namespace Orvel::bench
