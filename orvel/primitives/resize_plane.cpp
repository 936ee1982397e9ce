#include "orvel/primitives/resize_plane.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/resize_plane.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/resize_halve_inl.h"
#include "orvel/primitives/resize_horizontal_inl.h"
#include "orvel/primitives/resize_shared_rows_inl.h"
#include "orvel/primitives/resize_strips_inl.h"
#include "orvel/primitives/resize_vertical_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

template <class Sample>
RowTaps<Sample> rowTaps(const ResizePlan& plan, PlaneView<const Sample> src, int y) {
    return {src, plan.rows().first(y), plan.rows().length(), plan.rows().taps(y)};
}

/// One destination row whose lists are longer than a tile: each list is summed piece by piece.
template <class Finish, class Vertical, class Sample>
void rowInChunks(const ResizePlan& plan, int y, const Vertical& vertical, std::int16_t* t, Sample* dst) {
    const TapTable& table = plan.columns();
    for (int x = 0; x < table.size(); ++x) {
        const int end = table.first(x) + table.length();
        const std::int16_t* taps = table.taps(x);
        std::int32_t sum = 0;
        for (int at = table.first(x); at < end; at += ColumnLayout::tileColumns) {
            const int count = std::min(ColumnLayout::tileColumns, end - at);
            vertical(y, at, at + count, t);
            for (int k = 0; k < count; ++k) sum += t[k] * *taps++;
        }
        dst[x] = Finish::one(sum);
    }
}

/// Both passes, two rows at a time and tile by tile, over pieces of the intermediate rows that stay on the stack.
/// vertical(y, begin, end, t) gives the intermediate samples of columns [begin, end) of destination row y.
template <class Finish, class Sample, class Vertical>
void bothPasses(const ResizePlan& plan, PlaneView<Sample> dst, int first, int last, const Vertical& vertical) {
    alignas(64) std::int16_t t[2][ColumnLayout::tileColumns + ColumnLayout::tilePadding];
    const auto tileRow = [&](int y, const ColumnLayout::Tile& tile, std::int16_t* to) {
        vertical(y, tile.begin, tile.end, to);
        std::fill_n(to + (tile.end - tile.begin), ColumnLayout::tilePadding, std::int16_t{0});
    };
    if (plan.layout().form == ColumnLayout::Form::chunks) {
        for (int y = first; y < last; ++y) rowInChunks<Finish>(plan, y, vertical, t[0], dst.row(y));
        return;
    }
    for (int y = first; y < last; y += 2) {
        const int other = y + 1 < last ? 1 : 0;  // a single last row is made twice
        for (const ColumnLayout::Tile& tile : plan.layout().tiles) {
            for (int r = 0; r <= other; ++r) tileRow(y + r, tile, t[r]);
            horizontalPass<Finish>(plan, tile, RowPair<Sample>{{t[0], t[other]}, {dst.row(y), dst.row(y + other)}});
        }
    }
}

/// Both passes; the vertical one is made together for neighbouring rows where that pays.
template <int kRowShift, int kShift, class Sample, class Vertical>
void resizeBoth(const ResizePlan& plan, [[maybe_unused]] PlaneView<const Sample> src, PlaneView<Sample> dst, int first,
                int last, const Vertical& vertical) {
#if HWY_TARGET != HWY_SCALAR
    if (plan.layout().form == ColumnLayout::Form::strips) {
        const auto byStrips = [&](const auto& makeRows) {
            rowsByStrips<kShift>(plan.layout().pairTable, src.width, dst, first, last, makeRows);
        };
        if (plan.rowPairs().empty())
            return byStrips([&](int y, int n, int begin, int end, StripRows& t) {
                for (int i = 0; i < n; ++i) vertical(y + i, begin, end, t.row[i]);
            });
        SharedRows<Sample> shared;
        return byStrips([&](int y, int n, int begin, int end, StripRows& t) {
            shared.take(plan.rowPairs(), src, y, y + n, begin, end);
            for (int i = 0; i < n; ++i) shared.template sum<kRowShift>(plan.rowPairs(), y + i, end - begin, t.row[i]);
        });
    }
#endif
    bothPasses<Finish<Sample, kShift>>(plan, dst, first, last, vertical);
}

template <class Sample>
auto identityRows(PlaneView<const Sample> src) {
    return [src](int y, int begin, int end, std::int16_t* t) { widenRow(src.row(y), begin, end, t); };
}

void resizeRows8(const ResizePlan& plan, ConstViewU8 src, ViewU8 dst, int first, int last) {
    if (plan.columns().identity()) {
        for (int y = first; y < last; ++y) verticalPass(rowTaps(plan, src, y), 0, dst.width, ToSamples8{dst.row(y)});
    } else if (plan.rows().identity()) {
        resizeBoth<8, 20>(plan, src, dst, first, last, identityRows(src));
    } else {
        resizeBoth<8, 20>(plan, src, dst, first, last, [&](int y, int begin, int end, std::int16_t* t) {
            verticalPass(rowTaps(plan, src, y), begin, end, ToScratch{t, begin});
        });
    }
}

