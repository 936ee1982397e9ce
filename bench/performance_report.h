#pragma once
#include <optional>
#include <string>
#include <vector>

#include "bench/measurements.h"
#include "bench/performance_rows.h"

// The measured part of docs/performance.md, in Markdown.
namespace Orvel::bench {

enum class Verdict {
    met,
    missed,
    open,  ///< a benchmark that could change the answer is missing
    noTarget,
};

/// What a row's benchmarks gave.
struct Outcome {
    std::optional<double> figure;      ///< none when ours or all peers are missing
    std::string unit;                  ///< of a rate
    std::string fastest;               ///< the peer that the ratio is to
    std::vector<std::string> missing;  ///< names of benchmarks that the row needs and that gave nothing
    Verdict verdict = Verdict::open;
};

/// A peer that is missing leaves the verdict open, unless another one is too fast already.
/// Throws std::runtime_error when two benchmarks of the row count different things, or not in the same rounds.
Outcome outcomeOf(const PerformanceRow& row, const Measurements& measured);

/// Date and machine, a table under each heading, and what is missing.
std::string performanceReport(const std::vector<PerformanceRow>& rows, const Measurements& measured);

/// One line: how many targets there are and how many of them are met, missed and open.
std::string performanceSummary(const std::vector<PerformanceRow>& rows, const Measurements& measured);

}  // namespace Orvel::bench
