#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "orvel/img/i420_img.h"
#include "orvel/img/plane_access.h"
#include "orvel/mctf/me_data.h"
#include "tests/primitives/block_model.h"
#include "tests/primitives/luma_model.h"

namespace Orvel::test {

inline primitives::ConstViewU8 plane(const Img& img, int p) {
    return planeView<const std::uint8_t>(img, p);
}
inline std::uint8_t& sampleAt(Img& img, int p, int x, int y) {
    return *img.getPixel(p, y, x);
}

/// A picture whose samples are sample(plane, x, y), clamped.
inline std::unique_ptr<I420Img> makePicture(int width, int height, const std::function<int(int, int, int)>& sample) {
    auto img = std::make_unique<I420Img>();
    if (!img->allocate(width, height, 1)) throw std::bad_alloc();
    for (int p = 0; p < 3; ++p)
        for (int y = 0; y < img->getHeight(p); ++y)
            for (int x = 0; x < img->getWidth(p); ++x)
                sampleAt(*img, p, x, y) = std::uint8_t(std::clamp(sample(p, x, y), 0, 255));
    return img;
}

/// Picture number t of scenes of several kinds.
constexpr int sceneKinds = 5;
inline std::unique_ptr<I420Img> makeScene(int kind, int width, int height, int t) {
    auto rng = std::make_shared<std::mt19937>(unsigned(1000 * kind + t));
    const auto noise = [rng](int range) { return int((*rng)() % unsigned(2 * range + 1)) - range; };
    return makePicture(width, height, [=](int p, int x, int y) {
        const int scale = p == 0 ? 1 : 2, mx = x * scale + 3 * t, my = y * scale - 2 * t;
        const int texture = 90 + (mx * 7 + my * 3 + mx * my / 5) % 64 + (mx / 16 + my / 16) % 2 * 30;
        switch (kind) {
            case 0:
                return 128 + noise(128);  // nothing in common
            case 1:
                return 60 + 20 * p;  // flat and still
            case 2:
                return texture;  // moves
            case 3:
                return texture + noise(9);  // moves and is noisy
            default:
                return 100 + x / 4 + noise(25);  // stands still and is very noisy
        }
    });
}

/// One sample of a picture predicted from ref with the motion of its block.
inline int predictedSample(const Img& ref, const MEBlockData& block, int p, int x, int y) {
    const int mvx = p == 0 ? block.mvx : block.mvx >> 1, mvy = p == 0 ? block.mvy : block.mvy >> 1;
    const int x0 = x + (mvx >> 2), y0 = y + (mvy >> 2), fx = mvx & 3, fy = mvy & 3;
    if (p == 0) return LumaModel(plane(ref, 0)).quarter(x0, y0, fx, fy);
    const auto at = [&](int i, int j) { return lumaAt(plane(ref, p), x0 + i, y0 + j); };
    const int dx = 2 * fx, dy = 2 * fy;
    return ((8 - dx) * (8 - dy) * at(0, 0) + dx * (8 - dy) * at(1, 0) + (8 - dx) * dy * at(0, 1) + dx * dy * at(1, 1) +
            32) >>
           6;
}

inline std::unique_ptr<I420Img> predictPlainly(const Img& ref, const MEData& data, int width, int height) {
    const int cols = width / 8, rows = height / 8;
    return makePicture(width, height, [&](int p, int x, int y) {
        const int side = p == 0 ? 8 : 4, row = y / side, col = x / side;
        if (row >= rows || col >= cols) return p == 0 ? 0 : 128;
        return predictedSample(ref, data.getBlockData(row * cols + col), p, x, y);
    });
}

inline int strengthModel(int base, float noise) {
    int level = base;
    if (base > 0) {
        if (base == 2 || base == 3)
            level = noise < 180 ? base - 2 : noise < 275 ? base - 1 : base;
        else
            level = noise < 180 ? base - 1 : base;
        if (noise > 575)
            level += 2;
        else if (noise > 375)
            level += 1;
    }
    return std::clamp(level, 0, 7);
}

inline int noiseModel(int sad, int fineStructure) {
    const int r = std::min((std::min(sad, 16320) * 294 + 128) >> 8, (fineStructure * 123 + 128) >> 8);
    if (r <= 320) return (9 * r) >> 4;
    if (r <= 1344) return 180 + ((11 * (r - 320)) >> 7);
    if (r <= 1456) return 268 + (r - 1344);
    return 380 + ((3 * (r - 1456)) >> 3);
}

inline int reductionModel(int value, bool luma) {
    const int limits[2][5] = {{23, 19, 14, 9, 5}, {48, 36, 26, 17, 9}};
    for (int i = 0; i < 5; ++i)
        if (value >= limits[luma][i]) return 5 - i;
    return 0;
}

/// Measures and blend of one picture, block after block.
struct PictureModel {
    struct Block {
        int activity, blockiness, lumaReduction, chromaReduction, noise;
    };
    std::vector<Block> blocks;
    long long activity = 0;
    float noiseFigure = 0;
    std::unique_ptr<I420Img> out;

