#include "orvel/primitives/sad.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/sad.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/sad_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

bool sadOne(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* ref, std::ptrdiff_t refStep,
            std::int32_t& sad) {
    if (cur == nullptr || ref == nullptr) return false;
    sad = sadOf(SadBlock(cur, curStep), ref, refStep);
    return true;
}

void sadList(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* const* refs, std::ptrdiff_t refStep,
             int n, std::int32_t* sads) {
    const SadBlock block(cur, curStep);
    for (; n >= 4; n -= 4, refs += 4, sads += 4) fourSads(block, refs[0], refs[1], refs[2], refs[3], refStep, sads);
    for (; n > 0; --n) *sads++ = sadOf(block, *refs++, refStep);
}

Sad8x8 sadOneOfThisTarget() {
    return &sadOne;
}

Sad8x8List sadListOfThisTarget() {
    return &sadList;
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {

HWY_EXPORT(sadOneOfThisTarget);
HWY_EXPORT(sadListOfThisTarget);

// Asked through calls: the dispatch tables' own entries may still be those that look the machine over first.

Sad8x8 sad8x8() noexcept {
    return HWY_DYNAMIC_DISPATCH(sadOneOfThisTarget)();
}

Sad8x8List sad8x8List() noexcept {
    return HWY_DYNAMIC_DISPATCH(sadListOfThisTarget)();
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
