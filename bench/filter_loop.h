#pragma once
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bench/filter_peer.h"

namespace Orvel::bench {

using FilterFrames = std::vector<FilterPeer::Frame>;

/// A chain of FFmpeg's filters that gets the same frames again and again.
class FilterLoop {
public:
    FilterLoop(FilterPeer peer, FilterFrames ring) : peer_(std::move(peer)), ring_(std::move(ring)) {}

    /// Hands over frames until that many results have come out. @return false on failure.
    bool produce(int results) {
        while (results > 0)
            if (peer_.pull())
                --results;
            else if (!peer_.push(ring_[next_++ % ring_.size()]))
                return false;
        return true;
    }

private:
    FilterPeer peer_;
    FilterFrames ring_;
    std::size_t next_ = 0;
};

/// The pictures as FFmpeg's frames, which several loops can share; none where FFmpeg is not installed.
template <class Image>
FilterFrames framesOf(const std::vector<std::shared_ptr<Image>>& pictures, bool interlaced) {
    FilterFrames frames;
    if (!FilterPeer::installed()) return frames;
    for (const auto& picture : pictures) frames.push_back(FilterPeer::frameOf(*picture, interlaced));
    return frames;
}

/// The arguments of FilterPeer, and what framesOf() made of pictures such as like. Null where FFmpeg or one of the
/// filters is not installed.
inline std::shared_ptr<FilterLoop> filterLoop(const std::string& filters, const Img& like, int rate, int threads,
                                              const FilterFrames& frames) {
    FilterPeer peer(filters, like, rate, threads);
    return peer.ready() ? std::make_shared<FilterLoop>(std::move(peer), frames) : nullptr;
}

}  // namespace Orvel::bench