    PictureModel(const Img& cur, const Img& pred, const MEData& data, int base, float prevNoise) {
        const int width = cur.getWidth(0), height = cur.getHeight(0), cols = width / 8, rows = height / 8;
        for (int i = 0; i < rows * cols; ++i) {
            const auto inPlane = [&](const Img& img, int p) {
                return BlockModel{plane(img, p), p == 0 ? 8 : 4, i / cols, i % cols};
            };
            Block b;
            b.activity = inPlane(cur, 0).activity();
            b.blockiness = inPlane(pred, 0).edgeStep(rows, cols);
            b.lumaReduction = reductionModel(b.blockiness, true);
            b.chromaReduction = reductionModel(
                std::max(inPlane(pred, 1).edgeStep(rows, cols), inPlane(pred, 2).edgeStep(rows, cols)), false);
            b.noise = noiseModel(data.getBlockData(i).sad, inPlane(cur, 0).fineStructure());
            activity += b.activity;
            blocks.push_back(b);
        }
        noiseFigure = meanNoise();
        const int level = strengthModel(base, prevNoise);
        out = makePicture(width, height, [&](int p, int x, int y) {
            const int side = p == 0 ? 8 : 4, row = y / side, col = x / side;
            if (y >= cur.getHeight(p)) return 0;  // a field has fewer chroma rows
            const int c = plane(cur, p).row(y)[x];
            if (row >= rows || col >= cols) return c;
            const Block& b = blocks[std::size_t(row * cols + col)];
            const int luma = std::max(0, level - b.lumaReduction);
            const int chroma = std::min(luma, std::max(0, base - b.chromaReduction));
            return blendModel(p == 0 ? luma : chroma, c, plane(pred, p).row(y)[x]);
        });
    }

private:
    float meanNoise() const {
        const int n = int(blocks.size());
        float t = float(activity) / float(n) * 0.125f;
        double sum = 0, count = 0;
        for (int pass = 0; pass < 10; ++pass) {
            sum = count = 0;
            for (const Block& b : blocks)
                if (float(b.activity) > t) {
                    count += 1;
                    if (b.noise > 0) sum += b.noise;
                }
            const float next = t - float(int(count) - n / 10) * t / float(2 * n);
            if (next >= t) t = next;
        }
        return count == 0 ? 0.0f : float(sum / count);
    }
};

/// "" when both hold the same samples, else the first difference in words.
inline std::string difference(const Img& a, const Img& b) {
    for (int p = 0; p < 3; ++p)
        for (int y = 0; y < std::min(a.getHeight(p), b.getHeight(p)); ++y)
            for (int x = 0; x < a.getWidth(p); ++x)
                if (plane(a, p).row(y)[x] != plane(b, p).row(y)[x])
                    return std::to_string(plane(a, p).row(y)[x]) + " against " + std::to_string(plane(b, p).row(y)[x]) +
                           " in plane " + std::to_string(p) + " at " + std::to_string(x) + ", " + std::to_string(y);
    return {};
}

}  // namespace Orvel::test
