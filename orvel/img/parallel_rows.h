#pragma once
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

#include <exception>

#include "orvel/sys/loop_order.h"

namespace Orvel {

/// Runs body over parts of the whole range, cut by partitioner, on all cores. What a part throws reaches the caller;
/// the others keep what they wrote.
template <class Range, class Body, class Partitioner = tbb::auto_partitioner>
void forEachPart(const Range& whole, const Body& body, const Partitioner& partitioner = {}) {
    OrvelSys::LoopOrder order;
    const auto part = [&](const Range& mine) ORVEL_UNCHECKED_BY_TSAN { order.run(body, Range(mine)); };
    tbb::parallel_for(whole, part, partitioner);
}

/// The same over bands of [first, last).
template <class Body, class Partitioner = tbb::auto_partitioner>
void forEachBand(int first, int last, const Body& body, const Partitioner& partitioner = {}) {
    forEachPart(tbb::blocked_range<int>(first, last, 1), body, partitioner);
}

/// Runs body over bands of [0, rows) on all cores.
/// @return false if any band threw; the other bands keep what they wrote.
template <class Body>
[[nodiscard]] bool parallelRows(int rows, const Body& body) noexcept {
    try {
        forEachBand(0, rows, body);
        return true;
    } catch (const std::exception&) {
        return false;  // kernels report a failed primitive this way and no other
    }
}

}  // namespace Orvel
