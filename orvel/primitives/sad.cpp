#include "orvel/primitives/sad.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/sad.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/sad_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

std::int32_t sadOne(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* ref, std::ptrdiff_t refStep) {
    return sadOf(SadBlock(cur, curStep), ref, refStep);
}

void sadList(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* const* refs, std::ptrdiff_t refStep,
             int n, std::int32_t* sads) {
    const SadBlock block(cur, curStep);
    for (; n >= 4; n -= 4, refs += 4, sads += 4) fourSads(block, refs[0], refs[1], refs[2], refs[3], refStep, sads);
    for (; n > 0; --n) *sads++ = sadOf(block, *refs++, refStep);
}

Sad8x8List sadListOfThisTarget() {
    return &sadList;
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {

HWY_EXPORT(sadOne);
HWY_EXPORT(sadListOfThisTarget);

Sad8x8List sad8x8List() noexcept {
    // Asked through a call: the dispatch table's own entry may still be the one that looks the machine over first.
    return HWY_DYNAMIC_DISPATCH(sadListOfThisTarget)();
}

Status sad8x8(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* ref, std::ptrdiff_t refStep,
              std::int32_t& sad) noexcept {
    if (cur == nullptr || ref == nullptr) return Status::nullPointer;
    sad = HWY_DYNAMIC_DISPATCH(sadOne)(cur, curStep, ref, refStep);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
