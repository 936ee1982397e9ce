// The block difference as the motion search asks for it: four candidates a call. It is not exported, so this program
// links the library's objects; one candidate a call is in the benchmark of the search.
#include <random>

#include "bench/bench_support.h"
#include "orvel/primitives/sad.h"

namespace Orvel::bench {
namespace {

struct Plane {
    static constexpr int step = 352, rows = 288;
    explicit Plane(unsigned seed) {
        std::minstd_rand random(seed);
        for (auto& sample : samples) sample = static_cast<std::uint8_t>(random() >> 8);
    }
    const std::uint8_t* at(int x, int y) const { return samples.data() + y * step + x; }
    std::vector<std::uint8_t> samples = std::vector<std::uint8_t>(std::size_t{step} * rows);
};

/// One block against the four neighbours of every place of a 64 x 64 area.
void registerAll() {
    constexpr int side = 64;
    const primitives::Sad8x8List sads = primitives::sad8x8List();
    measurePerSecond("four 8x8 differences", "288p", "orvel", 1, 4 * side * side, "blocks",
                     [=, cur = Plane(1), ref = Plane(2)] {
                         for (int y = 64; y < 64 + side; ++y)
                             for (int x = 64; x < 64 + side; ++x) {
                                 const std::uint8_t* const candidates[] = {ref.at(x - 1, y), ref.at(x + 1, y),
                                                                           ref.at(x, y - 1), ref.at(x, y + 1)};
                                 std::int32_t sums[4];
                                 sads(cur.at(96, 96), Plane::step, candidates, Plane::step, 4, sums);
                                 benchmark::DoNotOptimize(sums);
                             }
                         return true;
                     });
}

const bool registered = (registerAll(), true);

}  // namespace
}  // namespace Orvel::bench
