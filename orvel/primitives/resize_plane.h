#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/resize_plan.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// Makes rows [first, last) of dst, the whole destination plane, out of the whole source plane. The vertical pass
/// comes first. 8 bits: it rounds to 6 fractional bits, the horizontal pass to whole samples. 16 bits: samples less
/// 32768; two passes round to halves of samples in between, a pass that is the identity is skipped.
///
/// A row depends on source rows alone, so bands may run on any threads in any order with the same bytes; bands of whole
/// strips (Strip::rows) cost least. Needs no memory but about 80 KB of the stack. Not in place.
/// @return nullPointer; badSize when a view has no samples, is not of the plan's size or has no such rows;
/// badArgument for a plan that was never built.
Status resizeRows(const ResizePlan& plan, ConstViewU8 src, ViewU8 dst, int first, int last) noexcept;
Status resizeRows(const ResizePlan& plan, ConstViewU16 src, ViewU16 dst, int first, int last) noexcept;

/// All rows of dst, on the calling thread.
inline Status resizePlane(const ResizePlan& plan, ConstViewU8 src, ViewU8 dst) noexcept {
    return resizeRows(plan, src, dst, 0, dst.height);
}
inline Status resizePlane(const ResizePlan& plan, ConstViewU16 src, ViewU16 dst) noexcept {
    return resizeRows(plan, src, dst, 0, dst.height);
}

}  // namespace Orvel::primitives
