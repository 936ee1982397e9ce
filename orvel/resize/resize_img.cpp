#include "orvel/resize/resize_img.h"

#include <algorithm>
#include <exception>
#include <limits>

#include "orvel/img/parallel_rows.h"
#include "orvel/img/plane_access.h"
#include "orvel/img/require.h"
#include "orvel/primitives/resize_plane.h"
#include "orvel/resize/resize_plans.h"

namespace Orvel {

using primitives::PlaneView;
using primitives::ResizeMethod;
using primitives::ResizePlan;
using primitives::Status;

/// One plane size to another with one method.
struct ResizeImg::Job {
    ResizeMethod method;
    tagSIZE src, dst;
    const ResizePlan* plan = nullptr;

    Status workBytes(std::int64_t& bytes) const noexcept {
        return primitives::resizeWorkBytes(method, src.cx, src.cy, dst.cx, dst.cy, bytes);
    }
};

namespace {

bool sameSize(tagSIZE a, tagSIZE b) noexcept {
    return a.cx == b.cx && a.cy == b.cy;
}
tagSIZE planeSize(const Img& img, int plane) noexcept {
    return {img.getWidth(plane), img.getHeight(plane)};
}
tagSIZE larger(tagSIZE a, tagSIZE b) noexcept {
    return {std::max(a.cx, b.cx), std::max(a.cy, b.cy)};
}

bool isFilter(std::int32_t interp) noexcept {
    return (interp & (ResizeInterpLanczosFilter | ResizeInterpHannFilter)) != 0;
}

tagSIZE largestPlane(const Img& img) noexcept {
    tagSIZE size;
    for (int p = 0; p < img.numPlanes(); ++p) size = larger(size, planeSize(img, p));
    return size;
}

bool onlyBytes(const Img& img) noexcept {
    for (int p = 0; p < img.numPlanes(); ++p)
        if (!isSingleChannel(img, p) || img.getBpp(p) != 1) return false;
    return true;
}

/// Both pictures have planes that go together, of 1 byte per pixel, or 2 where wide ones are allowed.
bool planesMatch(const Img& dst, const Img& src, bool allowWide) noexcept {
    for (int p = 0; p < src.numPlanes(); ++p) {
        const int bpp = src.getBpp(p);
        if (!isSingleChannel(src, p) || !isSingleChannel(dst, p) || dst.getBpp(p) != bpp) return false;
        if (bpp != 1 && (bpp != 2 || !allowWide)) return false;
    }
    return true;
}

/// Rows of a plane, in bands of whole strips.
template <class Sample>
class CResizeRows {
public:
    CResizeRows(const ResizePlan& plan, PlaneView<const Sample> src, PlaneView<Sample> dst)
        : plan_(plan), src_(src), dst_(dst) {}

    static int strips(int rows) { return rows / stripRows + (rows % stripRows != 0); }

