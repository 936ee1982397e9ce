#pragma once
#include <benchmark/benchmark.h>
#include <tbb/blocked_range.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "bench/turns.h"
#include "orvel/img/working_set.h"

namespace Orvel::bench {

struct Size {
    int width, height;
    const char* name;
};
inline constexpr Size hd{1920, 1080, "1080p"}, uhd{3840, 2160, "2160p"}, hdReady{1280, 720, "720p"};

/// 1, and the number of cores when there are more.
inline std::vector<int> threadCounts() {
    const int cores = static_cast<int>(std::thread::hardware_concurrency());
    return cores > 1 ? std::vector<int>{1, cores} : std::vector<int>{1};
}

/// Registers "operation/size/threads/who": one call of body per iteration with at most that many threads. The CPU time
/// is that of all threads together. perCall: what a call gets done, counted per second of real time as unit.
template <class Body>
benchmark::internal::Benchmark* measurePerSecond(const std::string& operation, const std::string& size,
                                                 const std::string& who, int threads, double perCall,
                                                 const std::string& unit, Body body) {
    const std::string name = operation + "/" + size + "/" + std::to_string(threads) + "T/" + who;
    const auto run = [=](benchmark::State& state) {
        const tbb::global_control limit(tbb::global_control::max_allowed_parallelism,
                                        static_cast<std::size_t>(threads));
        bool done = body();  // not measured: it makes what the others find
        for (auto _ : state) done = done && body();
        if (!done) state.SkipWithError("a call failed");
        state.counters[unit + "/s"] = {static_cast<double>(state.iterations()) * perCall, benchmark::Counter::kIsRate};
    };
    return benchmark::RegisterBenchmark(name.c_str(), run)
        ->MeasureProcessCPUTime()
        ->UseRealTime()
        ->Unit(benchmark::kMicrosecond);
}

/// The same in bytes. bytes: read plus written by one call.
template <class Body>
void measure(const std::string& operation, const std::string& size, const std::string& who, int threads,
             std::int64_t bytes, Body body) {
    measurePerSecond(operation, size, who, threads, static_cast<double>(bytes), "bytes", body);
}

/// Cuts rows into as many bands of whole units as there are threads and runs body(first, last) on each; peers without
/// threads of their own are run like this.
template <class Body>
void inBands(int threads, int rows, int unit, const Body& body) {
    const int units = rows / unit;
    tbb::parallel_for(0, threads, [&](int i) { body(units * i / threads * unit, units * (i + 1) / threads * unit); });
}

/// "limit": a plain copy that reads and writes as many bytes together as the operation does.
inline void measureCopy(const std::string& operation, const std::string& size, int threads, std::int64_t bytes,
                        Origin origin = Origin::cache) {
    using Bytes = std::vector<std::uint8_t>;
    using Buffers = std::pair<Bytes, Bytes>;
    const auto half = static_cast<std::size_t>(bytes / 2);
    const auto make = [=] { return std::make_unique<Buffers>(Bytes(half, 1), Bytes(half)); };
    const auto turns = std::make_shared<Turns<Buffers>>(turnsFor(origin, bytes), make);
    measure(operation, size, "copy", threads, bytes, [=] {
        auto& buffers = turns->next();
        const Bytes& from = buffers.first;
        Bytes& to = buffers.second;
        tbb::parallel_for(0, threads, [&](int i) {
            const std::size_t n = static_cast<std::size_t>(threads), k = static_cast<std::size_t>(i);
            const std::size_t first = half * k / n, last = half * (k + 1) / n;
            std::memcpy(to.data() + first, from.data() + first, last - first);
        });
        benchmark::DoNotOptimize(to.data());
        return true;
    });
}

}  // namespace Orvel::bench
