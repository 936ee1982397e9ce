#pragma once
#include <optional>
#include <string>
#include <vector>

// What docs/performance.md has to say: which benchmarks are put beside each other, and what is aimed at.
namespace Orvel::bench {

enum class Threads { one, all };

/// What a row's figure is, the median over all rounds. A rate is what a benchmark counts per second: bytes, pictures or
/// blocks.
enum class Figure {
    ratio,    ///< our rate by that of the fastest peer
    rate,     ///< our rate, in millions
    scaling,  ///< our rate at all threads by ours at one
};

/// The operation, the size and who are those of the benchmarks' names, "operation/size/threadsT/who".
struct PerformanceRow {
    std::string heading;  ///< rows that follow each other under the same one share a table
    std::string operation, size;
    Figure figure = Figure::ratio;
    Threads threads = Threads::one;
    std::vector<std::string> peers;  ///< of a ratio; "copy" is the plain copy of the same bytes
    std::optional<double> target;    ///< the least figure aimed at
};

/// Who the library itself is.
inline const std::string ourselves = "orvel";

std::string benchmarkName(const std::string& operation, const std::string& size, int threads, const std::string& who);

/// All rows in the order of the document.
std::vector<PerformanceRow> performanceRows();

/// A regular expression for the names of the benchmarks that the rows need, at any number of threads.
std::string benchmarkFilter(const std::vector<PerformanceRow>& rows);

}  // namespace Orvel::bench
