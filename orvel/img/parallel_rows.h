#pragma once
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

#include <exception>

#include "orvel/sys/loop_order.h"

namespace Orvel {

/// Runs body over bands of [first, last), cut by partitioner, on all cores. What a band throws reaches the caller; the
/// other bands keep what they wrote.
template <class Body, class Partitioner = tbb::auto_partitioner>
void forEachBand(int first, int last, const Body& body, const Partitioner& partitioner = {}) {
    OrvelSys::LoopOrder order;
    const auto band = [&](const tbb::blocked_range<int>& rows) {
        const OrvelSys::LoopOrder::Band entered(order);
        body(rows);
    };
    tbb::parallel_for(tbb::blocked_range<int>(first, last, 1), band, partitioner);
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
