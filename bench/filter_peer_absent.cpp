// Stands in for FFmpeg's filters where they are not installed: no chain is ever ready.
#include "bench/filter_peer.h"

namespace Orvel::bench {

struct FilterPeer::Graph {};

bool FilterPeer::installed() {
    return false;
}

FilterPeer::FilterPeer(const std::string&, const Img&, int, int) {}
FilterPeer::~FilterPeer() = default;
FilterPeer::FilterPeer(FilterPeer&&) noexcept = default;

FilterPeer::Frame FilterPeer::frameOf(const Img&, bool) {
    return nullptr;
}
void FilterPeer::copy(const Frame&, I420Img&) {}
bool FilterPeer::push(const Frame&) {
    return false;
}
bool FilterPeer::finish() {
    return false;
}
FilterPeer::Frame FilterPeer::pull() {
    return nullptr;
}
double FilterPeer::instantOf(const Frame&) const {
    return 0;
}

}  // namespace Orvel::bench
