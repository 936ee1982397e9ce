#include "orvel/primitives/resize_pairs.h"

#include <algorithm>
#include <cstring>

namespace Orvel::primitives {
namespace {

/// What is left of a list without the zeros at its ends; it never is nothing.
struct Piece {
    int first;  // source sample
    const std::int16_t *begin, *end;
    int last() const { return first + static_cast<int>(end - begin) - 1; }
};

Piece pieceOf(const TapTable& table, int x) noexcept {
    const std::int16_t *taps = table.taps(x), *begin = taps, *end = taps + table.length();
    while (*begin == 0) ++begin;
    while (end[-1] == 0) --end;
    return {table.first(x) + static_cast<int>(begin - taps), begin, end};
}

}  // namespace

PairTable::PairTable(const TapTable& table, int together) {
    const auto lists = static_cast<std::size_t>((table.size() + group - 1) / group * group);
    const auto piece = [&](std::size_t i) { return pieceOf(table, std::min(static_cast<int>(i), table.size() - 1)); };
    first_.resize(lists);
    end_.resize(lists);
    for (std::size_t i = 0; i < lists; ++i) {
        const Piece taps = piece(i);
        first_[i] = taps.first / 2;
        end_[i] = taps.last() / 2 + 1;
    }
    for (std::size_t i = lists - 1; i > 0; --i) first_[i - 1] = std::min(first_[i - 1], first_[i]);
    for (std::size_t i = 1; i < lists; ++i) end_[i] = std::max(end_[i], end_[i - 1]);
    const auto n = static_cast<std::size_t>(together);
    for (std::size_t i = 0; i < lists; ++i) {
        first_[i] = first_[i / n * n];
        end_[i] = end_[i / n * n + n - 1];
        mostPairs_ = std::max(mostPairs_, end_[i] - first_[i]);
    }

    const auto stride = static_cast<std::size_t>(mostPairs_);
    taps_.resize(lists * stride);
    std::vector<std::int16_t> list(2 * stride);
    for (std::size_t i = 0; i < lists; ++i) {
        const Piece taps = piece(i);
        std::fill(list.begin(), list.end(), std::int16_t{0});
        std::copy(taps.begin, taps.end, list.begin() + (taps.first - 2 * first_[i]));
        std::memcpy(&taps_[i * stride], list.data(), list.size() * sizeof list[0]);
    }
}

int PairTable::reach(int lists) const noexcept {
    const int size = static_cast<int>(first_.size());
    int most = 0;
    for (int i = 0; i < size; ++i) most = std::max(most, end(std::min(i + lists, size) - 1) - first(i));
    return most;
}

}  // namespace Orvel::primitives
