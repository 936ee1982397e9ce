#pragma once
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace Orvel::bench {

/// Where an operation finds its source, and the lines that its result goes to.
enum class Origin {
    cache,   ///< each call gets the pictures of the call before
    memory,  ///< as in video, each call gets others, which come again when the caches have long lost them
};

/// How many sets of so many bytes take turns: from memory, four times what the last-level cache holds.
inline std::size_t turnsFor(Origin origin, std::int64_t bytes) {
    if (origin == Origin::cache) return 1;
    std::int64_t largest = std::int64_t{8} << 20;
    for (const auto& cache : benchmark::CPUInfo::Get().caches) largest = std::max<std::int64_t>(largest, cache.size);
    return static_cast<std::size_t>((4 * largest + bytes - 1) / bytes);
}

/// What the turns that made something last made.
inline std::shared_ptr<void>& lastMade() {
    static std::shared_ptr<void> things;
    return things;
}

/// Things of one kind that take turns. They are made when first asked for, and let go when other turns make theirs: a
/// program has room for those of one benchmark, not of all.
template <class T>
class Turns {
public:
    Turns(std::size_t count, std::function<std::unique_ptr<T>()> make) : count_(count), make_(std::move(make)) {}

    T& next() {
        auto things = made_.lock();
        if (!things) things = makeAll();
        turn_ = (turn_ + 1) % count_;
        return *(*things)[turn_];
    }

private:
    using Things = std::vector<std::unique_ptr<T>>;

    std::shared_ptr<Things> makeAll() {
        lastMade() = nullptr;
        const auto things = std::make_shared<Things>(count_);
        for (auto& thing : *things) thing = make_();
        made_ = things;
        lastMade() = things;
        return things;
    }

    std::size_t count_, turn_ = 0;
    std::function<std::unique_ptr<T>()> make_;
    std::weak_ptr<Things> made_;
};

}  // namespace Orvel::bench
