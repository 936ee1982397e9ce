#pragma once
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

// What a run of the benchmark programs left in its JSON files.
namespace Orvel::bench {

/// What a benchmark counts a second.
struct Rate {
    std::vector<double> perSecond;  ///< in the order of the rounds; at least one
    std::string unit;               ///< "bytes", "pictures" or "blocks"
};

/// What a benchmark program writes into its results besides what every one does: where and with what it ran. "threads"
/// is the number that stands for "all threads".
inline const std::vector<std::string> runKeys{"cpu", "threads", "compiler"};
/// The same for the peers: their versions, or notInstalled.
inline const std::vector<std::string> peerKeys{"libyuv", "zimg", "OpenCV", "FFmpeg"};
inline const std::string notInstalled = "not installed";

struct Measurements {
    std::map<std::string, Rate> rates;            ///< by "operation/size/threadsT/who"
    std::map<std::string, std::string> failures;  ///< what was said, by the same; these have no rate
    std::map<std::string, std::string> machine;   ///< by runKeys and peerKeys
    std::string date;                             ///< when the run began, in ISO 8601
    double loadBefore = -1;                       ///< the machine's load average then; negative when unknown
    std::int64_t lastCacheBytes = 0;              ///< 0 when unknown
    int allThreads = 0;
};

/// The middle of the values, or the mean of the two in the middle. There must be one.
double median(std::vector<double> values);

/// Reads the files of one run, in the order of its rounds. Throws std::runtime_error, naming the file, when one cannot
/// be read, is no result of these benchmarks, or is from another machine, build or peer than the first.
Measurements readMeasurements(const std::vector<std::filesystem::path>& files);

}  // namespace Orvel::bench
