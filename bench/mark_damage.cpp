#include "bench/mark_damage.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <tuple>
#include <utility>

#include "bench/gaussian.h"
#include "bench/report.h"
#include "orvel/resize/resize_img.h"

namespace Orvel::bench {
namespace {

void require(bool done) {
    if (!done) throw std::runtime_error("a picture cannot be damaged");
}

void copyTo(const Img& from, Img& to) {
    require(from.replicate(to, Img::rowAlignment) && from.copy(to));
}

/// Makes chroma of to by sampleAt(plane, x, y), everything else by copying from.
template <class Body>
void makeChroma(const Img& from, Img& to, const Body& sampleAt) {
    copyTo(from, to);
    for (int plane : {1, 2})
        for (int y = 0; y < to.getHeight(plane); ++y)
            for (int x = 0; x < to.getWidth(plane); ++x) *to.getPixel(plane, y, x) = sampleAt(plane, x, y);
}

/// A number from first to last. Unlike std::uniform_int_distribution it is the same with every standard library.
int draw(std::mt19937& random, int first, int last) {
    return first + static_cast<int>(random() % static_cast<std::uint32_t>(last - first + 1));
}

Damage moved(int most) {
    return [=](const Img& from, Img& to, std::mt19937& random) {
        const int dx = draw(random, -most, most);
        moveChroma(from, to, dx, draw(random, -most, most));
    };
}

Damage scaled(int num, int den, ResizeInterp interp) {
    return [=](const Img& from, Img& to, std::mt19937&) {
        const std::unique_ptr<Img> source(from.makeShadow());
        ResizeImg resizer;
        require(source && to.allocate(from.getWidth(0) * num / den, from.getHeight(0) * num / den, from.getBpp(0)) &&
                resizer.allocate(to, *source, interp, ResizeSmoothNone) && resizer.resize(to, *source));
    };
}

Damage levels(double gain, double offset) {
    return [=](const Img& from, Img& to, std::mt19937&) { changeChromaLevels(from, to, gain, offset); };
}

Damage noisy(double sigma) {
    return [=](const Img& from, Img& to, std::mt19937& random) {
        copyTo(from, to);
        Gaussian gaussian(static_cast<std::uint32_t>(random()));
        for (int plane : {1, 2}) addNoise(to, plane, sigma, gaussian);
    };
}

/// Each edge loses up to one of parts equal parts of the picture.
Damage cropped(int parts) {
    return [=](const Img& from, Img& to, std::mt19937& random) {
        const auto loss = [&](int size) { return 2 * draw(random, 0, size / parts / 2); };
        const int width = from.getWidth(0), height = from.getHeight(0);
        const int left = loss(width), top = loss(height), right = loss(width), bottom = loss(height);
        const std::unique_ptr<Img> rest(from.replicateType());
        require(rest != nullptr);
        from.getShadowRoi(*rest, {left, top}, {width - left - right, height - top - bottom});
        copyTo(*rest, to);
    };
}

/// One damage after the other.
Damage chain(std::vector<Damage> damages) {
    return [=](const Img& from, Img& to, std::mt19937& random) {
        copyTo(from, to);
        for (const Damage& damage : damages) {
            const std::unique_ptr<Img> next(from.replicateType());
            require(next != nullptr);
            damage(to, *next, random);
            require(next->shadowCopy(to));
        }
    };
}

constexpr std::pair<ResizeInterp, const char*> resizers[] = {{ResizeInterpNearest, "nearest sample"},
                                                             {ResizeInterpLinear, "linear"},
                                                             {ResizeInterpCubic, "cubic"},
                                                             {ResizeInterpLanczos, "Lanczos"}};

std::string signedNumber(int number) {
    return std::string(number > 0 ? "+" : "").append(std::to_string(number));
}

}  // namespace

void moveChroma(const Img& from, Img& to, int dx, int dy) {
    makeChroma(from, to, [&](int plane, int x, int y) {
        return *from.getPixel(plane, std::clamp(y - dy, 0, from.getHeight(plane) - 1),
                              std::clamp(x - dx, 0, from.getWidth(plane) - 1));
    });
}

void moveChromaByHalf(const Img& from, Img& to) {
    makeChroma(from, to, [&](int plane, int x, int y) {
        const int right = std::min(x + 1, from.getWidth(plane) - 1), below = std::min(y + 1, from.getHeight(plane) - 1);
        const int sum = *from.getPixel(plane, y, x) + *from.getPixel(plane, y, right) +
                        *from.getPixel(plane, below, x) + *from.getPixel(plane, below, right);
        return static_cast<std::uint8_t>((sum + 2) / 4);
    });
}

void changeChromaLevels(const Img& from, Img& to, double gain, double offset) {
    makeChroma(from, to, [&](int plane, int x, int y) {
        const double level = (*from.getPixel(plane, y, x) - 128) * gain + 128 + offset;
        return static_cast<std::uint8_t>(std::clamp(std::lround(level), 0L, 255L));
    });
}

std::vector<NamedDamage> markDamages() {
    std::vector<NamedDamage> all;
    const auto add = [&](std::string name, Damage damage, bool harmless = true) {
        all.push_back({std::move(name), std::move(damage), harmless});
    };
    add("none", [](const Img& from, Img& to, std::mt19937&) { copyTo(from, to); });
    for (int most : {4, 16, 32}) add("moved by up to " + std::to_string(most), moved(most), most <= 16);
    add("moved by ½", [](const Img& from, Img& to, std::mt19937&) { moveChromaByHalf(from, to); });
    for (const auto& [factor, num, den] : {std::tuple{"2/3", 2, 3}, {"3/2", 3, 2}})
        for (const auto& [interp, name] : resizers)
            add(std::string("scaled by ") + factor + ", " + name, scaled(num, den, interp));
    for (double gain : {1.5, 1.1, 0.9, 0.8, 0.75}) add("gain " + fixed(gain, 2), levels(gain, 0), gain >= 0.8);
    for (int offset : {22, -22, 24, -24, 25, -25, 40, -40})
        add("offset " + signedNumber(offset), levels(1, offset), std::abs(offset) <= 24);
    for (int offset : {12, -12}) add("gain 0.90, offset " + signedNumber(offset), levels(0.9, offset));
    for (int sigma : {5, 10, 20, 30}) add("noise, σ " + std::to_string(sigma), noisy(sigma), sigma <= 10);
    for (int parts : {16, 8, 6, 5})
        add("edges cropped by up to 1/" + std::to_string(parts), cropped(parts), parts >= 8);
    add("moved by up to 4, edges cropped by up to 1/16, scaled by 2/3, gain 0.90, offset +6, noise of σ 5",
        chain({moved(4), cropped(16), scaled(2, 3, ResizeInterpCubic), levels(0.9, 6), noisy(5)}));
    return all;
}

}  // namespace Orvel::bench
