#include "bench/clip.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

#include "bench/gaussian.h"
#include "orvel/storage/vid_raw420.h"

namespace Orvel::bench {
namespace {

void copyRow(const Img& from, int fromRow, Img& to, int toRow, int plane) {
    std::memcpy(to.getPixel(plane, toRow, 0), from.getPixel(plane, fromRow, 0),
                static_cast<std::size_t>(to.getWidth(plane)));
}

}  // namespace

Picture newPicture(int width, int height) {
    I420Img tight;
    auto picture = std::make_shared<I420Img>();
    if (!tight.allocate(width, height, I420Img::getClassBpp()) || !tight.replicate(*picture, 64))
        throw std::bad_alloc();
    return picture;
}

Clip readClip(const std::filesystem::path& file) {
    VidRaw420 video;
    const bool opened = video.open(file.wstring().c_str());
    Clip clip;
    for (int k = 0; k < video.numFrames(); ++k) {
        clip.push_back(newPicture(video.getWidth(), video.getHeight()));
        if (!video.readImg(*clip.back(), k)) throw std::runtime_error("cannot read " + file.string());
    }
    if (!opened || clip.empty()) throw std::runtime_error("no 4:2:0 frames in " + file.string());
    return clip;
}

std::string contentOf(const std::filesystem::path& clip) {
    const std::string name = clip.stem().string();
    return name.substr(0, name.find('_'));
}

Clip weave(const Clip& progressive) {
    Clip woven;
    for (std::size_t k = 0; k + 1 < progressive.size(); k += 2) {
        const Img& first = *progressive[k];
        woven.push_back(newPicture(first.getWidth(0), first.getHeight(0)));
        for (int p = 0; p < first.numPlanes(); ++p)
            for (int y = 0; y < first.getHeight(p); ++y)
                copyRow(*progressive[k + static_cast<std::size_t>(y % 2)], y, *woven.back(), y, p);
    }
    return woven;
}

void copyPicture(const I420Img& from, I420Img& to) {
    for (int p = 0; p < from.numPlanes(); ++p)
        for (int y = 0; y < from.getHeight(p); ++y) copyRow(from, y, to, y, p);
}

Clip copyOf(const Clip& clip) {
    Clip copy;
    for (const Picture& picture : clip) {
        copy.push_back(newPicture(picture->getWidth(0), picture->getHeight(0)));
        copyPicture(*picture, *copy.back());
    }
    return copy;
}

Clip withNoise(const Clip& clip, double lumaSigma, double chromaSigma, std::uint32_t seed) {
    Gaussian gaussian(seed);
    Clip noisy = copyOf(clip);
    for (const Picture& picture : noisy)
        for (int p = 0; p < picture->numPlanes(); ++p)
            addNoise(*picture, p, p == 0 ? lumaSigma : chromaSigma, gaussian);
    return noisy;
}

Clip tiled(const Clip& clip, int width, int height) {
    Clip large;
    for (const Picture& small : clip) {
        large.push_back(newPicture(width, height));
        for (int p = 0; p < small->numPlanes(); ++p)
            for (int y = 0; y < large.back()->getHeight(p); ++y)
                for (int x = 0; x < large.back()->getWidth(p); ++x)
                    *large.back()->getPixel(p, y, x) =
                        *small->getPixel(p, y % small->getHeight(p), x % small->getWidth(p));
    }
    return large;
}

Clip forthAndBack(const Clip& clip) {
    Clip ring = clip;
    ring.insert(ring.end(), clip.rbegin() + 1, clip.rend() - 1);
    return ring;
}

}  // namespace Orvel::bench
