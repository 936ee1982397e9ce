#pragma once
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <vector>

#include "tests/primitives/luma_model.h"

namespace Orvel::test {

/// The motion search of one picture, plainly: block after block, row after row, every candidate one sample at a time.
class MotionModel {
public:
    struct Vector {
        int x = 0, y = 0;
        bool operator==(const Vector&) const = default;
    };
    struct Block {
        int sad = INT_MAX;
        Vector mv;
    };

    MotionModel(primitives::ConstViewU8 cur, primitives::ConstViewU8 ref, bool subPel)
        : cur_(cur), ref_(ref), cols_(cur.width / 8), rows_(cur.height / 8), result_(std::size_t(cols_ * rows_)) {
        for (int row = 0; row < rows_; ++row)
            for (int col = 0; col < cols_; ++col) at(row, col) = search(row, col, subPel);
    }

    const std::vector<Block>& result() const { return result_; }

private:
    Block& at(int row, int col) { return result_[std::size_t(row * cols_ + col)]; }

    /// A neighbour's vector in whole samples; zero where there is none.
    Vector neighbour(int row, int col) {
        if (row < 0 || col < 0 || col >= cols_) return {};
        return {at(row, col).mv.x >> 2, at(row, col).mv.y >> 2};
    }

    Block search(int row, int col, bool subPel) {
        const int x = 8 * col, y = 8 * row;
        const Vector left = neighbour(row, col - 1), top = neighbour(row - 1, col),
                     corner = neighbour(row - 1, col + 1);
        int xs[] = {left.x, top.x, corner.x}, ys[] = {left.y, top.y, corner.y};
        std::sort(xs, xs + 3), std::sort(ys, ys + 3);
        std::vector<Vector> first;
        for (const Vector& v : {Vector{}, left, top, corner, Vector{xs[1], ys[1]}})
            if (std::find(first.begin(), first.end(), v) == first.end()) first.push_back(v);

        Block best;
        tryAll(best, first, x, y);
        int passes = 0;
        while (best.sad > 255) {
            const bool improved =
                tryAll(best, {{0, 2}, {-1, 1}, {-2, 0}, {-1, -1}, {0, -2}, {1, -1}, {2, 0}, {1, 1}}, x, y);
            ++passes;
            if (improved && passes < 8) continue;
            if (best.sad >= 256) tryAll(best, {{-1, 0}, {0, -1}, {1, 0}, {0, 1}}, x, y);
            break;
        }
        best.mv = {4 * best.mv.x, 4 * best.mv.y};
        if (subPel) tryHalves(best, x, y);
        return best;
    }

    bool tryAll(Block& best, const std::vector<Vector>& candidates, int x, int y) const {
        const Vector base = best.mv;
        bool improved = false;
        for (const Vector& c : candidates) {
            const Vector mv{base.x + c.x, base.y + c.y};
            if (x + mv.x < 0 || y + mv.y < 0 || x + mv.x + 8 > ref_.width || y + mv.y + 8 > ref_.height) continue;
            const int cost = sad(x, y, {4 * mv.x, 4 * mv.y});
            const int length = std::abs(mv.x) + std::abs(mv.y), bestLength = std::abs(best.mv.x) + std::abs(best.mv.y);
            if (cost > best.sad || (cost == best.sad && length >= bestLength)) continue;
            best = {cost, mv};
            improved = true;
        }
        return improved;
    }

    void tryHalves(Block& best, int x, int y) const {
        const Vector centre = best.mv;
        for (int dy = -2; dy <= 2; dy += 2)
            for (int dx = -2; dx <= 2; dx += 2) {
                const Vector mv{centre.x + dx, centre.y + dy};
                if (mv == centre) continue;
                if (const int cost = sad(x, y, mv); cost < best.sad) best = {cost, mv};
            }
    }

    int sad(int x, int y, Vector quarter) const {
        const LumaModel model(ref_);
        const bool whole = quarter.x % 4 == 0 && quarter.y % 4 == 0;
        int sum = 0;
        for (int j = y; j < y + 8; ++j)
            for (int i = x; i < x + 8; ++i) {
                const int rx = i + (quarter.x >> 2), ry = j + (quarter.y >> 2);
                const int r = whole ? lumaAt(ref_, rx, ry) : model.quarter(rx, ry, quarter.x & 3, quarter.y & 3);
                sum += std::abs(cur_.row(j)[i] - r);
            }
        return sum;
    }

    primitives::ConstViewU8 cur_, ref_;
    int cols_, rows_;
    std::vector<Block> result_;
};

}  // namespace Orvel::test
