#include "orvel/mctf/mv_predictors.h"

#include <algorithm>
#include <atomic>

#include "orvel/primitives/sad.h"

namespace Orvel {
namespace {

bool chooseAndSum(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* ref, std::ptrdiff_t refStep,
                  std::int32_t& sad);

/// Becomes the form for this machine with the first call. A function's own static object would be looked at before each
/// block, which costs a quarter of the sum.
constinit std::atomic<primitives::Sad8x8> sumOfThisMachine{&chooseAndSum};

bool chooseAndSum(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* ref, std::ptrdiff_t refStep,
                  std::int32_t& sad) {
    const primitives::Sad8x8 chosen = primitives::sad8x8();
    sumOfThisMachine.store(chosen, std::memory_order_relaxed);
    return chosen(cur, curStep, ref, refStep, sad);
}

}  // namespace

void MVPredictors::init(tagPOINT* const pts, int n) noexcept {
    clear();
    for (int i = 0; pts != nullptr && i < n; ++i) append(pts[i]);
}

void MVPredictors::clear() noexcept {
    std::fill_n(points_.begin(), count_, tagPOINT{});  // the slots behind are 0 already
    count_ = 0;
}

bool MVPredictors::evaluate(unsigned char* cur, int curStep, unsigned char* ref, int refStep, int& sad) noexcept {
    return sumOfThisMachine.load(std::memory_order_relaxed)(cur, curStep, ref, refStep, sad);
}

}  // namespace Orvel