void resizeRows16(const ResizePlan& plan, ConstViewU16 src, ViewU16 dst, int first, int last) {
    if (plan.columns().identity()) {
        for (int y = first; y < last; ++y)
            verticalPass16<14>(rowTaps(plan, src, y), 0, dst.width, ToSamples16{dst.row(y)});
    } else if (plan.rows().identity()) {
        resizeBoth<15, 14>(plan, src, dst, first, last, identityRows(src));
    } else {
        resizeBoth<15, 13>(plan, src, dst, first, last, [&](int y, int begin, int end, std::int16_t* t) {
            verticalPass16<15>(rowTaps(plan, src, y), begin, end, ToScratch{t, begin});
        });
    }
}

void halveRows(ConstViewU8 src, ViewU8 dst, int first, int last) {
    for (int y = first; y < last; ++y) halveRow(src.row(2 * y), src.row(2 * y + 1), dst.width, dst.row(y));
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {
namespace {

/// Rounding of a 16-bit sample that goes through both passes with a single tap each.
std::uint16_t throughBothPasses(std::uint16_t sample) noexcept {
    const int half = (sample - 32768 + 1) >> 1;
    return static_cast<std::uint16_t>(std::min(2 * half, 32767) + 32768);
}
std::uint8_t throughBothPasses(std::uint8_t sample) noexcept {
    return sample;
}

template <class Sample>
void nearestRows(const ResizePlan& plan, PlaneView<const Sample> src, PlaneView<Sample> dst, int first, int last) {
    const TapTable &rows = plan.rows(), &columns = plan.columns();
    for (int y = first; y < last; ++y) {
        Sample* out = dst.row(y);
        const Sample* from = src.row(rows.first(y));
        if (y > first && rows.first(y) == rows.first(y - 1))
            std::copy_n(dst.row(y - 1), dst.width, out);
        else if (columns.identity())
            std::copy_n(from, dst.width, out);
        else if (rows.identity())
            for (int x = 0; x < dst.width; ++x) out[x] = from[columns.first(x)];
        else
            for (int x = 0; x < dst.width; ++x) out[x] = throughBothPasses(from[columns.first(x)]);
    }
}

template <class Sample>
Status check(const ResizePlan& plan, PlaneView<const Sample> src, PlaneView<Sample> dst, int first, int last) noexcept {
    if (src.base == nullptr || dst.base == nullptr) return Status::nullPointer;
    if (!src.valid() || !dst.valid() || first < 0 || first >= last || last > dst.height) return Status::badSize;
    if (!plan.built()) return Status::badArgument;
    const bool fits = src.width == plan.srcWidth() && src.height == plan.srcHeight() && dst.width == plan.dstWidth() &&
                      dst.height == plan.dstHeight();
    return fits ? Status::ok : Status::badSize;
}

/// What needs no arithmetic. @return false when nothing was done.
template <class Sample>
bool copyRows(const ResizePlan& plan, PlaneView<const Sample> src, PlaneView<Sample> dst, int first,
              int last) noexcept {
    if (plan.rows().identity() && plan.columns().identity()) {
        for (int y = first; y < last; ++y) std::copy_n(src.row(y), dst.width, dst.row(y));
        return true;
    }
    if (plan.method().kernel != ResizeKernel::nearest) return false;
    nearestRows(plan, src, dst, first, last);
    return true;
}

/// Half the size both ways with two equal taps, as area averaging and linear interpolation have there.
bool halves(const ResizePlan& plan) noexcept {
    const ResizeMethod method = plan.method();
    return (method.kernel == ResizeKernel::area || method == ResizeMethod{ResizeKernel::linear, false}) &&
           plan.srcWidth() == 2 * plan.dstWidth() && plan.srcHeight() == 2 * plan.dstHeight();
}

}  // namespace

HWY_EXPORT(resizeRows8);
HWY_EXPORT(resizeRows16);
HWY_EXPORT(halveRows);

Status resizeRows(const ResizePlan& plan, ConstViewU8 src, ViewU8 dst, int first, int last) noexcept {
    if (const Status fault = check(plan, src, dst, first, last); fault != Status::ok) return fault;
    if (copyRows(plan, src, dst, first, last)) return Status::ok;
    if (halves(plan))
        HWY_DYNAMIC_DISPATCH(halveRows)(src, dst, first, last);
    else
        HWY_DYNAMIC_DISPATCH(resizeRows8)(plan, src, dst, first, last);
    return Status::ok;
}

Status resizeRows(const ResizePlan& plan, ConstViewU16 src, ViewU16 dst, int first, int last) noexcept {
    if (const Status fault = check(plan, src, dst, first, last); fault != Status::ok) return fault;
    if (copyRows(plan, src, dst, first, last)) return Status::ok;
    HWY_DYNAMIC_DISPATCH(resizeRows16)(plan, src, dst, first, last);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
