#include "bench/performance_report.h"

#include <cmath>
#include <map>
#include <set>
#include <stdexcept>
#include <vector>

#include "bench/report.h"

namespace Orvel::bench {
namespace {

/// Finds rates by name and takes down those that are missing.
class Lookup {
public:
    Lookup(const PerformanceRow& row, const Measurements& measured, Outcome& outcome)
        : row_(row), measured_(measured), outcome_(outcome) {}

    const Rate* find(const std::string& who, Threads threads) {
        const int count = threads == Threads::one ? 1 : measured_.allThreads;
        const std::string name = benchmarkName(row_.operation, row_.size, count, who);
        const auto found = measured_.rates.find(name);
        if (found != measured_.rates.end()) return &found->second;
        outcome_.missing.push_back(name);
        return nullptr;
    }
    const Rate* find(const std::string& who) { return find(who, row_.threads); }

private:
    const PerformanceRow& row_;
    const Measurements& measured_;
    Outcome& outcome_;
};

/// The middle one of the rounds' ratios: what slows the machine down for a while slows both of a round.
double ratio(const Rate& ours, const Rate& other, const std::string& name) {
    if (ours.unit != other.unit) throw std::runtime_error(name + ": " + ours.unit + " beside " + other.unit);
    if (ours.perSecond.size() != other.perSecond.size())
        throw std::runtime_error(name + ": not all was measured in each round");
    std::vector<double> ratios;
    for (std::size_t i = 0; i < ours.perSecond.size(); ++i) ratios.push_back(ours.perSecond[i] / other.perSecond[i]);
    return median(ratios);
}

void compareWithPeers(const PerformanceRow& row, Lookup& lookup, Outcome& outcome) {
    const Rate* const ours = lookup.find(ourselves);
    for (const std::string& peer : row.peers) {
        const Rate* const theirs = lookup.find(peer);
        if (!ours || !theirs) continue;
        const double figure = ratio(*ours, *theirs, row.operation);
        if (outcome.figure && *outcome.figure <= figure) continue;
        outcome.figure = figure;
        outcome.fastest = peer;
    }
}

Verdict judge(const PerformanceRow& row, const Outcome& outcome) {
    if (!row.target) return Verdict::noTarget;
    if (!outcome.figure) return Verdict::open;
    if (*outcome.figure < *row.target) return Verdict::missed;
    return outcome.missing.empty() ? Verdict::met : Verdict::open;
}

/// Millions of what is counted, a second.
std::string millions(const std::string& number, const std::string& unit) {
    return number + " M" + (unit.empty() ? "" : " " + unit) + "/s";
}

/// Two digits behind the point, less a zero at the end: ratios are aimed at with one or two of them.
std::string targetText(const PerformanceRow& row, const Outcome& outcome) {
    if (!row.target) return "";
    if (row.figure == Figure::rate) return "≥ " + millions(fixed(*row.target, 0), outcome.unit);
    std::string number = fixed(*row.target, 2);
    if (number.back() == '0') number.pop_back();
    return "≥ " + number;
}

/// Rounded down, so that a figure that misses its target never looks as large as it.
std::string atLeast(double figure, int digits) {
    const double unit = std::pow(10, -digits);
    return fixed(std::floor(figure / unit) * unit, digits);
}

std::string figureText(const PerformanceRow& row, const Outcome& outcome) {
    if (!outcome.figure) return "not measured";
    if (row.figure != Figure::rate) return atLeast(*outcome.figure, 2);
    return millions(atLeast(*outcome.figure, *outcome.figure < 100 ? 2 : 0), outcome.unit);
}

std::string peerText(const PerformanceRow& row, const Outcome& outcome) {
    if (row.figure == Figure::scaling) return "itself at 1 thread";
    if (row.peers.empty()) return "";
    const std::string& peer = outcome.fastest.empty() ? row.peers.front() : outcome.fastest;
    return peer == "copy" ? "limit" : peer;
}

/// How far a miss is from its target, rounded up.
std::string shortfall(const PerformanceRow& row, const Outcome& outcome) {
    return fixed(std::ceil(100 * (1 - *outcome.figure / *row.target)), 0) + " % short";
}

std::string verdictText(const PerformanceRow& row, const Outcome& outcome) {
    switch (outcome.verdict) {
        case Verdict::met:
            return "yes";
        case Verdict::missed:
            return "**no**, " + shortfall(row, outcome);
        case Verdict::open:
            return "open";
        case Verdict::noTarget:
            break;
    }
    return "";
}

std::string line(const std::vector<std::string>& cells) {
    std::string text = "|";
    for (const std::string& cell : cells) text += " " + cell + " |";
    return text + "\n";
}

std::string tableRow(const PerformanceRow& row, const Outcome& outcome, int allThreads) {
    const int threads = row.threads == Threads::one ? 1 : allThreads;
    return line({row.operation, row.size, std::to_string(threads), peerText(row, outcome), figureText(row, outcome),
                 targetText(row, outcome), verdictText(row, outcome)});
}

std::string tableHead(const std::string& heading) {
    return "\n### " + heading + "\n\n" +
           line({"operation", "size", "threads", "peer", "ratio or rate", "target", "met"}) +
           "|---|---|---:|---|---:|---:|---|\n";
}

/// "all threads" is one thread where there is one core, and nothing is said twice.
std::vector<PerformanceRow> rowsFor(std::vector<PerformanceRow> rows, const Measurements& measured) {
    if (measured.allThreads == 1) std::erase_if(rows, [](const auto& row) { return row.threads == Threads::all; });
    return rows;
}

std::string machineText(const Measurements& measured) {
    const auto& of = measured.machine;
    std::string text = "- " + measured.date.substr(0, measured.date.find('T')) + ", " + of.at("cpu") + ", " +
                       of.at("threads") + (measured.allThreads == 1 ? " core" : " cores");
    if (measured.lastCacheBytes > 0)
        text += ", last-level cache of " + std::to_string(measured.lastCacheBytes >> 20) + " MiB";
    if (measured.loadBefore >= 0) text += "; load average before the run " + fixed(measured.loadBefore, 2);
    text += "\n- compiler: " + of.at("compiler") + "\n- peers: ";
    for (const std::string& peer : peerKeys)
        text += (&peer == &peerKeys.front() ? "" : ", ") + peer + " " + of.at(peer);
    text += "\n";
    if (measured.loadBefore > measured.allThreads)
        text += "- **The machine was busy when the run began; measure again when it does nothing else.**\n";
    if (measured.allThreads == 1) text += "- one core only: rows at all threads, and of their gain, are left out\n";
    return text;
}

std::string missingText(const std::set<std::string>& missing, const Measurements& measured) {
    if (missing.empty()) return "";
    std::string text = "\n### Not measured\n\n";
    for (const std::string& name : missing) {
        const auto failure = measured.failures.find(name);
        text += "- `" + name +
                "`: " + (failure == measured.failures.end() ? "no such benchmark in this run" : failure->second) + "\n";
    }
    return text;
}

}  // namespace

Outcome outcomeOf(const PerformanceRow& row, const Measurements& measured) {
    Outcome outcome;
    Lookup lookup(row, measured, outcome);
    if (row.figure == Figure::ratio) {
        compareWithPeers(row, lookup, outcome);
    } else if (row.figure == Figure::scaling) {
        const Rate *const all = lookup.find(ourselves, Threads::all), *const one = lookup.find(ourselves, Threads::one);
        if (all && one) outcome.figure = ratio(*all, *one, row.operation);
    } else if (const Rate* const ours = lookup.find(ourselves)) {
        outcome.figure = median(ours->perSecond) / 1e6;
        outcome.unit = ours->unit;
    }
    outcome.verdict = judge(row, outcome);
    return outcome;
}

std::string performanceReport(const std::vector<PerformanceRow>& rows, const Measurements& measured) {
    std::string tables, heading;
    std::set<std::string> missing;
    for (const PerformanceRow& row : rowsFor(rows, measured)) {
        const Outcome outcome = outcomeOf(row, measured);
        missing.insert(outcome.missing.begin(), outcome.missing.end());
        if (row.heading != heading) tables += tableHead(heading = row.heading);
        tables += tableRow(row, outcome, measured.allThreads);
    }
    return machineText(measured) + "\n" + performanceSummary(rows, measured) + "\n" + tables +
           missingText(missing, measured) + "\n";
}

std::string performanceSummary(const std::vector<PerformanceRow>& rows, const Measurements& measured) {
    std::map<Verdict, int> count;
    for (const PerformanceRow& row : rowsFor(rows, measured)) ++count[outcomeOf(row, measured).verdict];
    const int met = count[Verdict::met], missed = count[Verdict::missed], open = count[Verdict::open];
    return std::to_string(met + missed + open) + " targets: " + std::to_string(met) + " met, " +
           std::to_string(missed) + " missed, " + std::to_string(open) + " open.";
}

}  // namespace Orvel::bench