    void operator()(const tbb::blocked_range<int>& strips) const {
        const int last = strips.end() <= dst_.height / stripRows ? stripRows * strips.end() : dst_.height;
        require(primitives::resizeRows(plan_, src_, dst_, stripRows * strips.begin(), last), "resizeRows failed");
    }

private:
    static constexpr int stripRows = primitives::Strip::rows;
    const ResizePlan& plan_;
    PlaneView<const Sample> src_;
    PlaneView<Sample> dst_;
};

template <class Sample>
bool resizeRowsInParallel(const ResizePlan& plan, const Img& dst, int dstPlane, const Img& src, int srcPlane) {
    const auto from = planeView<const Sample>(src, srcPlane);
    const auto to = planeView<Sample>(dst, dstPlane);
    return from.valid() && to.valid() &&
           parallelRows(CResizeRows<Sample>::strips(to.height), CResizeRows<Sample>(plan, from, to));
}

}  // namespace

ResizeImg::ResizeImg() noexcept = default;

ResizeImg::~ResizeImg() = default;

void ResizeImg::deallocate() {
    plans_.reset();
    bufferSize_ = 0;
    interp_ = ResizeInterpNone;
    src_ = dst_ = stateSrc_ = stateDst_ = {};
}

bool ResizeImg::fail() {
    deallocate();
    return false;
}

bool ResizeImg::takeBuffer(std::int64_t bytes) noexcept {
    if (bytes > std::numeric_limits<std::int32_t>::max()) return false;
    bufferSize_ = std::max(bufferSize_, static_cast<std::int32_t>(bytes));
    return true;
}

/// Finds or makes the job's tables. @return false when memory runs out; the plan stays null for sizes that the method
/// does not scale.
bool ResizeImg::findPlan(Job& job) noexcept {
    try {
        if (!plans_) plans_ = std::make_unique<ResizePlans>();
        job.plan = plans_->get(job.method, job.src, job.dst);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

/// Makes the tables of all planes ahead. What cannot be scaled is left for resizePlane() to refuse.
bool ResizeImg::preparePlanes(const Img& dst, const Img& src) noexcept {
    ResizeMethod method = interp_ == ResizeInterpSuperSampling ? primitives::superSampling : primitives::lanczosFilter;
    if (interp_ != ResizeInterpSuperSampling && !isFilter(interp_) &&
        primitives::squarePixelMethod(interp_, method) != Status::ok)
        return true;
    for (int p = 0; p < src.numPlanes(); ++p) {
        Job job{method, planeSize(src, p), planeSize(dst, p)};
        if (!findPlan(job)) return false;
    }
    return true;
}

bool ResizeImg::allocate(tagSIZE dst, tagSIZE src, ResizeInterp interp, ResizeSmooth smooth) {
    if (interp == ResizeInterpSuperSampling) return fail();
    const bool hann = interp == ResizeInterpHannFilter, filter = hann || interp == ResizeInterpLanczosFilter;
    Job job{hann ? primitives::hannFilter : primitives::lanczosFilter, src, dst};
    interp_ = filter ? std::int32_t{interp} : std::int32_t{interp} | std::int32_t{smooth};
    if (!filter && primitives::squarePixelMethod(interp_, job.method) != Status::ok) return fail();

    std::int64_t bytes = 0;
    if (job.workBytes(bytes) != Status::ok) return fail();
    const bool grows = bytes > bufferSize_;
    if (!takeBuffer(bytes) || !findPlan(job)) return fail();
    if (!grows && !filter) return true;  // by design the sizes stay those that the buffer was made for

    if (filter) stateSrc_ = src, stateDst_ = dst, stateIsHann_ = hann;
    src_ = src;
    dst_ = dst;
    return true;
}

bool ResizeImg::allocate(Img& dst, Img& src, ResizeInterp interp, ResizeSmooth smooth) {
    if (interp == ResizeInterpSuperSampling) return allocateSuperSampling(dst, src, interp, -1);
    const bool filter = interp == ResizeInterpLanczosFilter || interp == ResizeInterpHannFilter;
    if (!planesMatch(dst, src, !filter)) return fail();
    if (!allocate(largestPlane(dst), largestPlane(src), interp, smooth)) return false;
    return preparePlanes(dst, src) || fail();
}

bool ResizeImg::allocateSuperSampling(Img& dst, Img& src, ResizeInterp interp, int plane) {
    if (!onlyBytes(dst) || !onlyBytes(src)) return fail();
    interp_ = interp;
    src_ = largestPlane(src);
    dst_ = largestPlane(dst);
    std::int64_t largest = 0;
    // By design a single plane is not measured: the resizer then works without a buffer.
    for (int p = 0; plane < 0 && p < src.numPlanes(); ++p) {
        std::int64_t bytes = 0;
        const Job job{primitives::superSampling, planeSize(src, p), planeSize(dst, p)};
        if (job.workBytes(bytes) == Status::ok) largest = std::max(largest, bytes);
    }
    return (takeBuffer(largest) && preparePlanes(dst, src)) || fail();
}

bool ResizeImg::fits(const Job& job) const noexcept {
    std::int64_t bytes = 0;
    return job.workBytes(bytes) == Status::ok && bytes <= bufferSize_;
}

/// Sets the filter up for the job's sizes. That happens, then always with the Lanczos kernel, only when they are not
/// those of the last call; a filter that allocate() has meanwhile set up for other sizes refuses the job.
bool ResizeImg::filterReady(const Job& job) noexcept {
    if (!sameSize(filterSrc_, job.src) || !sameSize(filterDst_, job.dst)) {
        if (!fits(job)) return false;
        filterSrc_ = stateSrc_ = job.src;
        filterDst_ = stateDst_ = job.dst;
        stateIsHann_ = false;
    }
    return sameSize(stateSrc_, job.src) && sameSize(stateDst_, job.dst);
}

/// The job's method. @return false when it does not take such planes.
bool ResizeImg::chooseMethod(Job& job, int bpp) {
    if (isFilter(interp_)) {  // an unallocated resizer, -1, comes here too, and nothing fits its empty buffer
        if (bpp != 1 || !filterReady(job)) return false;
        job.method = stateIsHann_ ? primitives::hannFilter : primitives::lanczosFilter;
        return true;
    }
    if (interp_ == ResizeInterpSuperSampling) {
        job.method = primitives::superSampling;
        return bpp == 1 && (bufferSize_ == 0 || fits(job));
    }
    return primitives::squarePixelMethod(interp_, job.method) == Status::ok && fits(job);
}

bool ResizeImg::resizePlane(Img& dst, int dstPlane, Img& src, int srcPlane) {
    if (!hasPixels(src, srcPlane) || !hasPixels(dst, dstPlane)) return false;
    if (!isSingleChannel(src, srcPlane) || !isSingleChannel(dst, dstPlane)) return false;
    const int bpp = src.getBpp(srcPlane);
    if (dst.getBpp(dstPlane) != bpp || (bpp != 1 && bpp != 2)) return false;

    Job job{primitives::lanczosFilter, planeSize(src, srcPlane), planeSize(dst, dstPlane)};
    if (!chooseMethod(job, bpp) || !findPlan(job) || job.plan == nullptr) return false;
    return bpp == 1 ? resizeRowsInParallel<std::uint8_t>(*job.plan, dst, dstPlane, src, srcPlane)
                    : resizeRowsInParallel<std::uint16_t>(*job.plan, dst, dstPlane, src, srcPlane);
}

bool ResizeImg::resize(Img& dst, Img& src) {
    for (int p = 0; p < src.numPlanes(); ++p)
        if (!resizePlane(dst, p, src, p)) return false;
    return true;
}

bool ResizeImg::getMaxSrcSize(tagSIZE& size) const noexcept {
    if (bufferSize_ == 0) return false;
    size = src_;
    return true;
}

bool ResizeImg::getMaxDstSize(tagSIZE& size) const noexcept {
    if (bufferSize_ == 0) return false;
    size = dst_;
    return true;
}

}  // namespace Orvel
