#include <algorithm>
#include <cmath>
#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
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

void write(std::ostream& out, const Table& t) {
    out << "### " << t.title << "\n\n| method |";
    for (std::size_t i = 0; i < std::size(sigmas); ++i) out << ' ' << sigmaName(i) << " |";
    out << "\n|---|---:|---:|---:|---:|\n";
    for (const Row& row : t.rows) {
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

/// The best figures among the rows whose names begin with that, luma and chroma apart.
Row bestOf(const Table& t, const std::string& beginning) {
    Row best{"the best " + beginning, std::vector<Score>(std::size(sigmas))};
    for (const Row& row : t.rows)
        if (row.method.starts_with(beginning))
            for (std::size_t i = 0; i < std::size(sigmas); ++i) {
                best.scores[i].luma = std::max(best.scores[i].luma, row.scores[i].luma);
                best.scores[i].chroma = std::max(best.scores[i].chroma, row.scores[i].chroma);
            }
    return best;
}

/// Where theirs is above ours, as printed; empty when it is nowhere.
std::string lead(const Row& theirs, const Row& ours) {
    std::string text;
    for (const auto& [name, value] : {std::pair{"luma", &Score::luma}, std::pair{"chroma", &Score::chroma}})
        for (std::size_t i = 0; i < std::size(sigmas); ++i) {
            const double gap = theirs.scores[i].*value - ours.scores[i].*value;
            if (!(gap > 0) || fixed(gap, 2) == fixed(0, 2)) continue;
            text += (text.empty() ? "" : ", ") + std::string(name);
            text += std::isinf(gap) ? " (exact)" : " by " + fixed(gap, 2) + " dB";
            text += sigmas[i] > 0 ? " at " + sigmaName(i) : " on the clean clip";
        }
    return text;
}

/// Which strength is best for which noise, and what it gains over doing nothing.
void writeBestStrengths(std::ostream& out, const Table& t) {
    const auto best = [&](std::size_t column, double Score::*value) {
        const Row* winner = find(t, usualStrengthName);
        for (const Row& row : t.rows)
            if (row.method.starts_with(strengthPrefix) && row.scores[column].*value > winner->scores[column].*value)
                winner = &row;
        const double gain = winner->scores[column].*value - t.rows[0].scores[column].*value;
        return winner->method.substr(std::string(strengthPrefix).size()) + " (" + fixed(gain, 2) + " dB)";
    };
    out << "| " << t.title << " |";
    for (std::size_t i = 1; i < std::size(sigmas); ++i)
        out << ' ' << best(i, &Score::luma) << " / " << best(i, &Score::chroma) << " |";
    out << '\n';
}

template <class Ours, class Theirs>
void writeLeads(std::ostream& out, const std::vector<Table>& tables, const Ours& ours, const Theirs& theirs) {
    bool behind = false;
    for (const Table& t : tables)
        for (const char* name : ffmpegNames) {
            const std::string leads = find(t, name) ? lead(theirs(t, name), ours(t)) : "";
            if (leads.empty()) continue;
            out << "- " << t.title << ": " << name << " ahead in " << leads << ".\n";
            behind = true;
        }
    out << (behind ? "\n" : "Nowhere in these tables.\n\n");
}

std::string report(const std::vector<Table>& tables) {
    std::ostringstream out;
    for (const Table& t : tables) write(out, t);
    out << "### The best strengths, and what they gain over no filter\n\n| luma / chroma |";
    for (std::size_t i = 1; i < std::size(sigmas); ++i) out << ' ' << sigmaName(i) << " |";
    out << "\n|---|---:|---:|---:|\n";
    for (const Table& t : tables) writeBestStrengths(out, t);

    out << "\n### Where others filter noise better\n\nFFmpeg's filters at their defaults beside strength 3:\n\n";
    writeLeads(
        out, tables, [](const Table& t) { return *find(t, usualStrengthName); },
        [](const Table& t, const char* name) { return *find(t, name); });
    out << "The best setting in the table for that noise beside the best strength for it, luma and chroma each at "
           "their best:\n\n";
    writeLeads(
        out, tables, [](const Table& t) { return bestOf(t, strengthPrefix); }, bestOf);
    if (!find(tables[0], ffmpegNames[0])) out << "FFmpeg's rows are missing: its filters were not installed.\n\n";
    return out.str();
}

}  // namespace

std::string noiseReport(const std::filesystem::path& media) {
    const Clip roof = readClip(media / "roof_720x576_50p.yuv");
    return report({table("noise on walkway", readClip(media / "walkway_352x288_30p.yuv"), false),
                   table("noise on roof", roof, false), table("noise on roof, interlaced", weave(roof), true)});
}

std::string noiseReport(const std::vector<std::filesystem::path>& clips) {
    std::vector<Table> tables;
    for (const auto& clip : clips) tables.push_back(table(clip.stem().string(), readClip(clip), false));
    return report(tables);
}

}  // namespace Orvel::bench
