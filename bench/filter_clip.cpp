#include "bench/filter_clip.h"

#include <cmath>
#include <stdexcept>

#include "bench/filter_peer.h"

namespace Orvel::bench {

std::map<int, Picture> filterClip(const std::string& filters, const Clip& clip, bool interlaced, int instantsPerFrame) {
    const int anyRate = 25;
    FilterPeer peer(filters, *clip[0], anyRate, 1);
    if (!peer.ready()) throw std::runtime_error("FFmpeg refuses " + filters);
    std::map<int, Picture> made;
    const auto take = [&] {
        while (const FilterPeer::Frame frame = peer.pull()) {
            const int instant = static_cast<int>(std::lround(instantsPerFrame * peer.instantOf(frame)));
            Picture& out = made[instant] = newPicture(clip[0]->getWidth(0), clip[0]->getHeight(0));
            FilterPeer::copy(frame, *out);
        }
    };
    for (const Picture& picture : clip) {
        if (!peer.push(FilterPeer::frameOf(*picture, interlaced))) throw std::runtime_error(filters + " failed");
        take();
    }
    if (!peer.finish()) throw std::runtime_error(filters + " failed");
    take();
    return made;
}

}  // namespace Orvel::bench
