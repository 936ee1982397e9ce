// Writes what the benchmark programs measured into docs/performance.md.
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "bench/measurements.h"
#include "bench/performance_report.h"
#include "bench/performance_rows.h"
#include "bench/report.h"

namespace Orvel::bench {
namespace {

int usage() {
    std::cerr << "usage: performance --filter                  prints --benchmark_filter of what the text needs\n"
                 "       performance FILE.md RESULTS.json...   writes the figures of one run into the text\n";
    return 2;
}

int run(const std::vector<std::string>& arguments) {
    const auto rows = performanceRows();
    if (arguments.size() == 1 && arguments[0] == "--filter") {
        std::cout << benchmarkFilter(rows) << '\n';
    } else if (arguments.size() >= 2) {
        const Measurements measured = readMeasurements({arguments.begin() + 1, arguments.end()});
        replaceMarked(arguments[0], "measurements", performanceReport(rows, measured));
        std::cout << arguments[0] << ": " << performanceSummary(rows, measured) << '\n';
    } else {
        return usage();
    }
    return 0;
}

}  // namespace
}  // namespace Orvel::bench

int main(int argc, char** argv) {
    try {
        return Orvel::bench::run({argv + 1, argv + argc});
    } catch (const std::exception& e) {
        std::cerr << "performance: " << e.what() << '\n';
        return 1;
    }
}
