#include "bench/noise_methods.h"

#include <cstring>
#include <stdexcept>

#include "bench/filter_clip.h"
#include "bench/filter_peer.h"
#include "orvel/mctf/mctf_fast_interlaced.h"
#include "orvel/mctf/mctf_fast_progressive.h"

namespace Orvel::bench {
namespace {

NoiseMethod unfiltered() {
    return {"unfiltered", [](const Clip& noisy) {
                Filtered made;
                for (const Picture& picture : noisy) made.emplace(static_cast<int>(made.size()), picture);
                return made;
            }};
}

/// The filter's results begin with the second picture.
template <class Filter>
NoiseMethod library(int strength) {
    return {strengthPrefix + std::to_string(strength), [strength](const Clip& noisy) {
                MCTFFastParams params;
                params.width = noisy[0]->getWidth(0);
                params.height = noisy[0]->getHeight(0);
                params.strength = strength;
                Filter filter;
                if (!filter.allocate(params)) throw std::runtime_error("the noise filter refuses the clip");
                const Clip own = copyOf(noisy);  // the filter writes into the pictures it is given
                Filtered made;
                for (int k = 0; k < static_cast<int>(own.size()); ++k) {
                    bool done = filter.pushImg(own[static_cast<std::size_t>(k)].get());
                    if (done && filter.bufferedFrames() == filter.requiredFrames())
                        done = filter.filter(*(made[k] = newPicture(params.width, params.height)), nullptr);
                    if (!done) throw std::runtime_error("noise filtering failed");
                }
                return made;
            }};
}

void addFfmpeg(std::vector<NoiseMethod>& methods, bool interlaced) {
    if (!FilterPeer::installed()) return;
    const auto add = [&](const char* name, const std::string& settings) {
        const std::string filter = std::strchr(name, ' ') + 1 + settings;
        const std::string filters = interlaced ? "il=l=d:c=d," + filter + ",il=l=i:c=i" : filter;
        methods.push_back(
            {name + settings, [=](const Clip& noisy) { return filterClip(filters, noisy, interlaced, 1); }});
    };
    for (const char* name : ffmpegNames) add(name, "");
    const auto [hqdn3d, atadenoise, nlmeans] = ffmpegNames;
    for (const char* settings : {"=8", "=12"}) add(hqdn3d, settings);
    for (const char* settings : {"=0a=.1:0b=.2:1a=.05:1b=.1:2a=.05:2b=.1", "=0a=.15:0b=.5:1a=.08:1b=.25:2a=.08:2b=.25"})
        add(atadenoise, settings);
    for (const char* settings : {"=s=3", "=s=5", "=s=8"}) add(nlmeans, settings);
}

}  // namespace

std::vector<NoiseMethod> noiseMethods(bool interlaced) {
    std::vector<NoiseMethod> methods{unfiltered()};
    for (int strength = 0; strength <= 7; ++strength)
        methods.push_back(interlaced ? library<MCTFFastInterlaced<I420Img>>(strength)
                                     : library<MCTFFastProgressive<I420Img>>(strength));
    addFfmpeg(methods, interlaced);
    return methods;
}

}  // namespace Orvel::bench
