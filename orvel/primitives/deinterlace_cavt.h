#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// Content-adaptive vertical-temporal deinterlacing of one plane: rows 0, 2, 4 .. are copied, rows 1, 3, 5 .. are made
/// out of the copied field and, where the two fields agree, the vertical detail of the other one. Views with negative
/// steps that start at the last row exchange the fields. The arithmetic is described in cavt_core_inl.h.
///
/// threshold: 0 interpolates within the copied field alone, 2041 and above always takes the other field's detail, 1000
/// balances well.
///
/// Makes row pairs [firstPair, lastPair) of dst, the whole destination plane, which has height / 2 of them. Bands may
/// run on any threads in any order with the same bytes. Needs no memory but 20 kB of the stack. Not in place.
/// @return nullPointer; badSize when the views differ, are empty, of odd height, or dst has no such pairs.
Status deinterlaceCavtRows(ConstViewU8 src, ViewU8 dst, unsigned threshold, int firstPair, int lastPair) noexcept;

/// All rows of dst, on the calling thread.
inline Status deinterlaceCavt(ConstViewU8 src, ViewU8 dst, unsigned threshold) noexcept {
    return deinterlaceCavtRows(src, dst, threshold, 0, dst.height / 2);
}

}  // namespace Orvel::primitives
