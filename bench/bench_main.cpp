// The benchmark programs' main(): writes into the results where and with what they were measured.
#include <fstream>
#include <map>

#include "bench/bench_support.h"
#include "bench/measurements.h"

#ifdef ORVEL_WITH_LIBYUV
#include <libyuv/version.h>
#endif
#ifdef ORVEL_WITH_ZIMG
#include <zimg.h>
#endif
#ifdef ORVEL_WITH_OPENCV
#include <opencv2/core/version.hpp>
#endif
#ifdef ORVEL_WITH_SWSCALE  // a part of FFmpeg, as its filters are
extern "C" {
#include <libavutil/avutil.h>
}
#endif

namespace Orvel::bench {
namespace {

/// What is said of the first core under this key.
std::string cpuInfo(const std::string& key) {
    std::ifstream cpus("/proc/cpuinfo");
    for (std::string line; std::getline(cpus, line);)
        if (line.starts_with(key + "\t")) return line.substr(line.find(": ") + 2);
    return "unknown";
}

/// Names that virtual machines are given say little; family and model tell the generation.
std::string cpuName() {
    return cpuInfo("model name") + " (family " + cpuInfo("cpu family") + ", model " + cpuInfo("model") + ")";
}

std::string compiler() {
#ifdef __clang__
    return __VERSION__;  // says its own name
#else
    return "GCC " __VERSION__;
#endif
}

std::map<std::string, std::string> peerVersions() {
    std::map<std::string, std::string> versions;
    for (const std::string& peer : peerKeys) versions[peer] = notInstalled;
#ifdef ORVEL_WITH_LIBYUV
    versions["libyuv"] = std::to_string(LIBYUV_VERSION);
#endif
#ifdef ORVEL_WITH_ZIMG
    unsigned version[3];
    zimg_get_version_info(&version[0], &version[1], &version[2]);
    versions["zimg"] = std::to_string(version[0]) + "." + std::to_string(version[1]) + "." + std::to_string(version[2]);
#endif
#ifdef ORVEL_WITH_OPENCV
    versions["OpenCV"] = CV_VERSION;
#endif
#ifdef ORVEL_WITH_SWSCALE  // a part of FFmpeg, as its filters are
    versions["FFmpeg"] = av_version_info();
#endif
    return versions;
}

void describeRun() {
    benchmark::AddCustomContext("cpu", cpuName());
    benchmark::AddCustomContext("threads", std::to_string(threadCounts().back()));
    benchmark::AddCustomContext("compiler", compiler());
    for (const auto& [peer, version] : peerVersions()) benchmark::AddCustomContext(peer, version);
}

}  // namespace
}  // namespace Orvel::bench

int main(int argc, char** argv) {
    Orvel::bench::describeRun();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
