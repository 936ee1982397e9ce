// A resolution pyramid of a 4:2:0 picture beside OpenCV's pyrDown. Both round the same way and mirror at the edges, so
// before anything is measured they must have made the same pictures.
#include <cstdlib>
#include <iostream>
#include <random>

#include "bench/bench_support.h"
#include "orvel/analysis/hierarchical_img.h"
#include "orvel/img/all_formats.h"

#ifdef ORVEL_WITH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace Orvel::bench {
namespace {

constexpr int levels = 4;

/// A picture of noise over a slope and the pyramid on top of it.
template <class T>
struct Pyramid {
    T base;
    HierarchicalImg pyramid;

    explicit Pyramid(Size size) {
        if (!base.allocate(size.width, size.height, T::getClassBpp()) || !pyramid.allocate(base, levels)) std::abort();
        std::minstd_rand random(1);
        for (int p = 0; p < base.numPlanes(); ++p)
            for (int y = 0; y < base.getHeight(p); ++y)
                for (int i = 0; i < base.getWidth(p) * base.getBpp(p); ++i)
                    base.getPixel(p, y, 0)[i] =
                        static_cast<std::uint8_t>(static_cast<unsigned>(i + y) / 16 + (random() >> 8) % 90);
    }
    std::int64_t bytes() const {
        std::int64_t sum = 0;
        for (unsigned k = 1; k < pyramid.numLevels(); ++k)
            sum += pixelBytes(*pyramid.getImage(k - 1)) + pixelBytes(*pyramid.getImage(k));
        return sum;
    }
};

#ifdef ORVEL_WITH_OPENCV
/// The same levels in OpenCV's own memory: a chain of pictures for each plane.
class Chains {
public:
    explicit Chains(const Img& base) {
        for (int p = 0; p < base.numPlanes(); ++p)
            chains_.push_back({cv::Mat(base.getHeight(p), base.getWidth(p), CV_8UC(base.getBpp(p)), base.getPixels(p),
                                       static_cast<std::size_t>(base.getStep(p)))});
    }
    void generate() {
        for (auto& chain : chains_) {
            chain.resize(levels);
            for (std::size_t k = 1; k < levels; ++k) cv::pyrDown(chain[k - 1], chain[k]);
        }
    }
    /// Compares levels that have the same source: all of them, as long as no width had to be rounded up to an even one.
    bool equals(const HierarchicalImg& pyramid) const {
        for (std::size_t p = 0; p < chains_.size(); ++p)
            for (std::size_t k = 1; k < levels; ++k) {
                const Img& level = *pyramid.getImage(static_cast<unsigned>(k));
                const cv::Mat& mat = chains_[p][k];
                for (int y = 0; y < mat.rows; ++y)
                    if (std::memcmp(level.getPixel(static_cast<int>(p), y, 0), mat.ptr(y),
                                    static_cast<std::size_t>(mat.cols) * mat.elemSize()) != 0)
                        return false;
                if (level.getWidth(static_cast<int>(p)) != mat.cols) break;
            }
        return true;
    }

private:
    std::vector<std::vector<cv::Mat>> chains_;
};

template <class T>
void mustEqualOpenCv(Size size) {
    Pyramid<T> ours(size);
    Chains theirs(ours.base);
    theirs.generate();
    if (ours.pyramid.generate() && theirs.equals(ours.pyramid)) return;
    std::cerr << "pyramid_bench: the levels of " << size.name << " differ from OpenCV's\n";
    std::exit(1);
}

void mustEqualOpenCv() {
    for (const Size size : {hd, uhd, Size{720, 576, "720x576"}, Size{101, 75, "101x75"}, Size{64, 37, "64x37"},
                            Size{23, 19, "23x19"}, Size{2, 2, "2x2"}, Size{3, 1, "3x1"}, Size{6, 200, "6x200"}}) {
        mustEqualOpenCv<I420Img>(size);
        mustEqualOpenCv<BGRImg>(size);
    }
}
#endif

template <class T>
void measurePyramid(const std::string& operation, Size size) {
    for (const int threads : threadCounts()) {
        const auto ours = std::make_shared<Pyramid<T>>(size);
        measure(operation, size.name, "orvel", threads, ours->bytes(), [ours] { return ours->pyramid.generate(); });
#ifdef ORVEL_WITH_OPENCV
        const auto theirs = std::make_shared<Chains>(ours->base);
        measure(operation, size.name, "opencv", threads, ours->bytes(), [ours, theirs, threads] {
            cv::setNumThreads(threads);
            theirs->generate();
            return true;
        });
#endif
        measureCopy(operation, size.name, threads, ours->bytes());
    }
}

void registerAll() {
#ifdef ORVEL_WITH_OPENCV
    mustEqualOpenCv();
#else
    std::cerr << "pyramid_bench: built without OpenCV, nothing to compare with\n";
#endif
    measurePyramid<I420Img>("pyramid of 4 levels 4:2:0", hd);
    measurePyramid<I420Img>("pyramid of 4 levels 4:2:0", uhd);
    measurePyramid<BGRImg>("pyramid of 4 levels BGRA", hd);
}

const bool registered = (registerAll(), true);

}  // namespace
}  // namespace Orvel::bench
