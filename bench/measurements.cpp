#include "bench/measurements.h"

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace Orvel::bench {
namespace {

using nlohmann::json;

/// The first four parts of "operation/size/threadsT/who/how it was timed".
std::string nameOf(const json& run) {
    const std::string name = run.at("run_name");
    std::size_t end = 0;
    for (int part = 0; part < 4 && end != std::string::npos; ++part) end = name.find('/', end + (part > 0));
    return name.substr(0, end);
}

void addRun(const json& run, Measurements& into) {
    if (run.at("run_type") != "iteration") return;  // medians are made over all rounds
    const std::string name = nameOf(run);
    if (run.value("error_occurred", false)) {
        into.failures[name] = run.at("error_message");
        return;
    }
    for (const auto& [key, value] : run.items())
        if (key.ends_with("/s")) {
            Rate& of = into.rates[name];
            of.unit = key.substr(0, key.size() - 2);
            of.perSecond.push_back(value);
        }
}

std::map<std::string, std::string> machineOf(const json& context) {
    std::map<std::string, std::string> machine;
    for (const auto* keys : {&runKeys, &peerKeys})
        for (const std::string& key : *keys) machine[key] = context.at(key);
    return machine;
}

void addContext(const json& context, Measurements& into) {
    const auto machine = machineOf(context);
    if (!into.machine.empty()) {
        if (into.machine != machine) throw std::runtime_error("from another machine or build than the files before it");
        return;
    }
    into.machine = machine;
    into.date = context.at("date");
    into.allThreads = std::stoi(machine.at("threads"));
    for (const json& cache : context.value("caches", json::array()))
        into.lastCacheBytes = std::max<std::int64_t>(into.lastCacheBytes, cache.at("size"));
    if (const json load = context.value("load_avg", json::array()); !load.empty()) into.loadBefore = load[0];
}

}  // namespace

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 ? values[half] : (values[half - 1] + values[half]) / 2;
}

Measurements readMeasurements(const std::vector<std::filesystem::path>& files) {
    Measurements all;
    for (const auto& file : files) try {
            std::ifstream in(file);
            const json run = json::parse(in);
            addContext(run.at("context"), all);
            for (const json& one : run.at("benchmarks")) addRun(one, all);
        } catch (const std::exception& e) {
            throw std::runtime_error(file.string() + ": " + e.what());
        }
    for (const auto& [name, said] : all.failures) all.rates.erase(name);
    return all;
}

}  // namespace Orvel::bench
